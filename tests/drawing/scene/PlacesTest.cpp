// Positions get numbers as they come, also where somebody chose them against the hash.
#include "drawing/scene/Places.h"

#include "linesets/SegmentBuilders.h"
#include "support/BestTime.h"
#include "support/CollidingPositions.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using kxcontour::Places;
using test_support::MakeVertices;
using test_support::Vec3;

// Different positions, all of one hash.
std::vector<Vec3> CollidingPositions(std::size_t count) {
    constexpr std::uint64_t kFactor = 0x9e3779b97f4a7c15U;
    std::vector<Vec3> positions;
    for (std::uint32_t i = 0; positions.size() < count; ++i) {
        const auto z = 1.0F + static_cast<float>(i) / 1048576.0F;
        const std::uint64_t xy =
            test_support::UnshiftedXor(0x123456789abcdefU ^ std::bit_cast<std::uint32_t>(z), 32) *
            test_support::InverseOf(kFactor);
        const Vec3 position(std::bit_cast<float>(static_cast<std::uint32_t>(xy)),
                            std::bit_cast<float>(static_cast<std::uint32_t>(xy >> 32U)), z);
        if (std::isfinite(position[0]) && std::isfinite(position[1])) {
            positions.push_back(position);
        }
    }
    return positions;
}

std::vector<Vec3> Twice(std::vector<Vec3> positions) {
    const std::vector<Vec3> once = positions;
    positions.insert(positions.end(), once.begin(), once.end());
    return positions;
}

void ExpectNumbersInOrder(const Places& places, std::size_t count) {
    ASSERT_EQ(places.count(), count);
    for (unsigned int i = 0; i < 2 * count; ++i) {
        ASSERT_EQ(places.ofVertex(i), i % count);
    }
}

TEST(Places, AreNumberedAsTheyComeWhateverTheyAre) {
    for (const std::size_t count : {std::size_t{1}, std::size_t{128}, std::size_t{1000}}) {
        const std::vector<Vec3> positions = CollidingPositions(count);
        const Places places(*MakeVertices(Twice(positions)));
        ExpectNumbersInOrder(places, count);
        for (std::uint32_t i = 0; i < count; ++i) {
            ASSERT_EQ(places.position(i)[0], std::bit_cast<std::uint32_t>(positions[i][0]));
            ASSERT_EQ(places.position(i)[2], std::bit_cast<std::uint32_t>(positions[i][2]));
        }
    }
}

TEST(Places, OfChosenPositionsTakeAboutTheUsualTime) {
    constexpr std::size_t kPositions = 80000;
    const auto secondsOver = [](const std::vector<Vec3>& positions) {
        const auto vertices = MakeVertices(Twice(positions));
        return test_support::SecondsOf(
            [&] { ExpectNumbersInOrder(Places(*vertices), positions.size()); });
    };
    std::vector<Vec3> usual;
    for (std::size_t i = 0; i < kPositions; ++i) {
        usual.emplace_back(static_cast<float>(i), static_cast<float>(i % 7), 0.5F);
    }
    EXPECT_LT(secondsOver(CollidingPositions(kPositions)), 40.0 * secondsOver(usual));
}

} // namespace
