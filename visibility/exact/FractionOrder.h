// The comparison of fractions where it is innermost, without a call through the library's table.
#pragma once

#include <ctr/RationalTools.h>

#include "visibility/exact/GridArithmetic.h"

namespace ctr {

/// What RationalTools::GreaterThan() answers.
inline int CompareFractions(const Fraction& a, const Fraction& b) {
    if ((a[0] | a[1] | b[0] | b[1]) < 0) {
        // Copies, so that the compiler may keep the originals in registers all the time.
        return RationalTools::GreaterThan(Fraction(a[0], a[1]), Fraction(b[0], b[1]));
    }
    using Wide = unsigned __int128;
    const Wide p = static_cast<Wide>(a[0]) * static_cast<Wide>(b[1]);
    const Wide q = static_cast<Wide>(b[0]) * static_cast<Wide>(a[1]);
    return static_cast<int>(p > q) - static_cast<int>(p < q);
}

} // namespace ctr
