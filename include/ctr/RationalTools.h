// Exact comparison of fractions of 64-bit integers.
#pragma once

#include <ctr/Export.h>

#include <Wm4Foundation.h>

#include <cstdint>

namespace ctr {

/// Arithmetic on fractions (numerator, denominator) with positive denominators, not reduced.
///
/// No state; any number of threads may call at once.
class CTR_EXPORT RationalTools {
public:
    /// Three-way comparison: 1 when a > b, -1 when a < b, 0 when both are the same number.
    ///
    /// Exact for all numerators and denominators from 0 to 2^63 - 1. A negative numerator of a
    /// counts as less than anything, another negative value included, so this is no strict order
    /// where negative numerators can meet. The numerator of b has to be non-negative.
    static int GreaterThan(const Wm4::Vector2<std::int64_t>& a,
                           const Wm4::Vector2<std::int64_t>& b);

    /// The 128-bit product of a and b: its upper half in hi, its lower half in lo.
    ///
    /// Exact while both factors are below 2^63; beyond that the carries are signed.
    static void LargeIntegerProduct(const std::uint64_t& a,
                                    const std::uint64_t& b,
                                    std::uint64_t& hi,
                                    std::uint64_t& lo);
};

} // namespace ctr
