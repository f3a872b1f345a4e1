// Fractions by cross multiplication, unions by counting how many ranges are open.
#include "support/ExactFractions.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <tuple>

namespace test_support {

namespace {

struct RangeEnd {
    Fraction value;
    int change; // +1 where a range starts, -1 where it ends
};

// Starts come before ends of the same value: closed ranges that touch share a number.
bool ComesFirst(const RangeEnd& a, const RangeEnd& b) {
    const int order = Compare(a.value, b.value);
    return order != 0 ? order < 0 : a.change > b.change;
}

struct ValueRange {
    Fraction start;
    Fraction end;
};

std::vector<ValueRange> UnionOfValues(const std::vector<ctr::RationalInterval>& intervals) {
    std::vector<RangeEnd> ends;
    for (const auto& interval : intervals) {
        ends.push_back({ToFraction(interval.start), 1});
        ends.push_back({ToFraction(interval.end), -1});
    }
    std::sort(ends.begin(), ends.end(), ComesFirst);
    std::vector<ValueRange> parts;
    int open = 0;
    for (const RangeEnd& end : ends) {
        if (open == 0) {
            parts.push_back({end.value, end.value});
        }
        open += end.change;
        parts.back().end = end.value;
    }
    return parts;
}

bool SmallerKey(const ctr::RationalInterval& a, const ctr::RationalInterval& b) {
    const int starts = Compare(a.start, b.start);
    const int ends = Compare(a.end, b.end);
    return std::make_tuple(starts, a.start.X(), ends, a.end.X()) <
           std::make_tuple(0, b.start.X(), 0, b.end.X());
}

// The fractions in which a part of the union is written, out of the ranges that lie in it.
ctr::RationalInterval WrittenForm(const ValueRange& part,
                                  std::vector<ctr::RationalInterval> intervals) {
    std::erase_if(intervals, [&](const ctr::RationalInterval& interval) {
        return Compare(ToFraction(interval.start), part.start) < 0 ||
               Compare(ToFraction(interval.end), part.end) > 0;
    });
    std::sort(intervals.begin(), intervals.end(), SmallerKey);
    const auto last = std::find_if(intervals.begin(), intervals.end(),
                                   [&](const ctr::RationalInterval& interval) {
                                       return Compare(ToFraction(interval.end), part.end) == 0;
                                   });
    return {intervals.front().start, last->end};
}

// A weighted mediant. What its parts have in common divides the cross product of a and b, for the
// weights have nothing in common; reduced, its denominator is therefore at least the weights' sum
// over the larger denominator.
Fraction Between(const Fraction& a, const Fraction& b) {
    constexpr Wide kWeightA = (Wide{1} << 36) + 1;
    constexpr Wide kWeightB = (Wide{1} << 36) + 3;
    return {kWeightA * a.numerator + kWeightB * b.numerator,
            kWeightA * a.denominator + kWeightB * b.denominator};
}

// Digits from the last to the first; streams do not support 128-bit numbers.
std::string Digits(Wide value) {
    std::string text;
    for (Wide rest = value < 0 ? -value : value; rest > 0 || text.empty(); rest /= 10) {
        text.insert(text.begin(), static_cast<char>('0' + static_cast<int>(rest % 10)));
    }
    if (value < 0) {
        text.insert(text.begin(), '-');
    }
    return text;
}

} // namespace

Fraction ToFraction(const Wm4::Vector2<std::int64_t>& value) {
    return {value.X(), value.Y()};
}

int Compare(const Fraction& a, const Fraction& b) {
    const Wide left = a.numerator * b.denominator;
    const Wide right = b.numerator * a.denominator;
    return left < right ? -1 : static_cast<int>(left > right);
}

int Compare(const Wm4::Vector2<std::int64_t>& a, const Wm4::Vector2<std::int64_t>& b) {
    return Compare(ToFraction(a), ToFraction(b));
}

bool SameForm(const Wm4::Vector2<std::int64_t>& a, const Wm4::Vector2<std::int64_t>& b) {
    return a.X() == b.X() && (a.X() == 0 || a.Y() == b.Y());
}

bool SameForm(const ctr::RationalInterval& a, const ctr::RationalInterval& b) {
    return SameForm(a.start, b.start) && SameForm(a.end, b.end);
}

bool SameForm(const std::vector<ctr::RationalInterval>& a,
              const std::vector<ctr::RationalInterval>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& x, const auto& y) { return SameForm(x, y); });
}

bool SameValue(const ctr::RationalInterval& a, const ctr::RationalInterval& b) {
    return Compare(a.start, b.start) == 0 && Compare(a.end, b.end) == 0;
}

bool SameValue(const std::vector<ctr::RationalInterval>& a,
               const std::vector<ctr::RationalInterval>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& x, const auto& y) { return SameValue(x, y); });
}

void SortByValue(std::vector<ctr::RationalInterval>& intervals) {
    std::sort(intervals.begin(), intervals.end(), SmallerKey);
}

std::vector<ctr::RationalInterval> ExactUnion(const std::vector<ctr::RationalInterval>& intervals) {
    std::vector<ctr::RationalInterval> parts;
    for (const ValueRange& part : UnionOfValues(intervals)) {
        parts.push_back(WrittenForm(part, intervals));
    }
    return parts;
}

bool Contains(const std::vector<ctr::RationalInterval>& intervals, const Fraction& value) {
    return std::any_of(intervals.begin(), intervals.end(), [&](const auto& interval) {
        return Compare(ToFraction(interval.start), value) <= 0 &&
               Compare(value, ToFraction(interval.end)) <= 0;
    });
}

std::vector<Fraction> SamplesBetweenEnds(const std::vector<ctr::RationalInterval>& intervals) {
    std::vector<Fraction> ends = {{0, 1}, {1, 1}};
    for (const auto& interval : intervals) {
        ends.push_back(ToFraction(interval.start));
        ends.push_back(ToFraction(interval.end));
    }
    std::sort(ends.begin(), ends.end(),
              [](const auto& a, const auto& b) { return Compare(a, b) < 0; });
    std::vector<Fraction> samples;
    for (std::size_t i = 1; i < ends.size(); ++i) {
        const Fraction& a = ends[i - 1];
        const Fraction& b = ends[i];
        if (Compare(a, b) < 0) {
            samples.push_back(Between(a, b));
        }
    }
    return samples;
}

std::string Text(const Fraction& value) {
    return Digits(value.numerator).append("/").append(Digits(value.denominator));
}

std::string Text(const ctr::RationalInterval& interval) {
    std::string text = "[";
    text.append(Text(ToFraction(interval.start))).append(", ");
    return text.append(Text(ToFraction(interval.end))).append("]");
}

std::string Text(const std::vector<ctr::RationalInterval>& intervals) {
    std::string text = "{";
    for (const auto& interval : intervals) {
        text.append(text.size() > 1 ? " " : "").append(Text(interval));
    }
    return text.append("}");
}

std::string TextOf(std::vector<ctr::RationalInterval> intervals) {
    ctr::IntervalTools::FuseOverlappingIntervals(intervals);
    if (intervals.size() == 1 && intervals[0].start[0] == 0 &&
        intervals[0].end[0] == intervals[0].end[1]) {
        return "whole";
    }
    std::string text;
    for (const ctr::RationalInterval& interval : intervals) {
        for (const auto& t : {interval.start, interval.end}) {
            text += std::to_string(t[0]) + "/" + std::to_string(t[1]) + " ";
        }
    }
    return text;
}

} // namespace test_support
