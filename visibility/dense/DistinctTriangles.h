// Triangles that are the same, and places where triangles meet.
#pragma once

#include "linesets/Work.h"
#include "visibility/bvh/OccluderBvh.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ctr {

/// Slots by the triangles that are in them: equal are those with the same corners in the same
/// order. Corners at one point of the grid are one place. O(n log n).
class DistinctTriangles {
public:
    using Triangle = OccluderTree::Triangle;
    using Places = std::array<std::uint32_t, 3>;

    /// The triangles are borrowed.
    DistinctTriangles(const std::vector<Triangle>& triangles, WorkCounter& work);

    std::uint32_t count() const { return static_cast<std::uint32_t>(places_.size()); }

    /// The slots of equal triangles, by the numbers of these.
    const std::uint32_t* begin(std::uint32_t triangle) const {
        return slots_.data() + firsts_[triangle];
    }
    const std::uint32_t* end(std::uint32_t triangle) const {
        return slots_.data() + firsts_[triangle + 1];
    }
    const Triangle& operator[](std::uint32_t triangle) const {
        return triangles_[*begin(triangle)];
    }

    /// The numbers of the places of a triangle's corners.
    const Places& places(std::uint32_t triangle) const { return places_[triangle]; }
    std::uint32_t placeCount() const { return static_cast<std::uint32_t>(points_.size()); }
    /// The number of a place, if some triangle has a corner there.
    std::optional<std::uint32_t> placeAt(const BakedVertex& point) const;

    /// How many distinct triangles have a corner at each place.
    std::vector<std::uint32_t> degrees() const;

private:
    void findEqual(WorkCounter& work);
    void findPlaces(WorkCounter& work);

    const std::vector<Triangle>& triangles_;
    std::vector<std::uint32_t> slots_;
    std::vector<std::uint32_t> firsts_; ///< One more than there are distinct triangles.
    std::vector<Places> places_;
    std::vector<BakedVertex> points_; ///< Of places, in order.
};

} // namespace ctr
