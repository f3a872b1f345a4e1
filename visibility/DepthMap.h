// A coarse picture of what surely hides: most segments that nobody sees are known from it at once.
//
// The screen is cut into square cells. A cell that lies wholly within a triangle is filled by it up
// to the largest depth of the triangle's plane there; what lies wholly in filled cells, and deeper,
// is hidden by those triangles. (The idea of N. Greene, M. Kass and G. Miller, Hierarchical
// Z-buffer visibility, SIGGRAPH 1993, kept on the safe side throughout, so that no sample decides
// anything.)
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/GridArithmetic.h"
#include "visibility/OccluderTree.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

class DepthMap {
public:
    /// With room for rounded crossings, a triangle fills only what it would also hide if values of
    /// its sides and its plane were off by what rounding can do. O(n) for n triangles.
    DepthMap(const BakedTriangles& baked,
             const std::vector<OccluderTree::Triangle>& triangles,
             OccluderTree::Room room);

    /// Whether the segment, and what is within a step of it, is surely hidden from end to end.
    bool hides(const BakedVertex& a, const BakedVertex& b) const;

private:
    struct Cells {
        long firstX, endX, firstY, endY;
        bool none() const { return firstX >= endX || firstY >= endY; }
    };

    void chooseCells(const std::vector<OccluderTree::Triangle>& triangles);
    Cells cellsWithin(const BakedVertex* corners) const;
    void fill(const BakedVertex* corners, const GridVector& normal, OccluderTree::Room room);
    bool isFilled(long column, long row, std::int32_t depth) const {
        return column >= 0 && column < columns_ && row >= 0 && row < rows_ &&
               depths_[static_cast<std::size_t>(row * columns_ + column)] < depth;
    }

    int shift_ = 0; ///< A cell has 2^shift_ steps a side.
    long originX_ = 0;
    long originY_ = 0;
    long columns_ = 0;
    long rows_ = 0;
    std::vector<std::int32_t> depths_; ///< The least that is filled; row by row.
};

/// A tree and its map, made together.
struct OccluderLayout {
    OccluderLayout(const BakedTriangles& baked, OccluderTree::Room room)
        : tree(baked, room), map(baked, tree.triangles(), room) {}

    OccluderTree tree;
    DepthMap map;
};

} // namespace ctr
