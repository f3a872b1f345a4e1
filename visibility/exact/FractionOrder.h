// The comparison of fractions for inner loops, without a call through the procedure linkage table.
//
// a/b < c/d is decided by the sign of a d - c b in 128 bits: exact, O(1).
#pragma once

#include <ctr/RationalTools.h>

#include "visibility/exact/GridArithmetic.h"

namespace ctr {

/// The result of RationalTools::GreaterThan().
inline int CompareFractions(const Fraction& a, const Fraction& b) {
    if ((a[0] | a[1] | b[0] | b[1]) < 0) {
        // Copies let the compiler keep the originals in registers.
        return RationalTools::GreaterThan(Fraction(a[0], a[1]), Fraction(b[0], b[1]));
    }
    using Wide = unsigned __int128;
    const Wide p = static_cast<Wide>(a[0]) * static_cast<Wide>(b[1]);
    const Wide q = static_cast<Wide>(b[0]) * static_cast<Wide>(a[1]);
    return static_cast<int>(p > q) - static_cast<int>(p < q);
}

} // namespace ctr
