// Turns and directions that are the same on every machine.
#include "drawing/common/Angles.h"

#include "support/Random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace {

using kxcontour::AngleOf;
using kxcontour::Turn;
using kxcontour::TurnBy;
using kxcontour::TurnByRadians;
using test_support::Random;

constexpr int kRounds = 100000;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

/// How far a value is from the true one, in the spacing of doubles there.
double Units(double value, long double truth) {
    const double size = std::abs(static_cast<double>(truth));
    const double unit = std::nextafter(size, kInfinity) - size;
    return static_cast<double>(std::abs(static_cast<long double>(value) - truth)) / unit;
}

TEST(TurnBy, IsExactAtRightAngles) {
    for (int quarters = -9; quarters <= 9; ++quarters) {
        const Turn turn = TurnBy(90.0 * quarters);
        const int cosines[4] = {1, 0, -1, 0};
        const int at = ((quarters % 4) + 4) % 4;
        EXPECT_EQ(turn.cosine, cosines[at]) << quarters;
        EXPECT_EQ(turn.sine, cosines[(at + 3) % 4]) << quarters;
    }
}

TEST(TurnBy, AgreesWithTheMathLibrary) {
    for (int i = -7200; i <= 7200; ++i) {
        const double degrees = 0.1 * i;
        const double radians = degrees * std::acos(-1.0) / 180.0;
        EXPECT_NEAR(TurnBy(degrees).cosine, std::cos(radians), 4e-15) << degrees;
        EXPECT_NEAR(TurnBy(degrees).sine, std::sin(radians), 4e-15) << degrees;
    }
}

TEST(TurnBy, StaysATurnForHugeAngles) {
    const Turn turn = TurnBy(1e15 + 7.0);
    EXPECT_NEAR(turn.cosine * turn.cosine + turn.sine * turn.sine, 1.0, 1e-14);
}

TEST(TurnBy, OfWhatIsNoAngleIsNoNumber) {
    for (const double angle : {kInfinity, -kInfinity, kNotANumber}) {
        EXPECT_TRUE(std::isnan(TurnBy(angle).cosine));
        EXPECT_TRUE(std::isnan(TurnBy(angle).sine));
        EXPECT_TRUE(std::isnan(TurnByRadians(angle).cosine));
        EXPECT_TRUE(std::isnan(TurnByRadians(angle).sine));
    }
}

TEST(TurnByRadians, IsWithinTwoUnitsInTheLastPlace) {
    Random random(1);
    for (int i = 0; i < kRounds; ++i) {
        const auto around = static_cast<double>(random.uniform(-7.0F, 7.0F));
        const double tiny = std::ldexp(around, -random.below(200));
        for (const double radians : {around, tiny, 5.0 * around}) {
            const Turn turn = TurnByRadians(radians);
            const auto exact = static_cast<long double>(radians);
            EXPECT_LT(Units(turn.cosine, std::cos(exact)), 2.1) << radians;
            EXPECT_LT(Units(turn.sine, std::sin(exact)), 2.1) << radians;
        }
    }
}

TEST(TurnByRadians, GoesOnWithoutAStepWhereTheSeriesChange) {
    for (int eighths = -40; eighths <= 40; ++eighths) {
        const double border = eighths * std::numbers::pi / 4.0;
        const Turn before = TurnByRadians(std::nextafter(border, -kInfinity));
        const Turn after = TurnByRadians(std::nextafter(border, kInfinity));
        EXPECT_NEAR(before.cosine, after.cosine, 1e-14) << eighths;
        EXPECT_NEAR(before.sine, after.sine, 1e-14) << eighths;
    }
}

TEST(TurnByRadians, StaysATurnForHugeAngles) {
    for (const double radians : {1e6, -1e6, 1e7, 1e17, -1e300}) {
        const Turn turn = TurnByRadians(radians);
        EXPECT_NEAR(turn.cosine * turn.cosine + turn.sine * turn.sine, 1.0, 1e-14) << radians;
    }
    EXPECT_NEAR(TurnByRadians(999999.5).sine, std::sin(999999.5), 2e-15);
}

TEST(AngleOf, IsExactAtHalfRightAngles) {
    for (const double size : {5e-324, 1e-300, 1.0, 3.7, 1e308, kInfinity}) {
        EXPECT_EQ(AngleOf(size, size), std::numbers::pi / 4.0);
        EXPECT_EQ(AngleOf(-size, size), 3.0 * std::numbers::pi / 4.0);
        EXPECT_EQ(AngleOf(-size, -size), -3.0 * std::numbers::pi / 4.0);
        EXPECT_EQ(AngleOf(0.0, -size), -std::numbers::pi / 2.0);
        EXPECT_EQ(AngleOf(-size, 0.0), std::numbers::pi);
        EXPECT_EQ(AngleOf(size, 0.0), 0.0);
    }
}

TEST(AngleOf, AgreesWithTheMathLibraryAboutZerosAndInfinities) {
    const double sizes[] = {0.0, 5e-324, 1e-300, 1.0, 2.0, 1.7e308, kInfinity};
    for (const double across : sizes) {
        for (const double up : sizes) {
            for (const double x : {across, -across}) {
                for (const double y : {up, -up}) {
                    EXPECT_EQ(AngleOf(x, y), std::atan2(y, x)) << x << " " << y;
                    EXPECT_EQ(std::signbit(AngleOf(x, y)), std::signbit(y)) << x << " " << y;
                }
            }
        }
    }
    EXPECT_TRUE(std::isnan(AngleOf(kNotANumber, 1.0)));
    EXPECT_TRUE(std::isnan(AngleOf(1.0, kNotANumber)));
}

TEST(AngleOf, IsWithinThreeUnitsInTheLastPlace) {
    Random random(2);
    for (int i = 0; i < kRounds; ++i) {
        const auto x = static_cast<double>(random.uniform(-1.0F, 1.0F));
        const auto y = static_cast<double>(random.uniform(-1.0F, 1.0F));
        for (const double scale : {1.0, 1e-3, 1e200, 1e-200}) {
            const long double truth =
                std::atan2(static_cast<long double>(y), static_cast<long double>(x * scale));
            EXPECT_LT(Units(AngleOf(x * scale, y), truth), 3.0) << x * scale << " " << y;
        }
    }
}

// The C library's functions differ here between processors with fused multiply-add and without: the
// former have the nearest double in the first line of each, the latter in the second.
TEST(Angles, AreTheNearestDoublesWhereProcessorsDiffer) {
    EXPECT_EQ(TurnByRadians(3.99845123291015625).sine, -0x1.82f6cedf3c0f9p-1);
    EXPECT_EQ(TurnByRadians(6.4566984176635742188).sine, 0x1.61930e0a30081p-3);
    EXPECT_EQ(TurnByRadians(1.4527072906494140625).cosine, 0x1.e291bd1749b8dp-4);
    EXPECT_EQ(TurnByRadians(-2.2086648941040039062).cosine, -0x1.30e35741adfb9p-1);
    EXPECT_EQ(AngleOf(4.78073883056640625, 4.353450775146484375), 0x1.7a30c2a953574p-1);
    EXPECT_EQ(AngleOf(3.7936315536499023438, 1.1147918701171875), 0x1.24ac33e8591aep-2);
}

} // namespace
