// The union of parameter ranges: sort by start, then one sweep that compacts in place.
#include <ctr/IntervalTools.h>

#include "visibility/FractionOrder.h"

#include <algorithm>
#include <cstddef>

namespace ctr {
namespace {

/// Compares by value, all negative numerators being equal and below everything else.
/// CompareFractions() alone is no strict order among those.
int CompareValues(const Wm4::Vector2<long>& a, const Wm4::Vector2<long>& b) {
    if (a[0] < 0 || b[0] < 0) {
        return static_cast<int>(b[0] < 0) - static_cast<int>(a[0] < 0);
    }
    return CompareFractions(a, b);
}

/// Orders by value, equal values by numerator.
int CompareWithForm(const Wm4::Vector2<long>& a, const Wm4::Vector2<long>& b) {
    const int order = CompareValues(a, b);
    return order != 0 ? order : static_cast<int>(a[0] > b[0]) - static_cast<int>(a[0] < b[0]);
}

/// A total order, so the fractions that are kept never depend on the order in which ranges were
/// found: by start, then by end, last by the denominators, which can differ where numerators are 0.
struct IsBefore {
    bool operator()(const RationalInterval& x, const RationalInterval& y) const {
        if (const int order = CompareWithForm(x.start, y.start); order != 0) {
            return order < 0;
        }
        if (const int order = CompareWithForm(x.end, y.end); order != 0) {
            return order < 0;
        }
        return x.start[1] != y.start[1] ? x.start[1] < y.start[1] : x.end[1] < y.end[1];
    }
};

} // namespace

void IntervalTools::FuseOverlappingIntervals(std::vector<RationalInterval>& intervals) {
    if (intervals.size() < 2) {
        return;
    }
    std::sort(intervals.begin(), intervals.end(), IsBefore());
    std::size_t current = 0;
    for (std::size_t i = 1; i < intervals.size(); ++i) {
        const RationalInterval& next = intervals[i];
        if (CompareFractions(next.start, intervals[current].end) > 0) {
            intervals[++current] = next;
        } else if (CompareFractions(next.end, intervals[current].end) > 0) {
            intervals[current].end = next.end;
        }
    }
    intervals.resize(current + 1);
}

} // namespace ctr
