// 128-bit products and the comparison of fractions by cross-multiplication. Exact for factors below
// 2^63, since the products fit in 128 bits; O(1).
#include <ctr/RationalTools.h>

#include <cstdint>

namespace ctr {
namespace {

constexpr std::uint64_t kLowHalf = 0xffffffffU;

/// Shift that copies the top bit down.
std::uint64_t ArithmeticShift32(std::uint64_t value) {
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(value) >> 32);
}

template <class Unsigned> int Compare(Unsigned a, Unsigned b) {
    return static_cast<int>(a > b) - static_cast<int>(a < b);
}

/// Cross-multiplication where all four factors are non-negative: one hardware product each.
int CompareNonNegative(const Wm4::Vector2<std::int64_t>& a, const Wm4::Vector2<std::int64_t>& b) {
    using Wide = unsigned __int128;
    return Compare(static_cast<Wide>(a[0]) * static_cast<Wide>(b[1]),
                   static_cast<Wide>(b[0]) * static_cast<Wide>(a[1]));
}

} // namespace

int RationalTools::GreaterThan(const Wm4::Vector2<std::int64_t>& a,
                               const Wm4::Vector2<std::int64_t>& b) {
    if (a[0] < 0) {
        return -1;
    }
    if ((a[1] | b[0] | b[1]) >= 0) {
        return CompareNonNegative(a, b);
    }
    std::uint64_t pHigh = 0;
    std::uint64_t pLow = 0;
    std::uint64_t qHigh = 0;
    std::uint64_t qLow = 0;
    LargeIntegerProduct(static_cast<std::uint64_t>(a[0]), static_cast<std::uint64_t>(b[1]), pHigh,
                        pLow);
    LargeIntegerProduct(static_cast<std::uint64_t>(b[0]), static_cast<std::uint64_t>(a[1]), qHigh,
                        qLow);
    return pHigh != qHigh ? Compare(pHigh, qHigh) : Compare(pLow, qLow);
}

void RationalTools::LargeIntegerProduct(const std::uint64_t& a,
                                        const std::uint64_t& b,
                                        std::uint64_t& hi,
                                        std::uint64_t& lo) {
    const std::uint64_t aHigh = a >> 32;
    const std::uint64_t aLow = a & kLowHalf;
    const std::uint64_t bHigh = b >> 32;
    const std::uint64_t bLow = b & kLowHalf;
    const std::uint64_t m1 = aHigh * bLow;
    const std::uint64_t m2 = aLow * bHigh;
    const std::uint64_t low = aLow * bLow;
    const std::uint64_t mid = (m1 & kLowHalf) + (m2 & kLowHalf);
    // The signed shifts give the true product while both factors are below 2^63, all that is used.
    hi = aHigh * bHigh + ArithmeticShift32(m1) + ArithmeticShift32(m2) +
         ArithmeticShift32((low >> 32) + mid);
    lo = low + (mid << 32);
}

} // namespace ctr
