// Turns by degrees.
#include "common/Angles.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using kxcontour::Turn;
using kxcontour::TurnBy;

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

} // namespace
