// The exact intersection of two triangles on the grid.
//
// The interval test of T. Moeller, A fast triangle-triangle intersection test, Journal of Graphics
// Tools 2(2), 1997, in integers: each triangle has to straddle the plane of the other, and the
// spans in which they meet the common line of the planes have to overlap. Signs of plane values are
// exact; spans are compared by crossings rounded down to the grid. O(1); nearly all pairs end at
// the first signs.
#pragma once

#include "visibility/bvh/GridBox.h"
#include "visibility/bvh/SlotTriangles.h"
#include "visibility/intersections/IntersectionEdge.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace ctr {

/// How an edge in a plane counts for a triangle that is otherwise behind the plane.
///
/// Where a surface passes through a plane along an edge between two of its triangles, neither of
/// these has corners on both sides. If the edge counts as in front of the plane, the triangle
/// behind has: a symbolic perturbation after H. Edelsbrunner and E. P. Muecke, Simulation of
/// simplicity, ACM Transactions on Graphics 9, 1990, for this one case. Neighbours that are behind
/// each other from the edge they share lie beside each other on screen: AreInContact() rejects
/// them.
enum class EdgeOnPlane : std::uint8_t { touches, isInFront };

/// The values of a plane at the corners of a triangle.
struct PlaneValues {
    std::int64_t at[3];

    PlaneValues(const BakedVertex* corners, const BakedVertex& origin, const GridVector& normal)
        : at{Dot(normal, Difference(corners[0], origin)),
             Dot(normal, Difference(corners[1], origin)),
             Dot(normal, Difference(corners[2], origin))} {}

    /// Whether there are corners on both sides of the plane, by sign bits: most pairs end here.
    bool straddle(EdgeOnPlane edge) const {
        const std::int64_t behind = at[0] | at[1] | at[2];
        const std::int64_t inFront = WrapNegate(at[0]) | WrapNegate(at[1]) | WrapNegate(at[2]);
        return (behind & inFront) < 0 ||
               (edge == EdgeOnPlane::isInFront && behind < 0 && haveEdge());
    }

    /// Whether exactly two corners are on the plane.
    bool haveEdge() const {
        return at[0] == 0 ? (at[1] == 0) != (at[2] == 0) : at[1] == 0 && at[2] == 0;
    }
};

/// A triangle that straddles the plane of another.
struct StraddlingTriangle {
    const BakedVertex* corners; ///< Three.
    GridVector normal;
    PlaneValues values; ///< Of the plane of the other triangle.
};

/// The intersection of two triangles: ends and grazing as in FoundIntersection.
struct SpanOverlap {
    std::uint8_t ends[2];
    bool grazing;
};

/// The intersection of a and b, if there is one. Both straddle the plane of the other, and their
/// boxes share a point.
std::optional<SpanOverlap> FindSpanOverlap(const StraddlingTriangle& a,
                                           const StraddlingTriangle& b);

/// The point where an edge of a triangle, from corner `edge` to the next, crosses a plane.
tPointOnEdge EdgeCrossing(const BakedVertex* corners,
                          int edge,
                          const BakedVertex& origin,
                          const GridVector& normal);

/// Whether the boxes of two triangles share a point.
inline bool BoxesOverlap(const SlotTriangle& a, const SlotTriangle& b) {
    const auto& [p, q, r] = a.corners;
    const GridBox box(
        {std::min({p.x, q.x, r.x}), std::min({p.y, q.y, r.y}), std::min({p.z, q.z, r.z})},
        {std::max({p.x, q.x, r.x}), std::max({p.y, q.y, r.y}), std::max({p.z, q.z, r.z})});
    return !box.excludes(b.corners);
}

/// A triangle of a candidate pair. All but the slot is borrowed.
struct PairMember {
    const SlotTriangle& triangle;
    const GridVector& normal;
    std::uint32_t slot;
};

/// Intersects candidate pairs of a scene.
class PairIntersector {
public:
    explicit PairIntersector(EdgeOnPlane edgeOnPlane) : edgeOnPlane_(edgeOnPlane) {}

    /// The intersection edge of two triangles, if they intersect.
    std::optional<FoundIntersection> find(const PairMember& a, const PairMember& b) const {
        const PlaneValues valuesB(b.triangle.corners, a.triangle.corners[0], a.normal);
        if (!valuesB.straddle(edgeOnPlane_)) {
            return std::nullopt;
        }
        const PlaneValues valuesA(a.triangle.corners, b.triangle.corners[0], b.normal);
        if (!valuesA.straddle(edgeOnPlane_) || !BoxesOverlap(a.triangle, b.triangle)) {
            return std::nullopt;
        }
        return a.triangle.number < b.triangle.number ? record(a, valuesA, b, valuesB)
                                                     : record(b, valuesB, a, valuesA);
    }

private:
    static std::optional<FoundIntersection> record(const PairMember& first,
                                                   const PlaneValues& valuesOfFirst,
                                                   const PairMember& second,
                                                   const PlaneValues& valuesOfSecond) {
        const std::optional<SpanOverlap> found =
            FindSpanOverlap({first.triangle.corners, first.normal, valuesOfFirst},
                            {second.triangle.corners, second.normal, valuesOfSecond});
        if (!found) {
            return std::nullopt;
        }
        return FoundIntersection{
            first.triangle.number, second.slot, {found->ends[0], found->ends[1]}, found->grazing};
    }

    EdgeOnPlane edgeOnPlane_; ///< In front with a contact tolerance only.
};

} // namespace ctr
