// Near points have one representative, without chains.
#include "drawing/paper/PointClusters.h"

#include "drawing/paper/PaperShapes.h"
#include "support/BestTime.h"
#include "support/CollidingPositions.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::Point;
using kxcontour::PointClusters;
using test_support::Random;

TEST(PointClusters, TheFirstNearOneStandsForAPoint) {
    PointClusters clusters(1.0, 5);
    EXPECT_EQ(clusters.add({0, 0}), 0U);
    EXPECT_EQ(clusters.add({1.5, 0}), 1U);
    EXPECT_EQ(clusters.add({1.0, 0}), 0U) << "nearer to the second, but the first is near enough";
    EXPECT_EQ(clusters.add({-1.0, 0}), 0U) << "the tolerance itself is near enough";
    EXPECT_EQ(clusters.add({-1.01, 0}), 2U);
}

TEST(PointClusters, ARowOfNearPointsDoesNotBecomeOne) {
    PointClusters clusters(1.0, 100);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(clusters.add({0.9 * i, 0}), static_cast<std::uint32_t>(i / 2));
    }
}

TEST(PointClusters, ZeroToleranceJoinsEqualPointsOnly) {
    PointClusters clusters(0.0, 3);
    EXPECT_EQ(clusters.add({1, 1}), 0U);
    EXPECT_EQ(clusters.add({1, std::nextafter(1.0, 2.0)}), 1U);
    EXPECT_EQ(clusters.add({1, 1}), 0U);
}

TEST(PointClusters, EqualsTheComparisonWithAllRepresentatives) {
    for (int trial = 0; trial < test_support::Scaled(30); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        PointClusters clusters(0.25, 500);
        std::vector<Point> expected;
        for (int i = 0; i < 500; ++i) {
            // Steps of a 16th put many points on the borders of cells and at just the tolerance.
            const Point point{random.between(-160, 160) / 16.0, random.between(-16, 16) / 16.0};
            std::size_t first = 0;
            while (first < expected.size() &&
                   std::hypot(expected[first].x - point.x, expected[first].y - point.y) > 0.25) {
                ++first;
            }
            if (first == expected.size()) {
                expected.push_back(point);
            }
            ASSERT_EQ(clusters.add(point), first);
        }
        ASSERT_EQ(clusters.representatives().size(), expected.size());
    }
}

// The middles of cells, 8 wide, that share one hash.
std::vector<Point> CollidingPoints(std::size_t count) {
    constexpr std::uint64_t kColumnFactor = 0x9e3779b97f4a7c15U;
    constexpr std::uint64_t kRowFactor = 0xc2b2ae3d27d4eb4fU;
    constexpr std::int64_t kMostColumns = std::int64_t{1} << 52;
    std::vector<Point> points;
    for (std::uint64_t row = 0; points.size() < count; ++row) {
        const auto column = static_cast<std::int64_t>((0x123456789U ^ row * kRowFactor) *
                                                      test_support::InverseOf(kColumnFactor));
        if (-kMostColumns < column && column < kMostColumns) {
            points.push_back(
                {8.0 * static_cast<double>(column) + 4.0, 8.0 * static_cast<double>(row) + 4.0});
        }
    }
    return points;
}

TEST(PointClusters, ChosenPointsTakeAboutTheUsualTime) {
    constexpr std::size_t kPoints = 40000;
    const auto secondsOf = [](const std::vector<Point>& points) {
        return test_support::SecondsOf([&] {
            PointClusters clusters(1.0, kPoints);
            for (int round = 0; round < 2; ++round) {
                for (std::uint32_t i = 0; i < points.size(); ++i) {
                    ASSERT_EQ(clusters.add(points[i]), i);
                }
            }
        });
    };
    std::vector<Point> usual;
    for (std::size_t i = 0; i < kPoints; ++i) {
        const std::size_t row = i / 200;
        usual.push_back({8.0 * static_cast<double>(i % 200), 8.0 * static_cast<double>(row)});
    }
    EXPECT_LT(secondsOf(CollidingPoints(kPoints)), 25.0 * secondsOf(usual));
}

} // namespace
