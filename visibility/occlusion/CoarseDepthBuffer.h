// A coarse picture of what surely hides: most segments that nobody sees are known from it at once.
//
// The screen is cut into square cells. A cell that lies wholly within a triangle is filled by it up
// to the largest depth of the triangle's plane there; what lies wholly in filled cells, and deeper,
// is hidden by those triangles. (The idea of N. Greene, M. Kass and G. Miller, Hierarchical
// Z-buffer visibility, SIGGRAPH 1993, kept on the safe side throughout, so that no sample decides
// anything.)
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/bvh/OccluderBvh.h"
#include "visibility/exact/ContactTolerance.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace ctr {

class DepthMap {
public:
    /// A triangle fills only what it would also hide if values of its sides and its plane were off
    /// by what rounding can do: as much for cuts, and no more than what it hides of segments. What
    /// is in contact with it lies in front of what it fills. O(n) for n triangles.
    /// Empty where boxes of the hierarchy do not hold what is below them, and on grids beyond all
    /// bounds, where the products here would not fit.
    DepthMap(const BakedTriangles& baked, const OccluderTree& tree, ItemCounter& work);

    /// Whether the segment, and what is within a step of it, is surely hidden from end to end.
    bool hides(const BakedVertex& a, const BakedVertex& b) const {
        return !isNearlyEmpty_ && isFilledAlong(a, b);
    }

    /// So little is filled, less than a 64th, that it is not worth asking: hides() is false then.
    bool isNearlyEmpty() const { return isNearlyEmpty_; }

    /// Whether everything as deep as the nearest corner of a triangle, and deeper, is surely hidden
    /// within four steps of its box on screen.
    bool hidesAround(const BakedVertex* corners) const;

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
    /// Triangles whose boxes hold cells, and how many all of them do.
    struct Choice {
        std::vector<std::uint32_t> slots;
        std::size_t cells = 0;
    };
    static constexpr std::int32_t kNothing = std::numeric_limits<std::int32_t>::max();

    void layCells(const kx::kxBBox& box, std::size_t triangles);
    void coarsen();
    std::vector<std::uint32_t>
    chooseTriangles(const BakedTriangles& baked, const SlotTriangles& triangles, ItemCounter& work);
    void choose(const BakedTriangles& baked,
                unsigned int node,
                const SlotTriangles& triangles,
                Choice& choice,
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

    int shift_ = 0; ///< A cell has 2^shift_ steps a side.
    std::int64_t originX_ = 0;
    std::int64_t originY_ = 0;
    std::int64_t columns_ = 0;
    std::int64_t rows_ = 0;
    std::vector<std::int32_t> depths_; ///< The least that is filled; row by row.
    ContactTolerance tolerance_;
    bool isNearlyEmpty_ = true;
};

/// A tree and its map, made together.
struct OccluderLayout {
    OccluderLayout(const BakedTriangles& baked,
                   ItemCounter& work,
                   std::size_t mostCopied = OccluderTree::kMostCopied)
        : tree(baked, work, mostCopied), map(baked, tree, work) {}

    /// Whether it may stand for the hierarchy. One whose boxes cut triangles off has to be walked.
    bool isFaithful() const { return tree.boxesHold(); }

    OccluderTree tree;
    DepthMap map;
};

} // namespace ctr
