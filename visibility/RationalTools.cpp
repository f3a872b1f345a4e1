// 128-bit products and the comparison of fractions by cross-multiplication.
#include <ctr/RationalTools.h>

#include <cstdint>

namespace ctr {
namespace {

constexpr unsigned long kLowHalf = 0xffffffffUL;

/// Shift that copies the top bit down.
unsigned long ArithmeticShift32(unsigned long value) {
    return static_cast<unsigned long>(static_cast<long>(value) >> 32);
}

template <class Unsigned> int Compare(Unsigned a, Unsigned b) {
    return static_cast<int>(a > b) - static_cast<int>(a < b);
}

/// Cross-multiplication where all four factors are non-negative: one hardware product each.
int CompareNonNegative(const Wm4::Vector2<long>& a, const Wm4::Vector2<long>& b) {
    using Wide = unsigned __int128;
    return Compare(static_cast<Wide>(a[0]) * static_cast<Wide>(b[1]),
                   static_cast<Wide>(b[0]) * static_cast<Wide>(a[1]));
}

} // namespace

int RationalTools::GreaterThan(const Wm4::Vector2<long>& a, const Wm4::Vector2<long>& b) {
    if (a[0] < 0) {
        return -1;
    }
    if ((a[1] | b[0] | b[1]) >= 0) {
        return CompareNonNegative(a, b);
    }
    unsigned long pHigh = 0;
    unsigned long pLow = 0;
    unsigned long qHigh = 0;
    unsigned long qLow = 0;
    LargeIntegerProduct(static_cast<unsigned long>(a[0]), static_cast<unsigned long>(b[1]), pHigh,
                        pLow);
    LargeIntegerProduct(static_cast<unsigned long>(b[0]), static_cast<unsigned long>(a[1]), qHigh,
                        qLow);
    return pHigh != qHigh ? Compare(pHigh, qHigh) : Compare(pLow, qLow);
}

void RationalTools::LargeIntegerProduct(const unsigned long& a,
                                        const unsigned long& b,
                                        unsigned long& hi,
                                        unsigned long& lo) {
    const unsigned long aHigh = a >> 32;
    const unsigned long aLow = a & kLowHalf;
    const unsigned long bHigh = b >> 32;
    const unsigned long bLow = b & kLowHalf;
    const unsigned long m1 = aHigh * bLow;
    const unsigned long m2 = aLow * bHigh;
    const unsigned long low = aLow * bLow;
    const unsigned long mid = (m1 & kLowHalf) + (m2 & kLowHalf);
    // The signed shifts give the true product while both factors are below 2^63, all that is used.
    hi = aHigh * bHigh + ArithmeticShift32(m1) + ArithmeticShift32(m2) +
         ArithmeticShift32((low >> 32) + mid);
    lo = low + (mid << 32);
}

} // namespace ctr
