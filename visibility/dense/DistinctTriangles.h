// Groups equal triangles, and corners of triangles at the same grid point, by sorting. O(n log n).
#pragma once

#include "linesets/Progress.h"
#include "visibility/bvh/SlotTriangles.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ctr {

/// Distinct triangles, each with the slots of all equal ones: those with the same corners in the
/// same order. Corners at the same grid point have the same position number.
class DistinctTriangles {
public:
    using Triangle = SlotTriangle;
    using Positions = std::array<std::uint32_t, 3>;

    /// The triangles are borrowed.
    DistinctTriangles(const std::vector<Triangle>& triangles, ItemCounter& work);

    std::uint32_t count() const { return static_cast<std::uint32_t>(positions_.size()); }

    /// The slots of the triangles equal to a distinct one.
    const std::uint32_t* begin(std::uint32_t triangle) const {
        return slots_.data() + firsts_[triangle];
    }
    const std::uint32_t* end(std::uint32_t triangle) const {
        return slots_.data() + firsts_[triangle + 1];
    }
    const Triangle& operator[](std::uint32_t triangle) const {
        return triangles_[*begin(triangle)];
    }

    /// The position numbers of the corners.
    const Positions& positions(std::uint32_t triangle) const { return positions_[triangle]; }
    std::uint32_t positionCount() const { return static_cast<std::uint32_t>(points_.size()); }
    /// The position number of a point, if some triangle has a corner there.
    std::optional<std::uint32_t> positionAt(const BakedVertex& point) const;

    /// The number of distinct triangles with a corner at each position.
    std::vector<std::uint32_t> degrees() const;

private:
    void findEqual(ItemCounter& work);
    void findPositions(ItemCounter& work);

    const std::vector<Triangle>& triangles_;
    std::vector<std::uint32_t> slots_;
    std::vector<std::uint32_t> firsts_; ///< One per distinct triangle, and the total.
    std::vector<Positions> positions_;
    std::vector<BakedVertex> points_; ///< By position number, sorted.
};

} // namespace ctr
