// Crowds: subtrees of the hierarchy in which many layers of triangles lie over each other on
// screen, and the grid of cells into which the screen box of a crowd is divided.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Work.h"
#include "visibility/bvh/SlotTriangles.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// The cells along one axis: closed intervals whose ends are counted in parts of a step, as crowds
/// may be only some steps wide.
class CellsOnAxis {
public:
    static constexpr std::int64_t kParts = 4;

    struct Interval {
        std::int64_t min;
        std::int64_t max;
    };
    /// From the first cell to the last one, empty if reversed.
    struct Run {
        std::int64_t first;
        std::int64_t last;
        std::size_t length() const {
            return static_cast<std::size_t>(std::max(last - first + 1, std::int64_t{0}));
        }
    };

    /// Of an interval of steps, at most so many; a point has one.
    CellsOnAxis(Interval steps, std::int64_t most)
        : extent_(inParts(steps)), size_((extent_.max - extent_.min) / most + 1),
          count_(std::max((extent_.max - extent_.min + size_ - 1) / size_, std::int64_t{1})) {}

    static Interval inParts(Interval steps) { return {steps.min * kParts, steps.max * kParts}; }

    std::int64_t count() const { return count_; }
    /// In parts.
    const Interval& extent() const { return extent_; }
    /// In parts.
    Interval operator[](std::int64_t cell) const {
        const std::int64_t begin = extent_.min + cell * size_;
        return {begin, std::min(begin + size_, extent_.max)};
    }
    /// Those that lie wholly in an interval of steps; it must not reach beyond the extent.
    Run within(Interval steps) const {
        const auto [min, max] = inParts(steps);
        return {(min - extent_.min + size_ - 1) / size_,
                max == extent_.max ? count_ - 1 : (max - extent_.min) / size_ - 1};
    }
    /// Those that share a point with an interval of steps.
    Run meeting(Interval steps) const {
        const auto [min, max] = inParts(steps);
        return {std::max(min - extent_.min - 1, std::int64_t{0}) / size_,
                std::min((max - extent_.min) / size_, count_ - 1)};
    }
    /// The one that contains a place, in steps; the nearest one for places beyond the ends.
    std::int64_t around(double steps) const {
        const double parts = steps * kParts - static_cast<double>(extent_.min);
        return std::clamp(static_cast<std::int64_t>(parts) / size_, std::int64_t{0}, count_ - 1);
    }

private:
    Interval extent_; ///< In parts.
    std::int64_t size_;
    std::int64_t count_;
};

/// The cells of one crowd: at most 64 x 64, and about as many as it has triangles.
struct CellsOfCrowd {
    CellsOnAxis columns;
    CellsOnAxis rows;

    CellsOfCrowd(const SlotTriangles& triangles, const std::vector<std::uint32_t>& slots);

    std::size_t count() const { return static_cast<std::size_t>(columns.count() * rows.count()); }
    std::size_t indexOf(std::int64_t column, std::int64_t row) const {
        return static_cast<std::size_t>(row * columns.count() + column);
    }
};

/// What a triangle reaches along an axis, in steps.
CellsOnAxis::Interval StepsOf(const SlotTriangle& triangle, std::int32_t BakedVertex::*axis);

/// The roots of all crowds, in order. Every box of the hierarchy has to hold what is below it.
/// O(nodes).
std::vector<unsigned int> FindCrowds(const BakedTriangles& baked, WorkCounter& work);

/// The slots of all triangles below a node.
std::vector<std::uint32_t> SlotsBelow(const BakedTriangles& baked, unsigned int node);

} // namespace ctr
