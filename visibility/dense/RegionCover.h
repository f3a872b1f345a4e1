// The occlusion of triangles of a dense region by its nearest ones. In such a region nearly every
// pair intersects, and nearly all intersections are occluded, each by several triangles together.
//
// Each cell stores the nearest triangles that cover all of it. Where a triangle of the region is
// certainly behind one of these throughout the cell, no intersection is visible on it there. After
// N. Greene, M. Kass and G. Miller, Hierarchical Z-buffer visibility, SIGGRAPH 1993, with planes in
// place of depths. (CoarseDepthBuffer does the same for the whole screen with margins of several
// steps, which are too large where a region is only a few steps wide.) O(n + c) for n triangles and
// c cells covered.
//
// Claim 1: an intersection edge that is occluded here is occluded by IntersectionOcclusion. The
// interval that a triangle occludes follows from the signs of four linear functions, its plane and
// its edge functions, at the exact ends of the edge. Where the signs of one function differ, the
// crossing is computed from values off by less than 1 plus the error of doubles. So the triangle
// occludes every point of the edge at which all four functions are below -(1 + error), and the
// plane also below the contact band. The conditions here are
//  - that an edge function is below -(1 + error) throughout the cell, or not positive in the whole
//    region. In the latter case it is not positive at either end, and nothing is rounded. An
//    intersection edge along such a triangle edge would count as outside without a contact
//    tolerance, but there is none: intersecting triangles have corners strictly on both sides of
//    their intersection on screen;
//  - that the plane is below -(1 + error + band) at every point in question.
// If all points of an edge are occluded in this way, the union of its intervals is the whole edge.
//
// Claim 2: it suffices to test points of triangles, although crossings are rounded. The ends of an
// intersection edge are exact; which of the four crossings become its ends is decided by rounded
// coordinates. Two on the same side that are less than a step apart on the ordering axis may be
// confused. So the edge may extend beyond either triangle, but not beyond both: if both ends belong
// to one triangle, the whole edge lies on it, and disjoint spans give no edge with an end of each.
// The excess is less than one step on the ordering axis and less than three on the other one, which
// has the smaller extent in rounded steps: for an extent of e >= 2 it is (e + 1) / (e - 1) times as
// long, and below 2 in all for smaller ones. Hence a visible point lies on one triangle, in front
// of the cover of its cell, and on the plane of the other at most that far beyond the triangle.
#pragma once

#include "linesets/Progress.h"
#include "visibility/Tuning.h"
#include "visibility/dense/DenseRegions.h"
#include "visibility/exact/ContactTolerance.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace ctr {

/// The nearest triangles that cover each cell of one region.
class RegionCover {
public:
    /// A set of blocks, which are groups of adjacent cells.
    using Blocks = std::bitset<Tuning::kBlocksPerAxis * Tuning::kBlocksPerAxis>;

    /// The blocks in which parts of a triangle may be visible.
    struct Visibility {
        Blocks own;    ///< Points of the triangle.
        Blocks around; ///< Points of its plane within it, or as far beyond it as edges may extend.
    };

    /// Nothing is borrowed. Triangles face the eye, and values of their planes and edge functions
    /// in the box of the region are below 2^59.
    RegionCover(const SlotTriangles& triangles,
                const std::vector<std::uint32_t>& slots,
                const ContactTolerance& tolerance,
                ItemCounter& work);

    /// The visibility of a triangle of the region.
    Visibility visibilityOf(const SlotTriangle& triangle, ItemCounter& work) const;

private:
    static constexpr std::int64_t kBlocksPerAxis = Tuning::kBlocksPerAxis;

    /// A plane as a linear function, negative behind; below the limit it certainly occludes.
    struct Plane {
        double normal[3];
        double offset[3];
        double limit;
        double at(double x, double y, double z) const {
            return normal[0] * (x - offset[0]) + normal[1] * (y - offset[1]) +
                   normal[2] * (z - offset[2]);
        }
    };
    struct Cover {
        float depth = std::numeric_limits<float>::infinity(); ///< At the centre of the cell.
        std::uint32_t plane = 0;
    };
    /// Nearest first.
    using Cell = std::array<Cover, Tuning::kCoversPerCell>;
    /// Points of a plane, or of one depth, at the corners of a cell.
    struct Corners;

    void cover(const SlotTriangle& triangle, ItemCounter& work);
    bool add(Cell& cell, const Corners& corners);
    bool occludes(const Cell& cell, const Corners& corners) const;
    std::size_t blockOf(std::int64_t column, std::int64_t row) const;

    ContactTolerance tolerance_;
    RegionGrid cells_;
    std::vector<Plane> planes_;
    std::vector<Cell> covers_;
};

} // namespace ctr
