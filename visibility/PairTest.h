// Whether two triangles of a scene cut each other, as a record of where.
#pragma once

#include "visibility/OccluderTree.h"
#include "visibility/PiercingTest.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace ctr {

/// Whether the boxes of two triangles share a point.
inline bool BoxesMeet(const OccluderTree::Triangle& a, const OccluderTree::Triangle& b) {
    const auto& [p, q, r] = a.corners;
    const TriangleSieve box(
        {std::min({p.x, q.x, r.x}), std::min({p.y, q.y, r.y}), std::min({p.z, q.z, r.z})},
        {std::max({p.x, q.x, r.x}), std::max({p.y, q.y, r.y}), std::max({p.z, q.z, r.z})});
    return !box.isBeside(b.corners);
}

/// The exact test of pairs, slot by slot.
class PairTest {
public:
    /// The triangles are borrowed.
    PairTest(const std::vector<OccluderTree::Triangle>& triangles, EdgeOnPlane edgeOnPlane)
        : triangles_(triangles), edgeOnPlane_(edgeOnPlane) {}

    /// The edge along which two triangles cut each other, if they do.
    std::optional<FoundIntersection> find(std::uint32_t slotA,
                                          const GridVector& normalA,
                                          std::uint32_t slotB,
                                          const GridVector& normalB) const {
        const BakedVertex* const a = triangles_[slotA].corners;
        const BakedVertex* const b = triangles_[slotB].corners;
        const PlaneValues valuesB(b, a[0], normalA);
        if (!valuesB.straddle(edgeOnPlane_)) {
            return std::nullopt;
        }
        const PlaneValues valuesA(a, b[0], normalB);
        if (!valuesA.straddle(edgeOnPlane_) || !BoxesMeet(triangles_[slotA], triangles_[slotB])) {
            return std::nullopt;
        }
        const CutTriangle dataA{a, normalA, valuesA};
        const CutTriangle dataB{b, normalB, valuesB};
        const bool inOrder = triangles_[slotA].number < triangles_[slotB].number;
        return inOrder ? recordOf(dataA, slotA, dataB, slotB)
                       : recordOf(dataB, slotB, dataA, slotA);
    }

private:
    std::optional<FoundIntersection> recordOf(const CutTriangle& first,
                                              std::uint32_t firstSlot,
                                              const CutTriangle& second,
                                              std::uint32_t secondSlot) const {
        const std::optional<Piercing> found = FindPiercing(first, second);
        if (!found) {
            return std::nullopt;
        }
        return FoundIntersection{triangles_[firstSlot].number,
                                 secondSlot,
                                 {found->ends[0], found->ends[1]},
                                 found->grazing};
    }

    const std::vector<OccluderTree::Triangle>& triangles_;
    EdgeOnPlane edgeOnPlane_; ///< In front with a contact tolerance only.
};

} // namespace ctr
