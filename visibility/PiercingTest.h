// Whether two triangles cut each other, and where.
#pragma once

#include "visibility/IntersectionEdge.h"

#include <cstdint>
#include <optional>

namespace ctr {

/// Which side a corner on a plane is on. Where a surface passes through a plane along an edge
/// between two of its triangles, neither of these has corners on both sides of it; with corners on
/// the plane in front of it, the one behind has (the idea of H. Edelsbrunner and E. P. Muecke,
/// Simulation of simplicity, ACM Transactions on Graphics 9, 1990, for this one case).
enum class OnPlane : std::uint8_t { neither, inFront };

/// Values of a plane at the corners of a triangle.
struct PlaneValues {
    long at[3];

    PlaneValues(const BakedVertex* corners, const BakedVertex& origin, const GridVector& normal)
        : at{Dot(normal, Difference(corners[0], origin)),
             Dot(normal, Difference(corners[1], origin)),
             Dot(normal, Difference(corners[2], origin))} {}

    bool straddle(OnPlane onPlane) const {
        const long front = onPlane == OnPlane::inFront ? 0 : 1;
        return (at[0] < 0 || at[1] < 0 || at[2] < 0) &
               (at[0] >= front || at[1] >= front || at[2] >= front);
    }
};

/// A triangle that straddles the plane of another.
struct CutTriangle {
    const BakedVertex* corners; ///< Three.
    GridVector normal;
    PlaneValues values; ///< Of the other's plane.
};

/// How two triangles cut each other: the ends as in FoundIntersection, and whether they graze.
struct Piercing {
    std::uint8_t ends[2];
    bool grazing;
};

/// How a and b cut each other, if they do. Their boxes share a point.
std::optional<Piercing> FindPiercing(const CutTriangle& a, const CutTriangle& b, OnPlane onPlane);

/// Where the given edge of a triangle, from that corner to the next, crosses a plane.
tPointOnEdge CrossingOf(const BakedVertex* corners,
                        int edge,
                        const BakedVertex& origin,
                        const GridVector& normal);

} // namespace ctr
