// Exact comparison of fractions of 64-bit integers.
#pragma once

#include <ctr/Export.h>

#include <Wm4Foundation.h>

#include <cstdint>

namespace ctr {

/// Arithmetic on fractions (numerator, denominator) with positive denominators, not reduced.
///
/// Stateless; safe to call from any number of threads. Constant time; nothing is thrown.
class CTR_EXPORT RationalTools {
public:
    /// Three-way comparison: 1 if a > b, -1 if a < b, 0 if both are the same number.
    ///
    /// Exact for all numerators and denominators from 0 to 2^63 - 1. A negative numerator of a is
    /// less than any value, including another negative one, so this is not a strict order if there
    /// are negative numerators. The numerator of b must not be negative.
    static int GreaterThan(const Wm4::Vector2<std::int64_t>& a,
                           const Wm4::Vector2<std::int64_t>& b);

    /// The 128-bit product of a and b: its upper half in hi, its lower half in lo.
    ///
    /// Exact for factors below 2^63; above that the result is unspecified.
    static void LargeIntegerProduct(const std::uint64_t& a,
                                    const std::uint64_t& b,
                                    std::uint64_t& hi,
                                    std::uint64_t& lo);
};

} // namespace ctr
