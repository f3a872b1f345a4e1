// Ranges of an edge's parameter with exact ends.
#pragma once

#include <ctr/Export.h>

#include <Wm4Foundation.h>

#include <cstdint>
#include <vector>

namespace ctr {

/// A closed range of an edge's parameter: 0 at the first end point, 1 at the second.
///
/// Each end is (numerator, denominator) with a positive denominator, not reduced: 2/4 equals 1/2.
struct RationalInterval {
    Wm4::Vector2<std::int64_t> start; ///< Not greater than the end.
    Wm4::Vector2<std::int64_t> end;   ///< Included.
};

/// Operations on lists of ranges of one edge. No state; any number of threads may call at once.
class CTR_EXPORT IntervalTools {
public:
    /// Replaces the ranges by their union: disjoint and in increasing order.
    ///
    /// Ranges that only touch become one. Ends keep the fraction they came with, and which of
    /// several equal fractions is kept does not depend on the order of the input. A negative start
    /// counts as less than anything and always joins what is before it; a negative end never
    /// extends. Exact while numerators and denominators stay below 2^63. O(n log n), no allocation.
    static void FuseOverlappingIntervals(std::vector<RationalInterval>& intervals);

    /// The gaps that disjoint ranges in increasing order leave of 0 to 1, in order. The first
    /// begins at 0/1 and the last ends at 1/1 where the ranges do not cover these ends; all other
    /// ends keep the fractions of the ranges. Linear.
    static std::vector<RationalInterval> Complement(const std::vector<RationalInterval>& intervals);
};

} // namespace ctr
