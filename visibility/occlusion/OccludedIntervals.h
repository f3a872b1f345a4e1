// The occluded intervals of one segment after another, with early termination.
//
// A BVH traversal visits the triangles that may occlude a segment, nearer boxes first, and collects
// the interval that each of them occludes. It stops as soon as the segment is known to be fully
// occluded, and skips subtrees that could only add to parts known to be occluded. Triangles that
// recently occluded a whole segment are tested first: neighbouring edges often have the same
// occluder. O(log n + m) per segment for m triangles visited where few boxes overlap. Nothing here
// changes the union of the intervals, which is exact.
#pragma once

#include <ctr/IntervalTools.h>

#include "visibility/Statistics.h"
#include "visibility/Tuning.h"
#include "visibility/bvh/OccluderBvh.h"
#include "visibility/exact/GridArithmetic.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <vector>

namespace ctr {

/// Whether an interval is the whole segment.
inline bool IsFullSegment(const RationalInterval& interval) {
    return interval.start[0] == 0 && interval.end[0] == interval.end[1];
}

/// Whether fused intervals are the whole segment.
inline bool AreFullSegment(const std::vector<RationalInterval>& intervals) {
    return intervals.size() == 1 && IsFullSegment(intervals.front());
}

inline RationalInterval FullSegment() {
    return {{0, 1}, {1, 1}};
}

class OccludedIntervals {
public:
    /// The intervals that `intervalOf` gives for the triangles of the BVH, as far as their union
    /// needs them, in any order; the single interval 0/1 .. 1/1 when the segment is fully occluded.
    /// Valid until the next call.
    ///
    /// intervalOf(triangle) is the interval of the segment that a triangle occludes, if any. It is
    /// not called for some triangles whose interval lies strictly within intervals found before.
    template <class IntervalOf>
    const std::vector<RationalInterval>&
    find(const OccluderBvh& bvh, const SegmentSlabClipper& clipper, IntervalOf intervalOf) {
        return isOccludedByRecent(bvh, intervalOf) ? full() : search(bvh, clipper, intervalOf);
    }

    /// Whether a recent occluder of a whole segment occludes this one, too: the first step of
    /// find().
    template <class IntervalOf>
    bool isOccludedByRecent(const OccluderBvh& bvh, IntervalOf intervalOf) const {
        const SlotTriangles triangles = bvh.triangles();
        SlotTriangle storage;
        const bool isOccluded =
            std::any_of(recentOccluders_.begin(), recentOccluders_.end(), [&](std::uint32_t slot) {
                const auto part = slot < triangles.size() ? intervalOf(triangles.get(slot, storage))
                                                          : std::nullopt;
                return part && IsFullSegment(*part);
            });
        Count(Counter::occludedByRecent, isOccluded ? 1 : 0);
        return isOccluded;
    }

    /// The second step of find().
    template <class IntervalOf>
    const std::vector<RationalInterval>&
    search(const OccluderBvh& bvh, const SegmentSlabClipper& clipper, IntervalOf intervalOf) {
        start();
        return searchRest(bvh, clipper, intervalOf);
    }

    /// Whether the triangles nearest to the eye occlude the whole segment: nearest(t) gives the
    /// slots of some that cover the point with parameter t. If they do not, searchRest() continues
    /// with all triangles.
    template <class IntervalOf, class Nearest>
    bool isOccludedByNearest(const OccluderBvh& bvh, IntervalOf intervalOf, Nearest nearest) {
        const SlotTriangles triangles = bvh.triangles();
        SlotTriangle storage;
        const auto testAt = [&](double t) {
            const auto& slots = nearest(t);
            return std::any_of(slots.begin(), slots.end(), [&](std::uint32_t slot) {
                const std::optional<RationalInterval> part =
                    intervalOf(triangles.get(slot, storage));
                return part && add(*part, slot);
            });
        };
        start();
        const auto& first = Tuning::kFrontParameters;
        if (std::any_of(std::begin(first), std::end(first), testAt)) {
            return true;
        }
        double last = first[0];
        for (int attempt = 0; attempt < Tuning::kMostFrontAttempts && middleOfRemaining() != last;
             ++attempt) {
            last = middleOfRemaining();
            if (testAt(last)) {
                return true;
            }
        }
        return false;
    }

    /// The intervals that isOccludedByNearest() has found.
    const std::vector<RationalInterval>& found() const { return intervals_; }

    /// Contains every part of the segment that is not known to be occluded.
    RationalInterval remaining() const { return {prefixEnd_, suffixStart_}; }

    /// The intervals that isOccludedByNearest() has found, and those of other triangles.
    template <class IntervalOf>
    const std::vector<RationalInterval>&
    searchRest(const OccluderBvh& bvh, const SegmentSlabClipper& clipper, IntervalOf intervalOf) {
        bool isOccluded = false;
        const auto visit = [&](const SlotTriangle& triangle, std::uint32_t slot) {
            const std::optional<RationalInterval> part = intervalOf(triangle);
            isOccluded = part && add(*part, slot);
            return isOccluded;
        };
        bvh.traverse(clipper, coverage_, visit);
        return isOccluded ? full() : intervals_;
    }

    /// The single interval 0/1 .. 1/1.
    const std::vector<RationalInterval>& full() {
        intervals_.assign(1, FullSegment());
        return intervals_;
    }

private:
    void start();
    double middleOfRemaining() const;
    bool add(const RationalInterval& interval, std::uint32_t slot);
    void extendEnds(const RationalInterval& interval);
    bool isFullyOccluded();

    std::array<std::uint32_t, Tuning::kRecentOccluders> recentOccluders_{}; ///< Slots.
    std::size_t nextRecent_ = 0;
    SegmentCoverage coverage_;
    std::vector<RationalInterval> intervals_;
    /// 0 .. prefixEnd_ and suffixStart_ .. 1 are occluded.
    Fraction prefixEnd_;
    Fraction suffixStart_;
    std::vector<RationalInterval> fused_;
    std::size_t nextCheck_ = 0;
};

} // namespace ctr
