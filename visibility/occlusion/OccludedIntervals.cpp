// When the intervals found so far cover a segment.
//
// The union is extended from both ends of the segment with each interval. Coverage that this misses
// is found by fusing all intervals, at counts that grow by a constant factor: O(k log k) in all for
// k intervals. Exact: fractions are compared by cross-multiplication.
#include "visibility/occlusion/OccludedIntervals.h"

#include "visibility/Statistics.h"
#include "visibility/exact/FractionOrder.h"

namespace ctr {

void OccludedIntervals::start() {
    intervals_.clear();
    coverage_.clear();
    prefixEnd_ = Fraction(0, 1);
    suffixStart_ = Fraction(1, 1);
    nextCheck_ = Tuning::kFirstCoverCheck;
}

double OccludedIntervals::middleOfRemaining() const {
    const auto valueOf = [](const Fraction& t) {
        return static_cast<double>(t[0]) / static_cast<double>(t[1]);
    };
    return 0.5 * (valueOf(prefixEnd_) + valueOf(suffixStart_));
}

/// True when the whole segment is known to be occluded.
bool OccludedIntervals::add(const RationalInterval& interval, std::uint32_t slot) {
    Count(Counter::occludedIntervals);
    if (IsFullSegment(interval)) {
        recentOccluders_[nextRecent_++ % recentOccluders_.size()] = slot;
        return true;
    }
    intervals_.push_back(interval);
    coverage_.add(interval);
    extendEnds(interval);
    const bool isOccluded = CompareFractions(prefixEnd_, suffixStart_) >= 0 ||
                            (intervals_.size() >= nextCheck_ && isFullyOccluded());
    Count(Counter::occludedByUnion, isOccluded ? 1 : 0);
    return isOccluded;
}

/// Extends the occluded prefix and suffix of the segment by an interval that reaches them.
void OccludedIntervals::extendEnds(const RationalInterval& interval) {
    if (CompareFractions(interval.start, prefixEnd_) <= 0 &&
        CompareFractions(interval.end, prefixEnd_) > 0) {
        prefixEnd_ = interval.end;
    }
    if (CompareFractions(interval.end, suffixStart_) >= 0 &&
        CompareFractions(interval.start, suffixStart_) < 0) {
        suffixStart_ = interval.start;
    }
}

/// Fuses a copy of the intervals: which of equal fractions the caller's union keeps must not depend
/// on when this is done.
bool OccludedIntervals::isFullyOccluded() {
    nextCheck_ = Tuning::kCoverCheckGrowth * intervals_.size();
    fused_ = intervals_;
    IntervalTools::FuseOverlappingIntervals(fused_);
    for (const RationalInterval& interval : fused_) {
        coverage_.add(interval);
    }
    return IsFullSegment(fused_.front());
}

} // namespace ctr
