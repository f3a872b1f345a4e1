// Whether two triangles of a scene cut each other, as a record of where.
#pragma once

#include "visibility/bvh/OccluderBvh.h"
#include "visibility/intersections/PairIntersection.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace ctr {

/// Whether the boxes of two triangles share a point.
inline bool BoxesMeet(const OccluderTree::Triangle& a, const OccluderTree::Triangle& b) {
    const auto& [p, q, r] = a.corners;
    const TriangleSieve box(
        {std::min({p.x, q.x, r.x}), std::min({p.y, q.y, r.y}), std::min({p.z, q.z, r.z})},
        {std::max({p.x, q.x, r.x}), std::max({p.y, q.y, r.y}), std::max({p.z, q.z, r.z})});
    return !box.isBeside(b.corners);
}

/// One of two triangles that are tested. All but the slot is borrowed.
struct PairMember {
    const OccluderTree::Triangle& triangle;
    const GridVector& normal;
    std::uint32_t slot;
};

/// The exact test of pairs.
class PairTest {
public:
    explicit PairTest(EdgeOnPlane edgeOnPlane) : edgeOnPlane_(edgeOnPlane) {}

    /// The edge along which two triangles cut each other, if they do.
    std::optional<FoundIntersection> find(const PairMember& a, const PairMember& b) const {
        const PlaneValues valuesB(b.triangle.corners, a.triangle.corners[0], a.normal);
        if (!valuesB.straddle(edgeOnPlane_)) {
            return std::nullopt;
        }
        const PlaneValues valuesA(a.triangle.corners, b.triangle.corners[0], b.normal);
        if (!valuesA.straddle(edgeOnPlane_) || !BoxesMeet(a.triangle, b.triangle)) {
            return std::nullopt;
        }
        return a.triangle.number < b.triangle.number ? recordOf(a, valuesA, b, valuesB)
                                                     : recordOf(b, valuesB, a, valuesA);
    }

private:
    static std::optional<FoundIntersection> recordOf(const PairMember& first,
                                                     const PlaneValues& valuesOfFirst,
                                                     const PairMember& second,
                                                     const PlaneValues& valuesOfSecond) {
        const std::optional<Piercing> found =
            FindPiercing({first.triangle.corners, first.normal, valuesOfFirst},
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
