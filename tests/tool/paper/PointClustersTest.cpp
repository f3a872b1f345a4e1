// Near points are one point, without chains.
#include "paper/PointClusters.h"

#include "paper/PaperShapes.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::Point;
using kxcontour::PointClusters;
using test_support::Random;

TEST(PointClusters, TheFirstNearOneStandsForAPoint) {
    PointClusters clusters(1.0, 4);
    EXPECT_EQ(clusters.add({0, 0}), 0U);
    EXPECT_EQ(clusters.add({1.5, 0}), 1U);
    EXPECT_EQ(clusters.add({1.0, 0}), 0U) << "nearer to the second, but the first is near enough";
    EXPECT_EQ(clusters.add({-1.0, 0}), 0U) << "the tolerance itself is near enough";
    EXPECT_EQ(clusters.add({-1.01, 0}), 2U);
}

TEST(PointClusters, ARowOfNearPointsDoesNotBecomeOne) {
    PointClusters clusters(1.0, 4);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(clusters.add({0.9 * i, 0}), static_cast<std::uint32_t>(i / 2));
    }
}

TEST(PointClusters, ZeroToleranceJoinsEqualPointsOnly) {
    PointClusters clusters(0.0, 0);
    EXPECT_EQ(clusters.add({1, 1}), 0U);
    EXPECT_EQ(clusters.add({1, std::nextafter(1.0, 2.0)}), 1U);
    EXPECT_EQ(clusters.add({1, 1}), 0U);
}

TEST(PointClusters, AgreesWithALookAtAllRepresentatives) {
    for (int trial = 0; trial < test_support::Scaled(30); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        PointClusters clusters(0.25, 3);
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

} // namespace
