// Whether two triangles cut each other, and where.
#pragma once

#include "visibility/intersections/IntersectionEdge.h"

#include <cstdint>
#include <optional>

namespace ctr {

/// What a triangle behind a plane does that has an edge on it. Where a surface passes through a
/// plane along an edge between two of its triangles, neither of these has corners on both sides. If
/// the edge counts as in front of the plane, the one behind has (the idea of H. Edelsbrunner and E.
/// P. Muecke, Simulation of simplicity, ACM Transactions on Graphics 9, 1990, for this one case).
/// Neighbours that are behind each other from the edge they share lie beside each other on screen:
/// AreInContact() leaves them out.
enum class EdgeOnPlane : std::uint8_t { touches, isInFront };

/// Values of a plane at the corners of a triangle.
struct PlaneValues {
    std::int64_t at[3];

    PlaneValues(const BakedVertex* corners, const BakedVertex& origin, const GridVector& normal)
        : at{Dot(normal, Difference(corners[0], origin)),
             Dot(normal, Difference(corners[1], origin)),
             Dot(normal, Difference(corners[2], origin))} {}

    /// By sign bits: most pairs of triangles end here.
    bool straddle(EdgeOnPlane edge) const {
        const std::int64_t behind = at[0] | at[1] | at[2];
        const std::int64_t inFront = WrapNegate(at[0]) | WrapNegate(at[1]) | WrapNegate(at[2]);
        return (behind & inFront) < 0 ||
               (edge == EdgeOnPlane::isInFront && behind < 0 && haveEdge());
    }

    /// Two corners are on the plane.
    bool haveEdge() const {
        return at[0] == 0 ? (at[1] == 0) != (at[2] == 0) : at[1] == 0 && at[2] == 0;
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

/// How a and b cut each other, if they do. Both straddle, and their boxes share a point.
std::optional<Piercing> FindPiercing(const CutTriangle& a, const CutTriangle& b);

/// Where the given edge of a triangle, from that corner to the next, crosses a plane.
tPointOnEdge CrossingOf(const BakedVertex* corners,
                        int edge,
                        const BakedVertex& origin,
                        const GridVector& normal);

} // namespace ctr
