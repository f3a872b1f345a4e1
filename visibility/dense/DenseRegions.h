// Dense regions: subtrees of the BVH with a high depth complexity, in which many layers of
// triangles overlap on screen; and the grid of cells into which the screen box of a region is
// divided.
//
// The boxes of a BVH separate little there, so that searches would visit nearly all pairs. The
// searches in this folder take over: by nearest triangles per cell (RegionFronts, RegionCover), and
// by planes and shared vertices (DenseTree).
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Progress.h"
#include "visibility/Tuning.h"
#include "visibility/bvh/SlotTriangles.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// The cells along one axis: closed intervals whose ends are counted in substeps, as regions may be
/// only a few steps wide.
class GridAxis {
public:
    static constexpr std::int64_t kSubsteps = Tuning::kSubsteps;

    struct Interval {
        std::int64_t min;
        std::int64_t max;
    };
    /// From the first cell to the last one; empty if reversed.
    struct Run {
        std::int64_t first;
        std::int64_t last;
        std::size_t length() const {
            return static_cast<std::size_t>(std::max(last - first + 1, std::int64_t{0}));
        }
    };

    /// At most so many cells in an interval of steps; one for a point.
    GridAxis(Interval steps, std::int64_t most)
        : extent_(inSubsteps(steps)), size_((extent_.max - extent_.min) / most + 1),
          count_(std::max((extent_.max - extent_.min + size_ - 1) / size_, std::int64_t{1})) {}

    static Interval inSubsteps(Interval steps) {
        return {steps.min * kSubsteps, steps.max * kSubsteps};
    }

    std::int64_t count() const { return count_; }
    /// In substeps.
    const Interval& extent() const { return extent_; }
    /// In substeps.
    Interval operator[](std::int64_t cell) const {
        const std::int64_t begin = extent_.min + cell * size_;
        return {begin, std::min(begin + size_, extent_.max)};
    }
    /// The cells wholly in an interval of steps, which must not extend beyond the extent.
    Run within(Interval steps) const {
        const auto [min, max] = inSubsteps(steps);
        return {(min - extent_.min + size_ - 1) / size_,
                max == extent_.max ? count_ - 1 : (max - extent_.min) / size_ - 1};
    }
    /// The cells that share a point with an interval of steps.
    Run overlapping(Interval steps) const {
        const auto [min, max] = inSubsteps(steps);
        return {std::max(min - extent_.min - 1, std::int64_t{0}) / size_,
                std::min((max - extent_.min) / size_, count_ - 1)};
    }
    /// The cell that contains a coordinate in steps; the nearest one beyond the ends.
    std::int64_t around(double steps) const {
        const double substeps = steps * kSubsteps - static_cast<double>(extent_.min);
        return std::clamp(static_cast<std::int64_t>(substeps) / size_, std::int64_t{0}, count_ - 1);
    }

private:
    Interval extent_; ///< In substeps.
    std::int64_t size_;
    std::int64_t count_;
};

/// The cells of one region: at most 64 x 64, and about as many as it has triangles.
struct RegionGrid {
    GridAxis columns;
    GridAxis rows;

    RegionGrid(const SlotTriangles& triangles, const std::vector<std::uint32_t>& slots);

    std::size_t count() const { return static_cast<std::size_t>(columns.count() * rows.count()); }
    std::size_t indexOf(std::int64_t column, std::int64_t row) const {
        return static_cast<std::size_t>(row * columns.count() + column);
    }
};

/// The extent of a triangle along an axis, in steps.
GridAxis::Interval StepsOf(const SlotTriangle& triangle, std::int32_t BakedVertex::*axis);

/// The root nodes of all dense regions, in increasing order. Every box of the BVH has to contain
/// the triangles below it. O(n) for n nodes.
std::vector<unsigned int> FindDenseRegions(const BakedTriangles& baked, ItemCounter& work);

/// The slots of all triangles below a node.
std::vector<std::uint32_t> SlotsBelow(const BakedTriangles& baked, unsigned int node);

} // namespace ctr
