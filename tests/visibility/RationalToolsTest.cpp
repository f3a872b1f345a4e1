// Comparison of fractions and the 128-bit product behind it, against the compiler's own 128 bits.
#include <ctr/RationalTools.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using ctr::RationalTools;
using Rational = Wm4::Vector2<std::int64_t>;
using test_support::Random;
using test_support::Scaled;

__extension__ using UnsignedWide = unsigned __int128;

constexpr long kLargest = 0x7fffffffffffffffL;
constexpr unsigned long kTopBit = 1UL << 63U;

int ByCrossProducts(const Rational& a, const Rational& b) {
    const UnsignedWide left =
        UnsignedWide(static_cast<unsigned long>(a.X())) * static_cast<unsigned long>(b.Y());
    const UnsignedWide right =
        UnsignedWide(static_cast<unsigned long>(b.X())) * static_cast<unsigned long>(a.Y());
    return left < right ? -1 : static_cast<int>(left > right);
}

struct Product {
    unsigned long hi;
    unsigned long lo;
    bool operator==(const Product&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Product& p) {
    return out << std::hex << p.hi << ':' << p.lo;
}

Product ByLibrary(unsigned long a, unsigned long b) {
    Product p{1, 1};
    RationalTools::LargeIntegerProduct(a, b, p.hi, p.lo);
    return p;
}

Product TrueProduct(unsigned long a, unsigned long b) {
    const UnsignedWide product = UnsignedWide(a) * b;
    return {static_cast<unsigned long>(product >> 64U), static_cast<unsigned long>(product)};
}

// A cross term of the halves that reaches 2^63 is shifted down as a negative number, which takes
// 2^32 from the upper half.
Product ProductWithSignedCarries(unsigned long a, unsigned long b) {
    const unsigned long crossTerms[] = {(a >> 32U) * (b & 0xffffffffU),
                                        (a & 0xffffffffU) * (b >> 32U)};
    Product p = TrueProduct(a, b);
    for (const unsigned long term : crossTerms) {
        p.hi -= term >= kTopBit ? 1UL << 32U : 0;
    }
    return p;
}

// Numbers of every length, with the ends of the range and of the halves more often than their due.
unsigned long AnyFactor(Random& random) {
    constexpr unsigned long kEnds[] = {0,
                                       1,
                                       0xffffffffU,
                                       0x100000000U,
                                       0x100000001U,
                                       0x7fffffffffffffffU,
                                       0x7fffffff00000000U,
                                       0x7fffffff80000000U};
    if (random.percent(30)) {
        return kEnds[random.below(8)];
    }
    return random.next() >> static_cast<unsigned int>(random.between(1, 62));
}

long AnyPart(Random& random, long least) {
    return std::max(least, static_cast<long>(AnyFactor(random)));
}

// A second fraction that makes a comparison hard: the same value written differently, or a value
// that differs by the least that fractions of this size can.
Rational CloseTo(Random& random, const Rational& a) {
    const long factor = random.between(1, 1000);
    if (random.percent(40) && a.X() < kLargest / factor && a.Y() < kLargest / factor) {
        return {a.X() * factor, a.Y() * factor};
    }
    const long dx = random.between(-1, 1);
    const long dy = random.between(-1, 1);
    return {a.X() > 0 && a.X() < kLargest ? a.X() + dx : a.X(),
            a.Y() > 1 && a.Y() < kLargest ? a.Y() + dy : a.Y()};
}

TEST(GreaterThan, SaysWhichOfTwoFractionsIsLarger) {
    EXPECT_EQ(RationalTools::GreaterThan({1, 3}, {1, 2}), -1);
    EXPECT_EQ(RationalTools::GreaterThan({2, 3}, {1, 2}), 1);
    EXPECT_EQ(RationalTools::GreaterThan({0, 1}, {1, 1}), -1);
    EXPECT_EQ(RationalTools::GreaterThan({1, 1}, {0, 1}), 1);
}

TEST(GreaterThan, ComparesValuesAndNotTheirForms) {
    EXPECT_EQ(RationalTools::GreaterThan({1, 2}, {2, 4}), 0);
    EXPECT_EQ(RationalTools::GreaterThan({2, 4}, {1, 2}), 0);
    EXPECT_EQ(RationalTools::GreaterThan({0, 7}, {0, 3}), 0);
    EXPECT_EQ(RationalTools::GreaterThan({5, 5}, {1, 1}), 0);
}

TEST(GreaterThan, TakesANegativeNumeratorAsBelowAnything) {
    for (const Rational& b : {Rational(0, 1), Rational(1, 2), Rational(-5, 1), Rational(-1, 1),
                              Rational(-1, 100), Rational(kLargest, 1)}) {
        EXPECT_EQ(RationalTools::GreaterThan({-1, 1}, b), -1) << b.X() << '/' << b.Y();
    }
}

TEST(GreaterThan, IsExactWhereProductsExceed64Bits) {
    constexpr long kBig = 1L << 62U;
    EXPECT_EQ(RationalTools::GreaterThan({kBig, kBig - 1}, {kBig + 1, kBig}), 1);
    EXPECT_EQ(RationalTools::GreaterThan({kBig + 1, kBig}, {kBig, kBig - 1}), -1);
    EXPECT_EQ(RationalTools::GreaterThan({kBig - 1, kBig}, {kBig - 2, kBig - 1}), 1);
    EXPECT_EQ(RationalTools::GreaterThan({kBig, kBig}, {kLargest, kLargest}), 0);
    // Both products are 2^64 and more: their lower halves alone would say the contrary or a tie.
    EXPECT_EQ(RationalTools::GreaterThan({1L << 32U, 1}, {1, 1L << 32U}), 1);
    EXPECT_EQ(RationalTools::GreaterThan({1, kBig}, {4, kLargest}), -1);
}

TEST(GreaterThan, IsExactAtTheEndsOfTheRange) {
    EXPECT_EQ(RationalTools::GreaterThan({kLargest, kLargest}, {1, 1}), 0);
    EXPECT_EQ(RationalTools::GreaterThan({kLargest, 1}, {kLargest - 1, 1}), 1);
    EXPECT_EQ(RationalTools::GreaterThan({kLargest - 1, kLargest}, {kLargest - 2, kLargest - 1}),
              1);
    EXPECT_EQ(RationalTools::GreaterThan({0, kLargest}, {1, kLargest}), -1);
}

TEST(GreaterThan, AgreesWithCrossProductsOnHardPairs) {
    int ties = 0;
    int decidedBelow64Bits = 0;
    for (int trial = 0; trial < Scaled(200000); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const long numerator = AnyPart(random, 0);
        const Rational a(numerator, AnyPart(random, 1));
        const Rational b = CloseTo(random, a);
        const int expected = ByCrossProducts(a, b);
        ASSERT_EQ(RationalTools::GreaterThan(a, b), expected) << "trial " << trial;
        ASSERT_EQ(RationalTools::GreaterThan(b, a), -expected) << "trial " << trial;
        ties += expected == 0 ? 1 : 0;
        const auto ax = static_cast<unsigned long>(a.X());
        const auto bx = static_cast<unsigned long>(b.X());
        decidedBelow64Bits +=
            expected != 0 && TrueProduct(ax, static_cast<unsigned long>(b.Y())).hi ==
                                 TrueProduct(bx, static_cast<unsigned long>(a.Y())).hi
                ? 1
                : 0;
    }
    EXPECT_GT(ties, Scaled(200000) / 20);
    EXPECT_GT(decidedBelow64Bits, Scaled(200000) / 20);
}

// Negative parts other than the first numerator count as unsigned, with products as
// LargeIntegerProduct() makes them.
TEST(GreaterThan, ComparesTheProductsWhateverTheSigns) {
    int negative = 0;
    int equalUpperHalves = 0;
    for (int trial = 0; trial < Scaled(200000); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const auto any = [&] {
            const auto bits = static_cast<unsigned int>(random.between(1, 63));
            const auto size = static_cast<long>(random.next() >> (64U - bits));
            return random.percent(30) ? -size : size;
        };
        const Rational a(static_cast<long>(random.next() >> random.between(1, 63)), any());
        const Rational b(any(), random.percent(50) ? a.Y() : any());
        const Product p = ProductWithSignedCarries(static_cast<unsigned long>(a.X()),
                                                   static_cast<unsigned long>(b.Y()));
        const Product q = ProductWithSignedCarries(static_cast<unsigned long>(b.X()),
                                                   static_cast<unsigned long>(a.Y()));
        const int expected = p == q ? 0 : (p.hi != q.hi ? p.hi > q.hi : p.lo > q.lo) ? 1 : -1;
        ASSERT_EQ(RationalTools::GreaterThan(a, b), expected) << "trial " << trial;
        negative += b.X() < 0 || a.Y() < 0 || b.Y() < 0 ? 1 : 0;
        equalUpperHalves += p.hi == q.hi && p.lo != q.lo ? 1 : 0;
    }
    EXPECT_GT(negative, Scaled(200000) / 4);
    EXPECT_GT(equalUpperHalves, Scaled(200000) / 20);
}

TEST(LargeIntegerProduct, GivesBothHalves) {
    EXPECT_EQ(ByLibrary(1UL << 32U, 1UL << 32U), (Product{1, 0}));
    EXPECT_EQ(ByLibrary(kTopBit - 1, 2), (Product{0, 0xfffffffffffffffeU}));
    EXPECT_EQ(ByLibrary(0, kTopBit - 1), (Product{0, 0}));
    EXPECT_EQ(ByLibrary(kTopBit - 1, kTopBit - 1), (Product{0x3fffffffffffffffU, 1}));
}

TEST(LargeIntegerProduct, IsExactBelow2To63) {
    for (int trial = 0; trial < Scaled(200000); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const unsigned long a = AnyFactor(random);
        const unsigned long b = AnyFactor(random);
        ASSERT_EQ(ByLibrary(a, b), TrueProduct(a, b)) << "trial " << trial;
    }
}

TEST(LargeIntegerProduct, CarriesSignedBeyond2To63) {
    // Both cross terms are 0xfffffffe00000001.
    EXPECT_EQ(ByLibrary(~0UL, ~0UL), (Product{0xfffffffdfffffffeU, 1}));
    // Only one cross term reaches 2^63.
    EXPECT_EQ(ByLibrary(0xffffffff00000000U, 0xffffffffU),
              (Product{0xfffffffeU - (1UL << 32U), 0x100000000U}));
    // A factor of 2^63 whose cross terms stay below it: still exact.
    EXPECT_EQ(ByLibrary(kTopBit, 2), (Product{1, 0}));
}

TEST(LargeIntegerProduct, FollowsTheSignedCarriesForAllFactors) {
    int signedCarries = 0;
    for (int trial = 0; trial < Scaled(200000); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const unsigned long a = random.next();
        const unsigned long b = random.percent(50) ? random.next() : ~(random.next() >> 40U);
        const Product expected = ProductWithSignedCarries(a, b);
        ASSERT_EQ(ByLibrary(a, b), expected) << "trial " << trial;
        signedCarries += expected == TrueProduct(a, b) ? 0 : 1;
    }
    EXPECT_GT(signedCarries, Scaled(200000) / 10);
}

} // namespace
