// A coarse depth buffer that accepts most occluded segments without a search.
//
// The screen is divided into square cells. A cell that lies wholly within a triangle on screen is
// filled by it up to the largest depth of the triangle's plane there. A segment all of whose cells
// are filled, and which is deeper than each of them, is occluded by those triangles. This is the
// depth test of N. Greene, M. Kass and G. Miller, Hierarchical Z-buffer visibility, SIGGRAPH 1993,
// made conservative: rounding may leave cells empty or fill them less, never more, so an accepted
// segment is occluded in exact arithmetic too.
//
// Building takes O(n + c) time for n triangles and c cells rasterised, a lookup time in proportion
// to the cells that a segment crosses. At most 512 x 512 cells.
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/bvh/OccluderBvh.h"
#include "visibility/exact/ContactTolerance.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace ctr {

class CoarseDepthBuffer {
public:
    /// A triangle fills only cells that it would also occlude if its edge functions and plane
    /// values were off by their error bound for intersection edges. Those are cells in which it
    /// occludes segments, too. Points in contact with a triangle lie in front of the depths that it
    /// fills.
    ///
    /// Empty where boxes of the BVH do not contain the triangles below them, and on grids beyond
    /// all bounds, where the products here would not fit.
    CoarseDepthBuffer(const BakedTriangles& baked, const OccluderBvh& bvh, ItemCounter& work);

    /// Whether the segment and all points within a step of it are certainly occluded.
    bool occludes(const BakedVertex& a, const BakedVertex& b) const {
        return !isNearlyEmpty_ && isFilledAlong(a, b);
    }

    /// Whether less than a 64th of the cells is filled. Lookups would not pay: occludes() is false.
    bool isNearlyEmpty() const { return isNearlyEmpty_; }

    /// Whether all points within four steps of a triangle's box on screen that are at least as deep
    /// as its nearest corner are certainly occluded.
    bool occludesAround(const BakedVertex* corners) const;

private:
    struct Extent {
        std::int64_t min, max;
    };
    struct Cells {
        std::int64_t firstX, endX, firstY, endY;
        bool none() const { return firstX >= endX || firstY >= endY; }
        std::int64_t columns() const { return endX - firstX; }
        std::int64_t rows() const { return endY - firstY; }
    };
    /// Triangles whose boxes contain whole cells, and the number of cells in all of these boxes.
    struct Selection {
        std::vector<std::uint32_t> slots;
        std::size_t cells = 0;
    };
    static constexpr std::int32_t kEmptyCell = std::numeric_limits<std::int32_t>::max();

    void layOutCells(const kx::kxBBox& box, std::size_t triangles);
    void coarsen();
    std::vector<std::uint32_t>
    selectTriangles(const BakedTriangles& baked, const SlotTriangles& triangles, ItemCounter& work);
    void select(const BakedTriangles& baked,
                unsigned int node,
                const SlotTriangles& triangles,
                Selection& selection,
                ItemCounter& work) const;
    static Extent extentOf(const BakedVertex* corners, std::int32_t BakedVertex::*axis);
    Cells cellsWithin(Extent x, Extent y) const;
    Cells cellsWithin(const BakedVertex* corners) const;
    void fill(const BakedVertex* corners);
    static void
    fillRow(std::int32_t* row, int from, int to, double depth, double perCell, double farthest);
    bool isFilledAlong(const BakedVertex& a, const BakedVertex& b) const;
    bool isFilled(std::int64_t column, std::int64_t row, std::int32_t depth) const {
        return column >= 0 && column < columns_ && row >= 0 && row < rows_ &&
               depths_[static_cast<std::size_t>(row * columns_ + column)] < depth;
    }

    int shift_ = 0; ///< A cell is 2^shift_ steps long.
    std::int64_t originX_ = 0;
    std::int64_t originY_ = 0;
    std::int64_t columns_ = 0;
    std::int64_t rows_ = 0;
    std::vector<std::int32_t> depths_; ///< The nearest filled depth per cell, row by row.
    ContactTolerance tolerance_;
    bool isNearlyEmpty_ = true;
};

} // namespace ctr
