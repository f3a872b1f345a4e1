// When the ranges found so far leave nothing of a segment.
#include "visibility/HiddenRanges.h"

namespace ctr {

bool IsWhole(const RationalInterval& range) {
    return range.start[0] <= 0 && range.end[0] == range.end[1];
}

bool HiddenRanges::add(const RationalInterval& range) {
    if (IsWhole(range)) {
        ranges_.assign(1, range);
        return true;
    }
    ranges_.push_back(range);
    coverage_.add(range);
    return ranges_.size() >= nextLook_ && isAllHidden();
}

/// Joins the ranges found so far on the side: which of equal fractions are kept shall not depend on
/// when that is done.
bool HiddenRanges::isAllHidden() {
    nextLook_ = 2 * ranges_.size();
    fused_ = ranges_;
    IntervalTools::FuseOverlappingIntervals(fused_);
    for (const RationalInterval& range : fused_) {
        coverage_.add(range);
    }
    return IsWhole(fused_.front());
}

} // namespace ctr
