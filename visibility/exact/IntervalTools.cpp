// The union of parameter intervals: sort by start, then one sweep that compacts in place. Exact,
// O(n log n) for n intervals.
//
// The cost of exact comparisons is dominated by mispredicted branches, not by the products. Rounded
// starts are therefore sorted first, by distribution (bucket sort; E. J. Isaac and R. C. Singleton,
// Sorting by address calculation, Journal of the ACM 3(3), 1956), and only intervals whose rounded
// starts are within the error bound of each other (ErrorBounds.h, section 8) are compared exactly.
#include <ctr/IntervalTools.h>

#include "visibility/ErrorBounds.h"
#include "visibility/Tuning.h"
#include "visibility/exact/FractionOrder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <numeric>

namespace ctr {
namespace {

/// Compares by value, all negative numerators being equal and below everything else.
/// CompareFractions() alone is no strict order among those.
int CompareValues(const Wm4::Vector2<std::int64_t>& a, const Wm4::Vector2<std::int64_t>& b) {
    if (a[0] < 0 || b[0] < 0) {
        return static_cast<int>(b[0] < 0) - static_cast<int>(a[0] < 0);
    }
    return CompareFractions(a, b);
}

/// Orders by value, equal values by numerator.
int CompareWithForm(const Wm4::Vector2<std::int64_t>& a, const Wm4::Vector2<std::int64_t>& b) {
    const int order = CompareValues(a, b);
    return order != 0 ? order : static_cast<int>(a[0] > b[0]) - static_cast<int>(a[0] < b[0]);
}

/// A total order, so the fractions that are kept do not depend on the order in which intervals were
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

/// A rounded start, from 0 to 2^32 - 1, in the upper half and the number of the interval in the
/// lower. A start that is less than another has a key whose upper half is less, or greater by 1 at
/// most (ErrorBounds.h).
using Key = std::uint64_t;
using Keys = std::array<Key, Tuning::kMostBucketSorted>;
constexpr unsigned int kNumberBits = 32;

Key MakeKey(const RationalInterval& interval, std::size_t number) {
    constexpr Key kLast = 0xffffffff;
    const double start = static_cast<double>(interval.start[0]) /
                         static_cast<double>(interval.start[1]) * error_bounds::kStartUnits;
    Key rounded = kLast;
    if (start < error_bounds::kStartUnits) {
        rounded = start > 0.0 ? static_cast<Key>(start) : 0;
    }
    return rounded << kNumberBits | number;
}

std::size_t NumberOf(Key key) {
    return static_cast<std::uint32_t>(key);
}

bool MayTie(Key less, Key greater) {
    return (greater >> kNumberBits) - (less >> kNumberBits) <= 1;
}

/// The keys of at most Tuning::kMostBucketSorted intervals in order: distributed to about as many
/// buckets, then sorted in each.
void SortKeys(const std::vector<RationalInterval>& intervals, Keys& keys) {
    const std::size_t count = intervals.size();
    const auto binBits = static_cast<unsigned int>(std::bit_width(count - 1));
    const auto binOf = [binBits](Key key) { return key >> (2 * kNumberBits - binBits); };
    Keys unsorted;
    std::array<std::uint16_t, Tuning::kMostBucketSorted + 1> binEnds;
    const std::size_t binCount = std::size_t{1} << binBits;
    std::fill_n(binEnds.begin(), binCount + 1, std::uint16_t{0});
    for (std::size_t i = 0; i < count; ++i) {
        unsorted[i] = MakeKey(intervals[i], i);
        ++binEnds[binOf(unsorted[i]) + 1];
    }
    std::partial_sum(binEnds.begin(), binEnds.begin() + binCount, binEnds.begin());
    for (std::size_t i = 0; i < count; ++i) {
        keys[binEnds[binOf(unsorted[i])]++] = unsorted[i];
    }
    std::size_t begin = 0;
    for (std::size_t bin = 0; bin < binCount; begin = binEnds[bin++]) {
        if (binEnds[bin] - begin > 1) {
            std::sort(keys.begin() + begin, keys.begin() + binEnds[bin]);
        }
    }
}

/// Sorts keys by their intervals where the order of rounded starts is not certain.
void SortTies(const std::vector<RationalInterval>& intervals, Keys& keys) {
    const auto isBefore = [&intervals](Key x, Key y) {
        return IsBefore()(intervals[NumberOf(x)], intervals[NumberOf(y)]);
    };
    for (std::size_t begin = 0; begin < intervals.size();) {
        std::size_t end = begin + 1;
        while (end < intervals.size() && MayTie(keys[end - 1], keys[end])) {
            ++end;
        }
        if (end - begin > 1) {
            std::sort(keys.begin() + begin, keys.begin() + end, isBefore);
        }
        begin = end;
    }
}

/// Moves every interval to the position of its key, cycle by cycle.
void Permute(std::vector<RationalInterval>& intervals, Keys& keys) {
    for (std::size_t first = 0; first < intervals.size(); ++first) {
        if (NumberOf(keys[first]) == first) {
            continue;
        }
        const RationalInterval moved = intervals[first];
        std::size_t to = first;
        for (std::size_t from = NumberOf(keys[to]); from != first; from = NumberOf(keys[to])) {
            intervals[to] = intervals[from];
            keys[to] = to;
            to = from;
        }
        intervals[to] = moved;
        keys[to] = to;
    }
}

void Sort(std::vector<RationalInterval>& intervals) {
    if (intervals.size() < Tuning::kFewestBucketSorted ||
        intervals.size() > Tuning::kMostBucketSorted) {
        std::sort(intervals.begin(), intervals.end(), IsBefore());
        return;
    }
    Keys keys;
    SortKeys(intervals, keys);
    SortTies(intervals, keys);
    Permute(intervals, keys);
}

} // namespace

void IntervalTools::FuseOverlappingIntervals(std::vector<RationalInterval>& intervals) {
    if (intervals.size() < 2) {
        return;
    }
    Sort(intervals);
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

std::vector<RationalInterval>
IntervalTools::Complement(const std::vector<RationalInterval>& intervals) {
    std::vector<RationalInterval> gaps;
    Wm4::Vector2<std::int64_t> gapStart(0, 1);
    for (std::size_t i = 0; i < intervals.size(); ++i) {
        if (i > 0 || intervals[i].start[0] != 0) {
            gaps.push_back({gapStart, intervals[i].start});
        }
        gapStart = intervals[i].end;
    }
    if (gapStart[0] < gapStart[1]) {
        gaps.push_back({gapStart, {1, 1}});
    }
    return gaps;
}

} // namespace ctr
