// Fractions and parameter intervals in 128 bits and by definition: the reference for the rational
// arithmetic and interval operations of the library.
#pragma once

#include <ctr/IntervalTools.h>

#include <cstdint>
#include <string>
#include <vector>

namespace test_support {

__extension__ using Wide = __int128;

/// A number with a positive denominator. Products of two parts below 2^63 fit, so any two fractions
/// of 64-bit numbers compare exactly.
struct Fraction {
    Wide numerator = 0;
    Wide denominator = 1;
};

Fraction ToFraction(const Wm4::Vector2<std::int64_t>& value);

/// -1, 0 or 1 as a is below, equal to or above b.
int Compare(const Fraction& a, const Fraction& b);
int Compare(const Wm4::Vector2<std::int64_t>& a, const Wm4::Vector2<std::int64_t>& b);

/// Whether two fractions are written alike; zero has one form only, whatever is below the line.
bool SameForm(const Wm4::Vector2<std::int64_t>& a, const Wm4::Vector2<std::int64_t>& b);
bool SameForm(const ctr::RationalInterval& a, const ctr::RationalInterval& b);
bool SameForm(const std::vector<ctr::RationalInterval>& a,
              const std::vector<ctr::RationalInterval>& b);

bool SameValue(const ctr::RationalInterval& a, const ctr::RationalInterval& b);
bool SameValue(const std::vector<ctr::RationalInterval>& a,
               const std::vector<ctr::RationalInterval>& b);

/// By value of start and end, then by numerators: equal multisets of ranges become equal lists.
void SortByValue(std::vector<ctr::RationalInterval>& intervals);

/// The union of closed ranges as a set of numbers, its disjoint parts in increasing order.
///
/// Every range has 0 <= start <= end. A part's start is written as in the first of its ranges
/// by (start, its numerator, end, its numerator), its end as in the first of those that reach it.
std::vector<ctr::RationalInterval> ExactUnion(const std::vector<ctr::RationalInterval>& intervals);

/// Whether a number lies in one of the closed ranges.
bool Contains(const std::vector<ctr::RationalInterval>& intervals, const Fraction& value);

/// A number strictly between each two neighbouring ends among 0, 1 and the ends of the ranges: one
/// sample of every stretch over which membership cannot change. With denominators of the ends up to
/// 2^22 no sample equals a fraction with a denominator up to 2^14, so none hits a single point at
/// which an edge touches an outline on a grid of 6 bits.
std::vector<Fraction> SamplesBetweenEnds(const std::vector<ctr::RationalInterval>& intervals);

std::string Text(const Fraction& value);
std::string Text(const ctr::RationalInterval& interval);
std::string Text(const std::vector<ctr::RationalInterval>& intervals);

/// The ends of the union of intervals as fused by the library; "whole" if it is all of 0 to 1, in
/// whatever fractions.
std::string TextOf(std::vector<ctr::RationalInterval> intervals);

} // namespace test_support
