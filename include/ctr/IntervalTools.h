// Intervals of an edge's parameter with exact ends.
#pragma once

#include <ctr/Export.h>

#include <Wm4Foundation.h>

#include <cstdint>
#include <vector>

namespace ctr {

/// A closed interval of an edge's parameter: 0 at the first end point, 1 at the second.
///
/// Each end is (numerator, denominator) with a positive denominator, not reduced: 2/4 equals 1/2.
struct RationalInterval {
    Wm4::Vector2<std::int64_t> start; ///< Not greater than the end.
    Wm4::Vector2<std::int64_t> end;   ///< Included.
};

/// Operations on lists of intervals of one edge. Stateless; safe to call from any number of
/// threads.
class CTR_EXPORT IntervalTools {
public:
    /// Replaces the intervals by their union: disjoint and in increasing order.
    ///
    /// Intervals that only touch are merged. Ends keep their fractions, and which of several equal
    /// fractions is kept does not depend on the order of the input. A negative start is less than
    /// any value and always merges with the preceding interval; a negative end never extends one.
    /// Exact for numerators and denominators below 2^63. O(n log n), no allocation.
    static void FuseOverlappingIntervals(std::vector<RationalInterval>& intervals);

    /// The complement in 0 to 1 of disjoint intervals in increasing order, in order.
    ///
    /// It starts at 0/1 and ends at 1/1 unless the intervals cover these ends; all other ends keep
    /// their fractions. Exact; linear time.
    static std::vector<RationalInterval> Complement(const std::vector<RationalInterval>& intervals);
};

} // namespace ctr
