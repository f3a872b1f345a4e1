// When the ranges found so far leave nothing of a segment.
#include "visibility/occlusion/OccludedIntervals.h"

#include "visibility/exact/FractionOrder.h"

namespace ctr {

void HiddenRanges::start() {
    constexpr std::size_t kFirstLook = 16;
    ranges_.clear();
    coverage_.clear();
    hiddenTo_ = Fraction(0, 1);
    hiddenFrom_ = Fraction(1, 1);
    nextLook_ = kFirstLook;
}

double HiddenRanges::middleOfOpen() const {
    const auto valueOf = [](const Fraction& t) {
        return static_cast<double>(t[0]) / static_cast<double>(t[1]);
    };
    return 0.5 * (valueOf(hiddenTo_) + valueOf(hiddenFrom_));
}

/// True when the whole segment is known to be hidden.
bool HiddenRanges::add(const RationalInterval& range, std::uint32_t slot) {
    if (IsWhole(range)) {
        lastHiders_[nextHider_++ % lastHiders_.size()] = slot;
        return true;
    }
    ranges_.push_back(range);
    coverage_.add(range);
    extendEnds(range);
    return CompareFractions(hiddenTo_, hiddenFrom_) >= 0 ||
           (ranges_.size() >= nextLook_ && isAllHidden());
}

/// What is hidden at either end of the segment grows by a range that reaches it.
void HiddenRanges::extendEnds(const RationalInterval& range) {
    if (CompareFractions(range.start, hiddenTo_) <= 0 &&
        CompareFractions(range.end, hiddenTo_) > 0) {
        hiddenTo_ = range.end;
    }
    if (CompareFractions(range.end, hiddenFrom_) >= 0 &&
        CompareFractions(range.start, hiddenFrom_) < 0) {
        hiddenFrom_ = range.start;
    }
}

/// Joins the ranges found so far on the side: which of equal fractions are kept shall not depend on
/// when that is done.
bool HiddenRanges::isAllHidden() {
    nextLook_ = 4 * ranges_.size();
    fused_ = ranges_;
    IntervalTools::FuseOverlappingIntervals(fused_);
    for (const RationalInterval& range : fused_) {
        coverage_.add(range);
    }
    return IsWhole(fused_.front());
}

} // namespace ctr
