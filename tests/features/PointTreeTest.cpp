// Queries find every point near a segment.
#include "features/PointTree.h"

#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using ctr::PointTree;
using Vector = Wm4::Vector3<double>;

double DistanceTo(const Vector& p, const Vector& start, const Vector& end) {
    const Vector along = end - start;
    const double squared = along.Dot(along);
    const double at = squared > 0.0 ? std::clamp((p - start).Dot(along) / squared, 0.0, 1.0) : 0.0;
    const Vector off = p - start - along * at;
    return std::sqrt(off.Dot(off));
}

TEST(PointTree, FindsEveryPointNearASegment) {
    for (std::uint64_t seed = 0; seed < 50; ++seed) {
        test_support::Random random(seed);
        const auto point = [&] {
            const auto z = static_cast<double>(random.percent(50) ? random.unit() : 0.0F);
            return Vector(static_cast<double>(random.unit()), static_cast<double>(random.unit()),
                          z);
        };
        std::vector<Vector> points;
        for (int i = random.below(2000); i-- > 0;) {
            points.push_back(random.percent(90) || points.empty() ? point() : points.front());
        }
        const PointTree tree(points);
        for (int i = 0; i < 20; ++i) {
            const Vector start = point();
            Vector end = point();
            if (random.percent(30)) {
                end[0] = start[0];
                end[2] = start[2];
            }
            std::vector<std::uint32_t> found;
            tree.findNear(start, end, 0.03, points.size() + 1, found);
            std::sort(found.begin(), found.end());
            EXPECT_EQ(std::adjacent_find(found.begin(), found.end()), found.end())
                << "no one twice";
            for (std::uint32_t k = 0; k < points.size(); ++k) {
                if (DistanceTo(points[k], start, end) <= 0.03) {
                    EXPECT_TRUE(std::binary_search(found.begin(), found.end(), k)) << seed;
                }
            }
        }
    }
}

TEST(PointTree, LeavesOutWhatIsFarAndStopsInTime) {
    std::vector<Vector> points;
    points.reserve(10000);
    for (int i = 0; i < 10000; ++i) {
        points.emplace_back(i % 100, i / 100, 0.0);
    }
    const PointTree tree(points);
    std::vector<std::uint32_t> found;
    tree.findNear({0, 50, 0}, {99, 50, 0}, 0.1, 100000, found);
    EXPECT_LT(found.size(), 1000U);
    found.clear();
    tree.findNear({0, 0, 0}, {99, 99, 0}, 50.0, 20, found);
    EXPECT_LT(found.size(), 40U);
}

} // namespace
