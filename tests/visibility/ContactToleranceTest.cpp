// The contact tolerance: by hand on a grid of 5 bits, against brute force in exact arithmetic, and
// on faces that lie in one plane until they are rounded.
#include <ctr/TrianglesIntersection.h>

#include "linesets/SegmentBuilders.h"
#include "support/ExactOcclusion.h"
#include "support/SceneAgreement.h"
#include "visibility/GridTriangles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using test_support::BakedScene;
using test_support::GridEdge;
using test_support::GridTriangle;
using test_support::IntersectionCounts;
using test_support::LatticeSpace;
using test_support::OnTheGrid;
using test_support::Random;
using test_support::Range;
using test_support::SameForm;
using test_support::Scaled;
using test_support::Scene;
using test_support::SetPointer;
using test_support::TurnCounterClockwise;

using Intervals = std::vector<ctr::RationalInterval>;

// Baked triangles borrow their grid.
const ctr::DiscreteProjectionSpace kCoarse = LatticeSpace(5, 5);
const ctr::DiscreteProjectionSpace kShallow = LatticeSpace(5, 4);
const ctr::DiscreteProjectionSpace kFine = LatticeSpace(9, 9);
const ctr::DiscreteProjectionSpace kFinest = LatticeSpace(14, 14);

BakedTriangles WithTolerance(GridTriangle triangle,
                             unsigned int steps,
                             const ctr::DiscreteProjectionSpace& space = kCoarse) {
    EXPECT_TRUE(TurnCounterClockwise(triangle));
    BakedTriangles baked = OnTheGrid(space, {triangle});
    baked.setContactTolerance(steps);
    return baked;
}

Intervals Query(const BakedTriangles& baked, const BakedVertex& a, const BakedVertex& b) {
    Intervals intervals;
    baked.computeOcclusionIntervals(a, b, intervals);
    return intervals;
}

SetPointer IntersectionsOf(const BakedTriangles& baked) {
    return SetPointer(ctr::TrianglesIntersection(baked).computeIntersectionEdges());
}

// --- segments by hand ---

// Level, at depth 5: plane values are 64 per step of depth, and the band is 64 per step.
const GridTriangle kLevel = {{{2, 2, 5}, {10, 2, 5}, {2, 10, 5}}};

TEST(ContactTolerance, WhatLiesWithinTheToleranceBehindAFaceIsVisible) {
    for (unsigned int steps = 0; steps <= 3; ++steps) {
        const BakedTriangles baked = WithTolerance(kLevel, steps);
        const auto z = static_cast<std::int32_t>(5 + steps);
        EXPECT_TRUE(Query(baked, {3, 3, z}, {5, 4, z}).empty()) << steps;
        EXPECT_EQ(Query(baked, {3, 3, z + 1}, {5, 4, z + 1}).size(), 1U) << steps;
    }
}

TEST(ContactTolerance, TheBandIsMeasuredAlongEveryAxis) {
    // Rises by one step of depth per column: the band is twice as deep as of a level face.
    const GridTriangle ramp = {{{2, 2, 2}, {18, 2, 18}, {2, 18, 2}}};
    const BakedTriangles baked = WithTolerance(ramp, 2);
    EXPECT_TRUE(Query(baked, {4, 3, 8}, {4, 9, 8}).empty());
    EXPECT_EQ(Query(baked, {4, 3, 9}, {4, 9, 9}).size(), 1U);
}

TEST(ContactTolerance, AnEdgeThatRunsBehindTheFaceItStartsOnIsHiddenFromThereOn) {
    const BakedTriangles baked = WithTolerance(kLevel, 2);
    const Intervals hidden = Query(baked, {3, 3, 5}, {5, 3, 8});
    ASSERT_EQ(hidden.size(), 1U);
    EXPECT_TRUE(SameForm(hidden[0], Range(0, 192, 1, 1)));
}

TEST(ContactTolerance, AnEdgeThroughThePlaneIsOccludedFromThePlaneOn) {
    const BakedTriangles baked = WithTolerance(kLevel, 1);
    const Intervals hidden = Query(baked, {3, 3, 3}, {5, 3, 7});
    ASSERT_EQ(hidden.size(), 1U);
    EXPECT_TRUE(SameForm(hidden[0], Range(128, 256, 1, 1)));
    EXPECT_TRUE(Query(baked, {3, 3, 3}, {5, 3, 6}).empty());
}

TEST(ContactTolerance, OnlyWhatLiesOverTheFaceCounts) {
    // Far behind the plane beyond the outline, but within the tolerance over the face.
    const BakedTriangles baked = WithTolerance(kLevel, 2);
    EXPECT_TRUE(Query(baked, {2, 3, 5}, {26, 3, 11}).empty());
    EXPECT_EQ(Query(baked, {2, 3, 5}, {26, 3, 16}).size(), 1U);
}

TEST(ContactTolerance, AQuarterOfTheGridIsTheMostThatCounts) {
    const BakedTriangles baked = WithTolerance(kLevel, 4000000000U, kShallow);
    EXPECT_TRUE(Query(baked, {3, 3, 9}, {5, 4, 9}).empty());
    EXPECT_EQ(Query(baked, {3, 3, 10}, {5, 4, 10}).size(), 1U);
}

TEST(ContactTolerance, IsOffByDefault) {
    EXPECT_EQ(BakedTriangles().contactTolerance, 0U);
}

TEST(ContactTolerance, WithoutAToleranceTheGridIsNotRead) {
    BakedTriangles baked = WithTolerance(kLevel, 0);
    baked.setProjectionSpace(nullptr);
    EXPECT_EQ(Query(baked, {3, 3, 9}, {5, 4, 9}).size(), 1U);
}

// --- pairs by hand ---

BakedTriangles Pair(GridTriangle a, GridTriangle b, unsigned int steps) {
    EXPECT_TRUE(TurnCounterClockwise(a) && TurnCounterClockwise(b));
    BakedTriangles baked = OnTheGrid(kFine, {a, b});
    baked.setContactTolerance(steps);
    return baked;
}

TEST(ContactTolerance, FacesOnEachOtherGiveNoLine) {
    // Two steps apart at the most, on either side.
    const GridTriangle a = {{{10, 10, 100}, {210, 10, 100}, {10, 210, 100}}};
    const GridTriangle b = {{{20, 20, 98}, {180, 20, 102}, {20, 180, 98}}};
    EXPECT_TRUE(IntersectionsOf(Pair(a, b, 0)));
    EXPECT_TRUE(IntersectionsOf(Pair(a, b, 1)));
    EXPECT_FALSE(IntersectionsOf(Pair(a, b, 2)));
}

TEST(ContactTolerance, NarrowFacesThatCrossInOnePlaneGiveNoLine) {
    // The corners of each are far from the other's plane, which is tilted across by rounding; where
    // one lies over the other they are a step apart.
    const GridTriangle a = {{{10, 200, 99}, {410, 201, 99}, {10, 220, 102}}};
    const GridTriangle b = {{{200, 10, 100}, {201, 410, 100}, {220, 10, 102}}};
    EXPECT_TRUE(IntersectionsOf(Pair(a, b, 0)));
    EXPECT_FALSE(IntersectionsOf(Pair(a, b, 2)));
}

TEST(ContactTolerance, FacesThatCrossForCertainGiveTheirLine) {
    const GridTriangle a = {{{10, 10, 100}, {210, 10, 100}, {10, 210, 100}}};
    const GridTriangle b = {{{20, 20, 60}, {180, 20, 140}, {20, 180, 60}}};
    const SetPointer without = IntersectionsOf(Pair(a, b, 0));
    const SetPointer with = IntersectionsOf(Pair(a, b, 2));
    ASSERT_TRUE(without && with);
    EXPECT_EQ(test_support::SortedBits(with), test_support::SortedBits(without));
}

TEST(ContactTolerance, ALineInAThirdFaceIsNotHiddenByIt) {
    const GridTriangle a = {{{10, 10, 100}, {210, 10, 100}, {10, 210, 100}}};
    const GridTriangle b = {{{20, 20, 60}, {180, 20, 140}, {20, 180, 60}}};
    // Over all of the line, a step in front of it.
    GridTriangle cover = {{{0, 0, 99}, {400, 0, 99}, {0, 400, 99}}};
    ASSERT_TRUE(TurnCounterClockwise(cover));
    GridTriangle ab[2] = {a, b};
    ASSERT_TRUE(TurnCounterClockwise(ab[0]) && TurnCounterClockwise(ab[1]));
    BakedTriangles baked = OnTheGrid(kFine, {ab[0], ab[1], cover});
    const auto lengthBeside = [&](unsigned int steps) {
        baked.setContactTolerance(steps);
        double longest = 0.0;
        if (const SetPointer intersections = IntersectionsOf(baked)) {
            for (const auto& [p, q] : test_support::EndsOf(*intersections)) {
                longest = std::max(longest, std::abs(static_cast<double>(p.Y() - q.Y())));
            }
        }
        return longest;
    };
    EXPECT_GT(lengthBeside(2), 50.0);
}

TEST(ContactTolerance, ALineBehindTheEdgeThatTwoFacesShareIsHiddenByThem) {
    GridTriangle a = {{{100, 10, 300}, {100, 210, 300}, {300, 110, 300}}};
    GridTriangle b = {{{100, 110, 200}, {260, 30, 360}, {260, 190, 360}}};
    // In front of it, two triangles side by side along the column of the line, x = 200.
    GridTriangle left = {{{200, 0, 50}, {200, 400, 50}, {0, 200, 50}}};
    GridTriangle right = {{{200, 0, 50}, {200, 400, 50}, {400, 200, 50}}};
    for (GridTriangle* t : {&a, &b, &left, &right}) {
        ASSERT_TRUE(TurnCounterClockwise(*t));
    }
    BakedTriangles baked = OnTheGrid(kFine, {a, b, left, right});
    EXPECT_TRUE(IntersectionsOf(baked));
    baked.setContactTolerance(1);
    EXPECT_FALSE(IntersectionsOf(baked));
}

// A wall of two triangles, one above the other, and a floor that passes between them.
TEST(ContactTolerance, ASurfaceThatPassesThroughAPlaneAlongItsOwnEdgeGivesThatEdge) {
    GridTriangle floor = {{{0, 0, 300}, {400, 0, 300}, {0, 400, 100}}};
    // Both corners of the edge lie in the plane of the floor: z = 300 - y / 2.
    const BakedVertex left{40, 100, 250};
    const BakedVertex right{240, 100, 250};
    GridTriangle above = {{left, right, {140, 150, 100}}};
    GridTriangle below = {{left, right, {140, 60, 400}}};
    for (GridTriangle* t : {&floor, &above, &below}) {
        ASSERT_TRUE(TurnCounterClockwise(*t));
    }
    BakedTriangles baked = OnTheGrid(kFine, {floor, above, below});
    EXPECT_FALSE(IntersectionsOf(baked));
    baked.setContactTolerance(2);
    const SetPointer intersections = IntersectionsOf(baked);
    ASSERT_TRUE(intersections);
    const auto ends = test_support::EndsOf(*intersections);
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_NEAR(std::abs(static_cast<double>(ends[0].first.X() - ends[0].second.X())), 200.0, 1.0);
}

TEST(ContactTolerance, NeighboursGiveNoLineAlongTheEdgeTheyShare) {
    const BakedVertex p{40, 100, 250};
    const BakedVertex q{240, 100, 250};
    for (const std::int32_t depth : {100, 400}) {
        GridTriangle a = {{p, q, {140, 200, depth}}};
        GridTriangle b = {{p, q, {140, 20, depth}}};
        EXPECT_FALSE(IntersectionsOf(Pair(a, b, 2)));
    }
}

// --- against brute force ---

constexpr std::array<unsigned int, 4> kTolerances = {1, 2, 3, 9};

void CheckRandomEdges(BakedScene& test, unsigned int tolerance, bool points, int& changed) {
    Random random(~test.scene.seed);
    for (int i = 0; i < 12; ++i) {
        const GridEdge edge = test_support::RandomGridEdge(random, test.scene, test.exact);
        test.baked.setContactTolerance(0);
        const std::size_t before = Query(test.baked, edge.first, edge.second).size();
        test.baked.setContactTolerance(tolerance);
        ASSERT_EQ(test_support::CompareOcclusion(test, edge), "")
            << test_support::Describe(test.scene);
        if (points) {
            ASSERT_EQ(test_support::CompareHiddenPoints(test, edge), "")
                << test_support::Describe(test.scene);
        }
        changed += Query(test.baked, edge.first, edge.second).size() < before ? 1 : 0;
    }
}

void CheckRandomScenes(int scenes, const std::vector<std::array<unsigned int, 2>>& fineGrids) {
    int changed = 0;
    IntersectionCounts intersections;
    for (int seed = 0; seed < scenes; ++seed) {
        Scene scene = test_support::RandomScene(static_cast<std::uint64_t>(seed));
        const auto number = static_cast<std::size_t>(seed);
        if (!fineGrids.empty()) {
            const auto& bits = fineGrids[number % fineGrids.size()];
            ASSERT_TRUE(scene.space.setVoxelBitSize(bits[0], bits[1]));
        }
        BakedScene test(std::move(scene));
        CheckRandomEdges(test, kTolerances.at(number % 4), fineGrids.empty(), changed);
        ASSERT_EQ(test_support::CompareIntersections(test.baked, intersections), "")
            << test_support::Describe(test.scene);
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
    testing::Test::RecordProperty("edges_changed", changed);
    testing::Test::RecordProperty("in_contact", intersections.inContact);
    testing::Test::RecordProperty("along_edges", intersections.alongEdges);
    testing::Test::RecordProperty("intersections", intersections.intersections);
    EXPECT_GT(changed, fineGrids.empty() ? scenes / 2 : 0);
    EXPECT_GT(intersections.inContact, fineGrids.empty() ? scenes / 10 : 0);
    EXPECT_GT(intersections.alongEdges, fineGrids.empty() ? scenes / 10 : 0);
    EXPECT_GT(intersections.intersections, intersections.inContact);
    EXPECT_EQ(intersections.atOwnTriangle, 0);
}

TEST(ContactTolerance, RandomScenesAgreeWithBruteForce) {
    CheckRandomScenes(Scaled(20000), {});
}

TEST(ContactTolerance, RandomScenesAgreeWithBruteForceOnFineGrids) {
    CheckRandomScenes(Scaled(10000), {{20, 19}, {10, 10}, {24, 11}, {15, 29}, {6, 7}});
}

// --- faces in one plane ---

// Triangles with corners anywhere in one plane of the grid's box, rounded to the grid.
std::vector<GridTriangle> InOnePlane(Random& random, int count) {
    constexpr double kExtent = 4096.0;
    const double perX = 2.0 * static_cast<double>(random.unit()) - 1.0;
    const double perY = 2.0 * static_cast<double>(random.unit()) - 1.0;
    std::vector<GridTriangle> triangles;
    while (triangles.size() < static_cast<std::size_t>(count)) {
        GridTriangle t{};
        for (BakedVertex& v : t) {
            const double x = kExtent * static_cast<double>(random.unit());
            const double y = kExtent * static_cast<double>(random.unit());
            const double z = 2.0 * kExtent + perX * x + perY * y;
            v = {static_cast<std::int32_t>(x), static_cast<std::int32_t>(y),
                 static_cast<std::int32_t>(z)};
        }
        if (TurnCounterClockwise(t)) {
            triangles.push_back(t);
        }
    }
    return triangles;
}

TEST(ContactTolerance, FacesInOnePlaneNeitherOccludeNorIntersectEachOtherWithinOneStep) {
    int hiddenWithout = 0;
    int intersectionWithout = 0;
    for (int seed = 0; seed < Scaled(300); ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        const auto triangles = InOnePlane(random, 8);
        BakedTriangles baked = OnTheGrid(kFinest, triangles);
        for (const unsigned int tolerance : {0U, 1U}) {
            baked.setContactTolerance(tolerance);
            const bool intersection = static_cast<bool>(IntersectionsOf(baked));
            int hidden = 0;
            for (const GridTriangle& t : triangles) {
                for (std::size_t k = 0; k < 3; ++k) {
                    hidden += static_cast<int>(Query(baked, t[k], t[(k + 1) % 3]).size());
                }
            }
            if (tolerance == 0) {
                hiddenWithout += hidden > 0 ? 1 : 0;
                intersectionWithout += intersection ? 1 : 0;
            } else {
                ASSERT_EQ(hidden, 0) << "seed " << seed;
                ASSERT_FALSE(intersection) << "seed " << seed;
            }
        }
    }
    EXPECT_GT(hiddenWithout, Scaled(250));
    EXPECT_GT(intersectionWithout, Scaled(200));
}

} // namespace
