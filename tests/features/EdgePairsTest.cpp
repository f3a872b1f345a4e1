// The rules for pairs of edges, and the search compared with a comparison of all edges with all.
#include "features/EdgePairs.h"

#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

using ctr::BoundaryEdge;
using ctr::EdgePair;
using ctr::FindEdgePairs;
using ctr::PairRule;
using Vector = Wm4::Vector3<double>;

/// An edge of a triangle of its own.
BoundaryEdge
EdgeOf(std::uint32_t number, const Vector& start, const Vector& end, const Vector& inward) {
    const Vector along = end - start;
    return {3 * number, 2 * number, 2 * number + 1, start, end, inward, std::sqrt(along.Dot(along)),
            10.0};
}

constexpr PairRule kTenth{0.1, 0.4, 0.4};

TEST(FindEdgePairs, PairsTheRimsOfACrack) {
    const std::vector<BoundaryEdge> edges{
        EdgeOf(0, {0, 0, 0}, {5, 0, 0}, {0, 1, 0}),
        EdgeOf(1, {5, -0.05, 0}, {0, -0.02, 0}, {0, -1, 0}),
        EdgeOf(2, {0, 3, 0}, {5, 3, 0}, {0, -1, 0}),
        EdgeOf(3, {0, 3.01, 0}, {5, 3.01, 0}, {0, 1, 0}),
    };
    const auto pairs = FindEdgePairs(edges, kTenth);
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[0].first, 2U);
    EXPECT_TRUE(pairs[0].sameWay);
    EXPECT_EQ(pairs[1].second, 1U);
    EXPECT_FALSE(pairs[1].sameWay);
    EXPECT_DOUBLE_EQ(pairs[1].gap, 0.05);
}

TEST(FindEdgePairs, TakesNoEdgeThatIsTooFarOrTooShort) {
    const auto count = [](double gap, double length, double height) {
        std::vector<BoundaryEdge> edges{EdgeOf(0, {0, 0, 0}, {length, 0, 0}, {0, 1, 0}),
                                        EdgeOf(1, {length, -gap, 0}, {0, -gap, 0}, {0, -1, 0})};
        edges[1].height = height;
        return FindEdgePairs(edges, kTenth).size();
    };
    EXPECT_EQ(count(0.1, 5, 5), 1U);
    EXPECT_EQ(count(0.1001, 5, 5), 0U);
    EXPECT_EQ(count(0.08, 0.2, 5), 1U);
    EXPECT_EQ(count(0.08, 0.19, 5), 0U);
    EXPECT_EQ(count(0.08, 5, 0.2), 1U);
    EXPECT_EQ(count(0.08, 5, 0.19), 0U);
}

TEST(FindEdgePairs, TakesNoEdgeOfTheSameTriangleAndNoFold) {
    std::vector<BoundaryEdge> edges{EdgeOf(0, {0, 0, 0}, {5, 0, 0}, {0, 1, 0}),
                                    EdgeOf(1, {5, 0, 0.05}, {0, 0, 0.05}, {0, 1, 0})};
    EXPECT_TRUE(FindEdgePairs(edges, kTenth).empty()) << "two sheets";
    edges[1].inward = {0, -1, 0};
    EXPECT_EQ(FindEdgePairs(edges, kTenth).size(), 1U);
    edges[1].corner = 1;
    EXPECT_TRUE(FindEdgePairs(edges, kTenth).empty()) << "one triangle";
}

TEST(FindEdgePairs, PairsOnlyWhatIsNearestBothWays) {
    const std::vector<BoundaryEdge> edges{EdgeOf(0, {0, 0, 0}, {5, 0, 0}, {0, 1, 0}),
                                          EdgeOf(1, {5, -0.09, 0}, {0, -0.09, 0}, {0, -1, 0}),
                                          EdgeOf(2, {5, -0.01, 0}, {0, -0.01, 0}, {0, -1, 0})};
    const auto pairs = FindEdgePairs(edges, kTenth);
    ASSERT_EQ(pairs.size(), 1U);
    EXPECT_EQ(pairs[0].second, 2U);
}

TEST(FindEdgePairs, PairsOnlyEdgesThatAreEachOthersNearest) {
    // The first one is nearest to the second, which is nearer to the third.
    const std::vector<BoundaryEdge> edges{
        EdgeOf(0, {0, 0, 0}, {5, 0, 0}, {0, -1, 0}),
        EdgeOf(1, {5, 0.05, 0}, {0, 0.05, 0}, {0, 0, 1}),
        EdgeOf(2, {0, 0.07, 0}, {5, 0.07, 0}, {0, 1, 0}),
    };
    const auto pairs = FindEdgePairs(edges, kTenth);
    ASSERT_EQ(pairs.size(), 1U);
    EXPECT_EQ(pairs[0].first, 1U);
    EXPECT_EQ(pairs[0].second, 2U);
}

/// The nearest edge by definition.
std::optional<std::uint32_t>
NearestTo(const std::vector<BoundaryEdge>& edges, std::uint32_t number, const PairRule& rule) {
    std::optional<std::uint32_t> nearest;
    double least = 0.0;
    const auto length = [](const Vector& v) { return std::sqrt(v.Dot(v)); };
    const BoundaryEdge& a = edges[number];
    for (std::uint32_t i = 0; i < edges.size(); ++i) {
        const BoundaryEdge& b = edges[i];
        const double gap = std::min(std::max(length(b.end - a.start), length(b.start - a.end)),
                                    std::max(length(b.start - a.start), length(b.end - a.end)));
        const bool fits = gap <= rule.distance &&
                          gap <= rule.shareOfLength * std::min(a.length, b.length) &&
                          gap <= rule.shareOfHeight * std::min(a.height, b.height);
        if (i != number && fits && !FoldsBack(a, b) && (!nearest || gap < least)) {
            nearest = i;
            least = gap;
        }
    }
    return nearest;
}

TEST(FindEdgePairs, FindsWhatAllWithAllFinds) {
    for (std::uint64_t seed = 0; seed < 60; ++seed) {
        test_support::Random random(seed);
        const auto point = [&](float reach) {
            return Vector(random.uniform(-reach, reach), random.uniform(-reach, reach),
                          random.uniform(-reach, reach));
        };
        std::vector<BoundaryEdge> edges;
        for (std::uint32_t i = 0; i < 150; ++i) {
            const float size = random.percent(50) ? 1.0F : 0.05F;
            const Vector start = point(2);
            edges.push_back(EdgeOf(2 * i, start, start + point(size), {0, 1, 0}));
            edges.push_back(EdgeOf(2 * i + 1, edges.back().end + point(0.05F),
                                   edges.back().start + point(0.05F),
                                   random.percent(80) ? Vector(0, -1, 0) : Vector(0, 1, 0)));
        }
        const PairRule rule{0.06, 0.3, 0.4};
        std::vector<std::pair<std::uint32_t, std::uint32_t>> expected;
        for (std::uint32_t i = 0; i < edges.size(); ++i) {
            const auto other = NearestTo(edges, i, rule);
            if (other && i < *other && NearestTo(edges, *other, rule) == i) {
                expected.emplace_back(i, *other);
            }
        }
        std::vector<std::pair<std::uint32_t, std::uint32_t>> found;
        for (const EdgePair& pair : FindEdgePairs(edges, rule)) {
            found.emplace_back(pair.first, pair.second);
        }
        std::sort(found.begin(), found.end());
        EXPECT_GT(expected.size(), 10U);
        EXPECT_EQ(found, expected) << seed;
    }
}

} // namespace
