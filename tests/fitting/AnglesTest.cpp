// Cosines and arc cosines that are equal on every machine.
#include "fitting/Angles.h"

#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

using ctr::ArcCosine;
using ctr::Cosine;
using ctr::CosineOfDegrees;
using test_support::Random;

constexpr int kRounds = 100000;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();

/// How far a value is from the true one, in the spacing of doubles there.
double Units(double value, long double truth) {
    const double size = std::abs(static_cast<double>(truth));
    const double unit = std::nextafter(size, std::numeric_limits<double>::infinity()) - size;
    return static_cast<double>(std::abs(static_cast<long double>(value) - truth)) / unit;
}

TEST(Cosine, IsTheNearestFloat) {
    Random random(1);
    for (int i = 0; i < kRounds; ++i) {
        const float radians = std::ldexp(random.uniform(-1.0F, 1.0F), random.between(-30, 40));
        const long double truth = std::cos(static_cast<long double>(radians));
        EXPECT_EQ(Cosine(radians), static_cast<float>(truth)) << radians;
    }
}

TEST(Cosine, ReducesHugeAnglesExactly) {
    for (float radians = 0x1p40F; radians < kInfinity; radians *= 1.9F) {
        EXPECT_EQ(Cosine(radians), static_cast<float>(std::cos(static_cast<double>(radians))));
        EXPECT_EQ(Cosine(-radians), Cosine(radians));
    }
    const float largest = std::numeric_limits<float>::max();
    EXPECT_EQ(Cosine(largest), static_cast<float>(std::cos(static_cast<double>(largest))));
}

TEST(Cosine, OfWhatIsNoAngleIsNoNumber) {
    for (const float radians : {kInfinity, -kInfinity, kNotANumber}) {
        EXPECT_TRUE(std::isnan(Cosine(radians)));
        EXPECT_TRUE(std::isnan(CosineOfDegrees(radians)));
    }
    EXPECT_EQ(Cosine(0.0F), 1.0F);
    EXPECT_EQ(Cosine(std::numeric_limits<float>::denorm_min()), 1.0F);
}

TEST(CosineOfDegrees, IsExactAtRightAngles) {
    for (int quarters = -9; quarters <= 9; ++quarters) {
        const double cosines[4] = {1.0, 0.0, -1.0, 0.0};
        EXPECT_EQ(CosineOfDegrees(90.0 * quarters), cosines[((quarters % 4) + 4) % 4]) << quarters;
    }
    EXPECT_EQ(CosineOfDegrees(0x1p1000 * 45.0), CosineOfDegrees(std::fmod(0x1p1000 * 45.0, 360.0)));
}

TEST(CosineOfDegrees, IsWithinTwoUnitsInTheLastPlace) {
    Random random(2);
    for (int i = 0; i < kRounds; ++i) {
        const double degrees = static_cast<double>(random.uniform(-360.0F, 360.0F));
        const long double radians = static_cast<long double>(degrees) * std::acos(-1.0L) / 180.0L;
        if (std::abs(std::cos(radians)) > 1e-3L) {
            EXPECT_LT(Units(CosineOfDegrees(degrees), std::cos(radians)), 2.1) << degrees;
        }
    }
}

TEST(ArcCosine, IsExactAtRightAngles) {
    EXPECT_EQ(ArcCosine(1.0), 0.0);
    EXPECT_EQ(ArcCosine(0.0), std::numbers::pi / 2.0);
    EXPECT_EQ(ArcCosine(-0.0), std::numbers::pi / 2.0);
    EXPECT_EQ(ArcCosine(-1.0), std::numbers::pi);
}

TEST(ArcCosine, IsWithinThreeUnitsInTheLastPlace) {
    Random random(3);
    for (int i = 0; i < kRounds; ++i) {
        const auto share = static_cast<double>(random.unit());
        const double small = std::ldexp(share, -random.below(50));
        for (const double cosine : {share, -share, 1.0 - small, small - 1.0, small, -small}) {
            EXPECT_LT(Units(ArcCosine(cosine), std::acos(static_cast<long double>(cosine))), 3.0)
                << cosine;
        }
    }
}

TEST(ArcCosine, HasNoStepWhereTheSeriesChange) {
    for (const double tangentOfHalf : {0.125, 0.375, 0.625, 0.875, 1.0}) {
        const double square = tangentOfHalf * tangentOfHalf;
        for (const double side : {1.0, -1.0}) {
            const double border = side * (1.0 - square) / (1.0 + square);
            for (int i = -20; i < 20; ++i) {
                const double cosine = border + i * 0x1p-53;
                EXPECT_LE(ArcCosine(cosine + 0x1p-53), ArcCosine(cosine) + 1e-15);
                EXPECT_GE(ArcCosine(cosine + 0x1p-53), ArcCosine(cosine) - 2e-15);
            }
        }
    }
}

TEST(ArcCosine, OfWhatIsNoCosineIsNoNumber) {
    const double over = std::nextafter(1.0, 2.0);
    for (const double cosine :
         {over, -over, 1e300, static_cast<double>(kInfinity), static_cast<double>(-kInfinity),
          static_cast<double>(kNotANumber)}) {
        EXPECT_TRUE(std::isnan(ArcCosine(cosine))) << cosine;
    }
}

// The C library's arc cosines of these numbers differ between processors with fused multiply-add
// and without: the former have the nearest double of the first, the latter of the others.
TEST(ArcCosine, IsTheNearestDoubleWhereProcessorsDiffer) {
    EXPECT_EQ(ArcCosine(0.96586704254150390625), 0x1.0c50a7054d19dp-2);
    EXPECT_EQ(ArcCosine(-0.19572162628173828125), 0x1.c48ddba53cdedp+0);
    EXPECT_EQ(ArcCosine(0.60982799530029296875), 0x1.d474b1051d941p-1);
    EXPECT_EQ(ArcCosine(0.49149608612060546875), 0x1.0e96dd338e117p+0);
}

} // namespace
