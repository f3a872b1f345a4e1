// Triangles, and sectors of directions around a vertex, as items of a DenseTree.
#pragma once

#include "visibility/ErrorBounds.h"
#include "visibility/bvh/SlotTriangles.h"
#include "visibility/dense/DenseTree.h"
#include "visibility/dense/DistinctTriangles.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace ctr {

inline Coordinates CoordinatesOf(const GridVector& v) {
    return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

inline double LengthOf(const Coordinates& p) {
    return std::sqrt(Along(p, p));
}

inline Coordinates UnitOf(const GridVector& v) {
    const Coordinates p = CoordinatesOf(v);
    const double length = LengthOf(p);
    return {p[0] / length, p[1] / length, p[2] / length};
}

/// Sets the hubs of items around a hub, whose numbers are those of distinct triangles: the other
/// ends of edges from the hub that more than `degree` of them share.
void SetSharedHubs(const DistinctTriangles& triangles,
                   std::uint32_t hub,
                   std::uint32_t degree,
                   std::vector<DenseItem>& items);

/// An item without hubs. The triangle is borrowed.
inline DenseItem ItemOfTriangle(const SlotTriangle& triangle, std::uint32_t number) {
    const auto& [p, q, r] = triangle.corners;
    const auto [minX, maxX] = std::minmax({p.x, q.x, r.x});
    const auto [minY, maxY] = std::minmax({p.y, q.y, r.y});
    const auto [minZ, maxZ] = std::minmax({p.z, q.z, r.z});
    DenseItem item{};
    item.min = {static_cast<double>(minX), static_cast<double>(minY), static_cast<double>(minZ)};
    item.max = {static_cast<double>(maxX), static_cast<double>(maxY), static_cast<double>(maxZ)};
    item.hubs = kNoHubs;
    item.number = number;
    item.corners = triangle.corners;
    item.normal = UnitOf(NormalOf(triangle.corners));
    return item;
}

/// The unit vectors of all directions from one to another, less than 180 degrees apart, without
/// hubs. No point of an arc is farther from its chord than the midpoint.
inline DenseItem
ItemOfDirections(const GridVector& from, const GridVector& to, std::uint32_t number) {
    const Coordinates p = UnitOf(from);
    const Coordinates q = UnitOf(to);
    const double midpoint = 0.5 * LengthOf({p[0] + q[0], p[1] + q[1], p[2] + q[2]});
    const double margin = 1.0 - midpoint + error_bounds::kUnitMargin;
    DenseItem item{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        item.min[axis] = std::min(p[axis], q[axis]) - margin;
        item.max[axis] = std::max(p[axis], q[axis]) + margin;
    }
    item.hubs = kNoHubs;
    item.number = number;
    return item;
}

} // namespace ctr
