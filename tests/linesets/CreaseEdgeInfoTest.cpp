// Crease extraction: edges, their order, their flags, and polling for cancellation; on hand-made
// meshes and against a std::map.
#include <ctr/CreaseEdgeInfo.h>
#include <ctr/LineSegmentSet.h>

#include <kxSceneGraph/kxTriMesh.h>

#include "linesets/SegmentBuilders.h"
#include "support/LineAgreement.h"
#include "support/Random.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using ctr::ComputeCreaseEdgeInfo;
using ctr::ComputeEdgeInfoFromIBuffer;
using ctr::CreaseEdgeInfo;
using ctr::LineSegmentSet;
using ctr::MakeBuffersFromEdgeInfo;
using test_support::CancelAtQuestion;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::KeyOf;
using test_support::kNever;
using test_support::MakeIndices;
using test_support::MakeVertices;
using test_support::Random;
using test_support::Scaled;
using test_support::SetPointer;
using test_support::Surface;
using test_support::TiltedNormal;
using test_support::Vec3;
using test_support::VerticesPointer;

constexpr std::uint32_t kFlag = 0x80000000U;
constexpr float kDegrees = 5.0F;
const Vec3 kUp(0.0F, 0.0F, 1.0F);

// vertexA, vertexB without the flag, the flag.
using Edge = test_support::CreaseEdge;

std::vector<Edge> Plain(const std::vector<CreaseEdgeInfo>& edges) {
    std::vector<Edge> plain;
    plain.reserve(edges.size());
    for (const CreaseEdgeInfo& edge : edges) {
        plain.emplace_back(edge.vertexA, edge.vertexB & ~kFlag, (edge.vertexB & kFlag) != 0);
    }
    return plain;
}

std::vector<std::pair<unsigned int, unsigned int>> WithoutFlags(const std::vector<Edge>& edges) {
    std::vector<std::pair<unsigned int, unsigned int>> pairs;
    pairs.reserve(edges.size());
    for (const Edge& edge : edges) {
        pairs.emplace_back(std::get<0>(edge), std::get<1>(edge));
    }
    return pairs;
}

using Pairs = std::vector<std::pair<unsigned int, unsigned int>>;

Surface MakeSurface(const std::vector<Vec3>& positions,
                    const std::vector<Vec3>& normals,
                    const std::vector<unsigned int>& triangles) {
    return {MakeVertices(positions, normals), MakeIndices(triangles, kx::IBT_TRIANGLES)};
}

// Triangles on the common edge from (0, 0, 0) to (1, 0, 0), each with vertices of its own: vertices
// 3i and 3i + 1 on the edge, 3i + 2 a tip of its own. Normals are given for the two edge vertices.
Surface SplitFanOfEnds(const std::vector<std::pair<Vec3, Vec3>>& normalsAtEnds) {
    std::vector<Vec3> positions;
    std::vector<Vec3> normals;
    std::vector<unsigned int> triangles;
    for (std::size_t i = 0; i < normalsAtEnds.size(); ++i) {
        const auto first = static_cast<unsigned int>(3 * i);
        positions.insert(positions.end(),
                         {Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0.5F, 1.0F, static_cast<float>(i))});
        normals.insert(normals.end(), {normalsAtEnds[i].first, normalsAtEnds[i].second, kUp});
        triangles.insert(triangles.end(), {first, first + 1, first + 2});
    }
    return MakeSurface(positions, normals, triangles);
}

Surface SplitFan(const std::vector<Vec3>& normals) {
    std::vector<std::pair<Vec3, Vec3>> ends;
    ends.reserve(normals.size());
    for (const Vec3& n : normals) {
        ends.emplace_back(n, n);
    }
    return SplitFanOfEnds(ends);
}

// The part of the result on the fan's common edge, in order.
std::vector<Edge> OnCommonEdge(const Surface& surface, float degrees) {
    std::vector<Edge> common;
    for (const Edge& edge : CreasesOf(surface, degrees)) {
        const Vec3& b = surface.vertices->Position3(static_cast<int>(std::get<1>(edge)));
        if (KeyOf(b) == KeyOf(Vec3(1, 0, 0)) && std::get<0>(edge) % 3 == 0) {
            common.push_back(edge);
        }
    }
    return common;
}

Pairs CommonPairs(const Surface& surface, float degrees) {
    return WithoutFlags(OnCommonEdge(surface, degrees));
}

// A unit normal turned about the common edge.
TEST(ComputeCreaseEdgeInfo, ASingleTriangleIsAllBorder) {
    const Surface surface =
        MakeSurface({Vec3(0, 1, 0), Vec3(1, 0, 0), Vec3(0, 0, 0)}, {kUp, kUp, kUp}, {0, 1, 2});
    for (const float degrees : {0.0F, 5.0F, 90.0F, 180.0F}) {
        // By position: 2 = (0,0,0) is below 0 = (0,1,0), which is below 1 = (1,0,0).
        EXPECT_EQ(WithoutFlags(CreasesOf(surface, degrees)), (Pairs{{2, 0}, {2, 1}, {0, 1}}));
    }
}

TEST(ComputeCreaseEdgeInfo, SharedVerticesWithUnitNormalsNeverCrease) {
    const Surface surface =
        MakeSurface({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0.5F, 1, 0), Vec3(0.5F, -1, 3)},
                    {kUp, kUp, kUp, kUp}, {0, 1, 2, 1, 0, 3});
    EXPECT_EQ(WithoutFlags(CreasesOf(surface, kDegrees)), (Pairs{{0, 3}, {0, 2}, {3, 1}, {2, 1}}));
}

TEST(ComputeCreaseEdgeInfo, SharedVerticesWithoutNormalsCreaseBelow90Degrees) {
    const Surface surface =
        MakeSurface({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0.5F, 1, 0), Vec3(0.5F, -1, 3)}, {},
                    {0, 1, 2, 1, 0, 3});
    EXPECT_EQ(WithoutFlags(CreasesOf(surface, 89.9F)),
              (Pairs{{0, 3}, {0, 2}, {0, 1}, {3, 1}, {2, 1}}));
    EXPECT_EQ(WithoutFlags(CreasesOf(surface, 90.1F)), (Pairs{{0, 3}, {0, 2}, {3, 1}, {2, 1}}));
}

TEST(ComputeCreaseEdgeInfo, SplitVerticesAtARightAngleGiveBothCopies) {
    const Surface surface = SplitFan({TiltedNormal(0.0F), TiltedNormal(90.0F)});
    EXPECT_EQ(CommonPairs(surface, kDegrees), (Pairs{{0, 1}, {3, 4}}));
    EXPECT_EQ(CommonPairs(surface, 89.9F), (Pairs{{0, 1}, {3, 4}}));
    EXPECT_EQ(CommonPairs(surface, 90.1F), Pairs());
}

TEST(ComputeCreaseEdgeInfo, ASmoothSeamOfSplitVerticesIsNotWritten) {
    const Surface surface = SplitFan({TiltedNormal(0.0F), TiltedNormal(4.9F)});
    EXPECT_EQ(CommonPairs(surface, kDegrees), Pairs());
    EXPECT_EQ(CommonPairs(SplitFan({TiltedNormal(0.0F), TiltedNormal(5.1F)}), kDegrees),
              (Pairs{{0, 1}, {3, 4}}));
}

TEST(ComputeCreaseEdgeInfo, EitherEndMakesACrease) {
    EXPECT_EQ(CommonPairs(SplitFanOfEnds({{kUp, kUp}, {TiltedNormal(30.0F), kUp}}), kDegrees),
              (Pairs{{0, 1}, {3, 4}}));
    EXPECT_EQ(CommonPairs(SplitFanOfEnds({{kUp, kUp}, {kUp, TiltedNormal(30.0F)}}), kDegrees),
              (Pairs{{0, 1}, {3, 4}}));
}

// The limit is the float nearest to the cosine of the angle, itself a float in radians; at 46.5,
// 103 and 302.5 degrees the C library gives a neighbour.
TEST(ComputeCreaseEdgeInfo, AnAngleOfExactlyTheLimitIsSmooth) {
    struct Limit {
        float degrees;
        float cosine;
    };
    for (const Limit limit :
         {Limit{5.0F, 0x1.fe0d3cp-1F}, Limit{46.5F, 0x1.607002p-1F}, Limit{60.0F, 0x1.fffffep-2F},
          Limit{103.0F, -0x1.ccb31cp-3F}, Limit{302.5F, 0x1.1318f4p-1F}}) {
        for (const bool below : {false, true}) {
            const float dot = below ? std::nextafter(limit.cosine, -1.0F) : limit.cosine;
            const Surface surface = SplitFan({kUp, Vec3(0.0F, 0.5F, dot)});
            EXPECT_EQ(CommonPairs(surface, limit.degrees).size(), below ? 2U : 0U) << limit.degrees;
        }
    }
}

TEST(ComputeCreaseEdgeInfo, NormalsCountAtTheirStoredLength) {
    // 60 degrees apart, but with a length of 2 the dot product is 1.
    const Vec3 twice(0.0F, 0.0F, 2.0F);
    EXPECT_EQ(CommonPairs(SplitFan({twice, TiltedNormal(60.0F)}), kDegrees), Pairs());
    // Parallel, but too short.
    const Vec3 half(0.0F, 0.0F, 0.5F);
    EXPECT_EQ(CommonPairs(SplitFan({half, kUp}), kDegrees), (Pairs{{0, 1}, {3, 4}}));
}

TEST(ComputeCreaseEdgeInfo, MembersAreComparedWithTheFirstOnly) {
    // Neighbours are 4 degrees apart; only the third is more than 5 from the first.
    const Surface surface = SplitFan({TiltedNormal(0.0F), TiltedNormal(4.0F), TiltedNormal(8.0F)});
    EXPECT_EQ(CommonPairs(surface, kDegrees), (Pairs{{0, 1}, {6, 7}}));
}

TEST(ComputeCreaseEdgeInfo, TheFirstIsWrittenOnceBeforeAllMembersThatCrease) {
    const Surface surface = SplitFan(
        {TiltedNormal(0.0F), TiltedNormal(20.0F), TiltedNormal(1.0F), TiltedNormal(-30.0F)});
    EXPECT_EQ(CommonPairs(surface, kDegrees), (Pairs{{0, 1}, {3, 4}, {9, 10}}));
}

TEST(ComputeCreaseEdgeInfo, TheSamePairOfVerticesIsWrittenOnce) {
    const std::vector<Vec3> positions{Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0.5F, 1, 0)};
    // The same triangle three times, without normals: every pair creases with its own copies.
    const Surface surface = MakeSurface(positions, {}, {0, 1, 2, 2, 0, 1, 1, 0, 2});
    EXPECT_EQ(WithoutFlags(CreasesOf(surface, kDegrees)), (Pairs{{0, 2}, {0, 1}, {2, 1}}));
}

TEST(ComputeCreaseEdgeInfo, RepeatedPairsOfAnotherCopyAreWrittenOnceToo) {
    const std::vector<Vec3> positions{Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0.5F, 1, 0),
                                      Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0.5F, 2, 0)};
    const std::vector<Vec3> normals{kUp, kUp, kUp, TiltedNormal(90.0F), TiltedNormal(90.0F), kUp};
    const Surface surface = MakeSurface(positions, normals, {0, 1, 2, 3, 4, 5, 4, 3, 5});
    const Pairs pairs = WithoutFlags(CreasesOf(surface, kDegrees));
    EXPECT_EQ(std::count(pairs.begin(), pairs.end(), std::make_pair(0U, 1U)), 1);
    EXPECT_EQ(std::count(pairs.begin(), pairs.end(), std::make_pair(3U, 4U)), 1);
}

TEST(ComputeCreaseEdgeInfo, NegativeZeroIsTheSamePointAsZero) {
    const Surface surface =
        MakeSurface({Vec3(0.0F, 0.0F, 0.0F), Vec3(1, 0, 0), Vec3(0.5F, 1, 0),
                     Vec3(-0.0F, 0.0F, -0.0F), Vec3(1, -0.0F, 0), Vec3(0.5F, -1, 0)},
                    {kUp, kUp, kUp, kUp, kUp, kUp}, {0, 1, 2, 3, 4, 5});
    EXPECT_EQ(WithoutFlags(CreasesOf(surface, kDegrees)).size(), 4U);
}

TEST(ComputeCreaseEdgeInfo, OneFloatBitApartIsAnotherPoint) {
    const Surface surface =
        MakeSurface({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0.5F, 1, 0), Vec3(0, 0, 0),
                     Vec3(std::nextafter(1.0F, 2.0F), 0, 0), Vec3(0.5F, -1, 0)},
                    {kUp, kUp, kUp, kUp, kUp, kUp}, {0, 1, 2, 3, 4, 5});
    EXPECT_EQ(WithoutFlags(CreasesOf(surface, kDegrees)).size(), 6U);
}

TEST(ComputeCreaseEdgeInfo, EqualPositionsAreOrderedByTheSmallerIndex) {
    const Surface surface =
        MakeSurface({Vec3(0, 0, 0), Vec3(2, 2, 2), Vec3(2, 2, 2)}, {kUp, kUp, kUp}, {0, 2, 1});
    // 0 -> 2 and 0 -> 1 are one group of copies, smooth; the degenerate edge is a border.
    EXPECT_EQ(WithoutFlags(CreasesOf(surface, kDegrees)), (Pairs{{1, 2}}));
}

TEST(ComputeCreaseEdgeInfo, AnIncompleteLastTriangleIsIgnored) {
    const std::vector<Vec3> positions{Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0, 1, 0)};
    EXPECT_EQ(CreasesOf(MakeSurface(positions, {}, {0, 1, 2, 0, 1}), 0.0F).size(), 3U);
    EXPECT_TRUE(CreasesOf(MakeSurface(positions, {}, {0, 1}), 0.0F).empty());
    EXPECT_TRUE(CreasesOf(MakeSurface(positions, {}, {}), 0.0F).empty());
}

TEST(ComputeCreaseEdgeInfo, MissingBuffersAndNoVerticesGiveFalseAndNothing) {
    const CancelAtQuestion never(kNever);
    const VerticesPointer vertices = MakeVertices({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0, 1, 0)});
    const VerticesPointer none = MakeVertices({});
    const IndicesPointer triangles = MakeIndices({0, 1, 2}, kx::IBT_TRIANGLES);
    const std::vector<CreaseEdgeInfo> old{{1, 2}};
    std::vector<CreaseEdgeInfo> edges = old;
    EXPECT_FALSE(ComputeCreaseEdgeInfo(edges, nullptr, triangles.get(), kDegrees, never));
    EXPECT_TRUE(edges.empty());
    edges = old;
    EXPECT_FALSE(ComputeCreaseEdgeInfo(edges, vertices.get(), nullptr, kDegrees, never));
    EXPECT_TRUE(edges.empty());
    edges = old;
    EXPECT_FALSE(ComputeCreaseEdgeInfo(edges, none.get(), triangles.get(), kDegrees, never));
    EXPECT_TRUE(edges.empty());
}

TEST(ComputeCreaseEdgeInfo, WhatTheVectorHeldBeforeIsGone) {
    const CancelAtQuestion never(kNever);
    const Surface surface = MakeSurface({Vec3(0, 0, 0)}, {}, {});
    std::vector<CreaseEdgeInfo> edges{{1, 2}};
    EXPECT_TRUE(ComputeCreaseEdgeInfo(edges, surface.vertices.get(), surface.triangles.get(),
                                      kDegrees, never));
    EXPECT_TRUE(edges.empty());
}

TEST(CreaseEdgeInfoFlag, OfABorderNeedsBothNormalsPerpendicular) {
    const Vec3 slanted(1.0F, 0.0F, 0.0F);
    for (const auto& [first, second, flag] : std::vector<std::tuple<Vec3, Vec3, bool>>{
             {kUp, kUp, true}, {slanted, kUp, false}, {kUp, slanted, false}}) {
        const Surface surface = SplitFanOfEnds({{first, second}});
        EXPECT_EQ(OnCommonEdge(surface, kDegrees), (std::vector<Edge>{{0, 1, flag}}));
    }
}

TEST(CreaseEdgeInfoFlag, PerpendicularMeansStrictlyBelowTheLengthOver1024) {
    // An edge of length 1: n . d is n.x.
    for (const float sign : {1.0F, -1.0F}) {
        const float limit = 1.0F / 1024.0F;
        const Vec3 at(sign * limit, 0.0F, 1.0F);
        const Vec3 below(sign * std::nextafter(limit, 0.0F), 0.0F, 1.0F);
        EXPECT_EQ(OnCommonEdge(SplitFan({at}), kDegrees), (std::vector<Edge>{{0, 1, false}}));
        EXPECT_EQ(OnCommonEdge(SplitFan({below}), kDegrees), (std::vector<Edge>{{0, 1, true}}));
    }
}

TEST(CreaseEdgeInfoFlag, TheToleranceGrowsWithTheEdge) {
    const std::vector<Vec3> positions{Vec3(0, 0, 0), Vec3(64, 0, 0), Vec3(32, 64, 0)};
    const float limit = 64.0F / 1024.0F / 64.0F; // n . d is 64 n.x
    const Vec3 at(limit, 0.0F, 1.0F);
    const Vec3 below(std::nextafter(limit, 0.0F), 0.0F, 1.0F);
    const std::vector<Edge> flagged =
        CreasesOf(MakeSurface(positions, {below, below, kUp}, {0, 1, 2}), kDegrees);
    const std::vector<Edge> plain =
        CreasesOf(MakeSurface(positions, {at, at, kUp}, {0, 1, 2}), kDegrees);
    EXPECT_EQ(std::count(flagged.begin(), flagged.end(), Edge(0, 1, true)), 1);
    EXPECT_EQ(std::count(plain.begin(), plain.end(), Edge(0, 1, false)), 1);
}

TEST(CreaseEdgeInfoFlag, AnEdgeWithoutLengthIsNeverFlagged) {
    // |n . d| = 0 is not below a tolerance of 0.
    const Surface surface =
        MakeSurface({Vec3(0, 0, 0), Vec3(2, 2, 2), Vec3(2, 2, 2)}, {kUp, kUp, kUp}, {0, 2, 1});
    EXPECT_EQ(CreasesOf(surface, kDegrees), (std::vector<Edge>{{1, 2, false}}));
}

TEST(CreaseEdgeInfoFlag, AnEdgeThatIsNotFiniteIsNeverFlagged) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Surface surface =
        MakeSurface({Vec3(0, 0, 0), Vec3(nan, 0, 0), Vec3(0, 1, 0)}, {kUp, kUp, kUp}, {0, 1, 2});
    EXPECT_EQ(CreasesOf(surface, kDegrees),
              (std::vector<Edge>{{0, 2, true}, {0, 1, false}, {2, 1, false}}));
}

TEST(CreaseEdgeInfoFlag, OfAMemberNeedsAllFourNormalsPerpendicular) {
    const Vec3 side(0.0F, 1.0F, 0.0F);
    const Vec3 slanted(0.5F, 0.5F, 0.0F);
    EXPECT_EQ(OnCommonEdge(SplitFanOfEnds({{kUp, kUp}, {side, side}}), kDegrees),
              (std::vector<Edge>{{0, 1, true}, {3, 4, true}}));
    for (const auto& ends :
         std::vector<std::vector<std::pair<Vec3, Vec3>>>{{{slanted, kUp}, {side, side}},
                                                         {{kUp, slanted}, {side, side}},
                                                         {{kUp, kUp}, {slanted, side}},
                                                         {{kUp, kUp}, {side, slanted}}}) {
        EXPECT_EQ(OnCommonEdge(SplitFanOfEnds(ends), kDegrees),
                  (std::vector<Edge>{{0, 1, false}, {3, 4, false}}));
    }
}

TEST(CreaseEdgeInfoFlag, OfTheFirstIsThatOfTheFirstMemberThatCreases) {
    const Vec3 side(0.0F, 1.0F, 0.0F);
    const Vec3 slanted(0.5F, 0.5F, 0.0F);
    // The smooth copy between them has no say, although its normal is slanted.
    const Vec3 smooth(0.5F, 0.0F, 1.0F);
    EXPECT_EQ(OnCommonEdge(SplitFan({kUp, smooth, side, slanted}), kDegrees),
              (std::vector<Edge>{{0, 1, true}, {6, 7, true}, {9, 10, false}}));
    EXPECT_EQ(OnCommonEdge(SplitFan({kUp, smooth, slanted, side}), kDegrees),
              (std::vector<Edge>{{0, 1, false}, {6, 7, false}, {9, 10, true}}));
}

// n triangles that touch nowhere.
Surface LooseTriangles(int n) {
    std::vector<Vec3> positions;
    std::vector<unsigned int> triangles;
    for (int i = 0; i < n; ++i) {
        const auto at = static_cast<float>(i);
        positions.insert(positions.end(), {Vec3(at, 0, 0), Vec3(at, 1, 0), Vec3(at, 0, 1)});
    }
    for (unsigned int i = 0; i < positions.size(); ++i) {
        triangles.push_back(i);
    }
    return MakeSurface(positions, {}, triangles);
}

bool Compute(const Surface& surface,
             const CancelAtQuestion& cancel,
             std::vector<CreaseEdgeInfo>& edges) {
    return ComputeCreaseEdgeInfo(edges, surface.vertices.get(), surface.triangles.get(), kDegrees,
                                 cancel);
}

TEST(ComputeCreaseEdgeInfoCancelled, IsAskedOnceABlockOnceAGroupAndOnceAtTheEnd) {
    for (const auto& [triangles, blocks] :
         std::vector<std::pair<int, long>>{{1, 1}, {999, 1}, {1000, 1}, {1001, 2}, {2500, 3}}) {
        const Surface surface = LooseTriangles(triangles);
        std::vector<CreaseEdgeInfo> edges;
        const CancelAtQuestion never(kNever);
        EXPECT_TRUE(Compute(surface, never, edges));
        EXPECT_EQ(never.polls(), blocks + 3L * triangles + 1) << triangles;
        EXPECT_EQ(edges.size(), 3U * static_cast<unsigned int>(triangles));
    }
}

TEST(ComputeCreaseEdgeInfoCancelled, AmongTheTrianglesLeavesNothing) {
    const Surface surface = LooseTriangles(2500);
    for (const long question : {1L, 2L, 3L}) {
        std::vector<CreaseEdgeInfo> edges{{1, 2}};
        const CancelAtQuestion cancel(question);
        EXPECT_FALSE(Compute(surface, cancel, edges));
        EXPECT_TRUE(edges.empty());
        EXPECT_EQ(cancel.polls(), question); // no further poll
    }
}

TEST(ComputeCreaseEdgeInfoCancelled, AmongTheGroupsLeavesTheGroupsBefore) {
    const Surface surface = LooseTriangles(4);
    std::vector<CreaseEdgeInfo> all;
    EXPECT_TRUE(Compute(surface, CancelAtQuestion(kNever), all));
    for (long groups = 0; groups < 12; ++groups) {
        std::vector<CreaseEdgeInfo> edges;
        EXPECT_FALSE(Compute(surface, CancelAtQuestion(2 + groups), edges));
        const std::vector<CreaseEdgeInfo> before(all.begin(), all.begin() + groups);
        EXPECT_EQ(Plain(edges), Plain(before));
    }
}

// The positions of all triangle edges in the order of edges, each once: one per group.
using PositionPair = std::pair<std::array<float, 3>, std::array<float, 3>>;

PositionPair PositionsOf(const Surface& surface, unsigned int a, unsigned int b) {
    const auto p = KeyOf(surface.vertices->Position3(static_cast<int>(a)));
    const auto q = KeyOf(surface.vertices->Position3(static_cast<int>(b)));
    return std::minmax(p, q);
}

std::vector<PositionPair> GroupsOf(const Surface& surface) {
    const std::vector<unsigned int> corners = IndicesOf(surface.triangles.get());
    std::set<PositionPair> groups;
    for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
        for (std::size_t k = 0; k < 3; ++k) {
            groups.insert(PositionsOf(surface, corners[i + k], corners[i + (k + 1) % 3]));
        }
    }
    return {groups.begin(), groups.end()};
}

TEST(ComputeCreaseEdgeInfoCancelled, AmongTheGroupsOfAnyMeshLeavesTheGroupsBefore) {
    std::size_t intersection = 0;
    const int trials = Scaled(1000);
    for (int trial = 0; trial < trials; ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const Surface surface = test_support::RandomSurface(random);
        const std::vector<PositionPair> groups = GroupsOf(surface);
        std::vector<CreaseEdgeInfo> all;
        const CancelAtQuestion never(kNever);
        ASSERT_TRUE(Compute(surface, never, all));
        ASSERT_EQ(never.polls(), 1 + static_cast<long>(groups.size()) + 1) << "seed " << trial;
        const auto next = static_cast<std::size_t>(random.below(static_cast<int>(groups.size())));
        std::vector<CreaseEdgeInfo> before;
        std::copy_if(
            all.begin(), all.end(), std::back_inserter(before), [&](const CreaseEdgeInfo& edge) {
                return PositionsOf(surface, edge.vertexA, edge.vertexB & ~kFlag) < groups[next];
            });
        std::vector<CreaseEdgeInfo> edges;
        const CancelAtQuestion cancel(2 + static_cast<long>(next));
        EXPECT_FALSE(Compute(surface, cancel, edges));
        ASSERT_EQ(Plain(edges), Plain(before)) << "seed " << trial;
        intersection += all.size() - before.size();
    }
    EXPECT_GT(intersection, static_cast<std::size_t>(trials));
}

// A sphere of rows x rows pairs of triangles, with normals of length 1, or of none.
Surface LargeSphere(unsigned int rows, bool smooth) {
    std::vector<Vec3> positions;
    std::vector<unsigned int> triangles;
    for (unsigned int row = 0; row <= rows; ++row) {
        for (unsigned int column = 0; column <= rows; ++column) {
            const double polar = 3.141592653589793 * row / rows;
            const double turn = 2.0 * 3.141592653589793 * (column % rows) / rows;
            positions.emplace_back(static_cast<float>(std::sin(polar) * std::cos(turn)),
                                   static_cast<float>(std::sin(polar) * std::sin(turn)),
                                   static_cast<float>(std::cos(polar)));
            if (row < rows && column < rows) {
                const unsigned int corner = row * (rows + 1) + column;
                const unsigned int below = corner + rows + 1;
                triangles.insert(triangles.end(),
                                 {corner, corner + 1, below, below, corner + 1, below + 1});
            }
        }
    }
    const std::vector<Vec3> none(positions.size(), Vec3(0, 0, 0));
    return MakeSurface(positions, smooth ? positions : none, triangles);
}

TEST(ComputeCreaseEdgeInfoCancelled, AmongTheGroupsOfALargeMeshLeavesTheGroupsBefore) {
    for (const bool smooth : {true, false}) {
        const Surface surface = LargeSphere(120, smooth);
        const std::vector<PositionPair> groups = GroupsOf(surface);
        std::vector<CreaseEdgeInfo> all;
        const CancelAtQuestion never(kNever);
        ASSERT_TRUE(Compute(surface, never, all));
        const long blocks = 29;
        ASSERT_EQ(never.polls(), blocks + static_cast<long>(groups.size()) + 1);
        std::vector<std::size_t> counts;
        for (std::size_t count = 0; count < 16; ++count) {
            counts.push_back(count);
            counts.push_back(groups.size() * count / 16);
            counts.push_back(groups.size() - 1 - count);
        }
        for (const std::size_t count : counts) {
            const auto end =
                std::partition_point(all.begin(), all.end(), [&](const CreaseEdgeInfo& edge) {
                    return PositionsOf(surface, edge.vertexA, edge.vertexB & ~kFlag) <
                           groups[count];
                });
            std::vector<CreaseEdgeInfo> edges;
            const CancelAtQuestion cancel(blocks + 1 + static_cast<long>(count));
            EXPECT_FALSE(Compute(surface, cancel, edges));
            ASSERT_EQ(Plain(edges), Plain({all.begin(), end})) << count;
            ASSERT_EQ(cancel.polls(), blocks + 1 + static_cast<long>(count) + 1);
        }
    }
}

// Inspects the list being written at each poll.
class Onlooker : public kx::kxCancelInterfaceReadOnly {
public:
    Onlooker(const std::vector<CreaseEdgeInfo>& edges, const std::vector<CreaseEdgeInfo>& result)
        : edges_(edges), result_(result) {}

    bool isCanceled() const override {
        mostAdded_ = std::max(mostAdded_, edges_.size() - seen_);
        seen_ = edges_.size();
        const bool isUnsorted =
            seen_ == result_.size() && edges_.front().vertexA != result_.front().vertexA;
        askedUnsorted_ += isUnsorted ? 1 : 0;
        return false;
    }

    std::size_t mostAdded() const { return mostAdded_; } // From one question to the next.
    int askedUnsorted() const { return askedUnsorted_; } // When all creases were there.

private:
    const std::vector<CreaseEdgeInfo>& edges_;
    const std::vector<CreaseEdgeInfo>& result_;
    mutable std::size_t seen_ = 0;
    mutable std::size_t mostAdded_ = 0;
    mutable int askedUnsorted_ = 0;
};

TEST(ComputeCreaseEdgeInfoCancelled, IsAskedWhileCreasesAreFoundAndSorted) {
    const Surface surface = LargeSphere(300, false);
    std::vector<CreaseEdgeInfo> result;
    ASSERT_TRUE(Compute(surface, CancelAtQuestion(kNever), result));
    std::vector<CreaseEdgeInfo> edges;
    const Onlooker cancel(edges, result);
    EXPECT_TRUE(ComputeCreaseEdgeInfo(edges, surface.vertices.get(), surface.triangles.get(),
                                      kDegrees, cancel));
    EXPECT_LT(cancel.mostAdded(), result.size() / 20);
    EXPECT_GT(cancel.askedUnsorted(), 150);
}

// A fan around its last vertex, which comes first in the order of positions.
TEST(ComputeCreaseEdgeInfoCancelled, AmongGroupsWithOneFirstPointLeavesTheGroupsBefore) {
    constexpr unsigned int kSpokes = 40;
    std::vector<Vec3> positions;
    std::vector<unsigned int> triangles;
    for (unsigned int i = 0; i < kSpokes; ++i) {
        positions.emplace_back(1.0F, static_cast<float>(7 * i % kSpokes), 0.0F);
        triangles.insert(triangles.end(), {kSpokes, i, (i + 1) % kSpokes});
    }
    positions.emplace_back(0.0F, 0.0F, 0.0F);
    const Surface surface = MakeSurface(positions, {}, triangles);
    std::vector<CreaseEdgeInfo> all;
    ASSERT_TRUE(Compute(surface, CancelAtQuestion(kNever), all));
    ASSERT_EQ(all.size(), 2 * kSpokes);
    for (long groups = 0; groups < static_cast<long>(all.size()); ++groups) {
        std::vector<CreaseEdgeInfo> edges;
        EXPECT_FALSE(Compute(surface, CancelAtQuestion(2 + groups), edges));
        EXPECT_EQ(Plain(edges), Plain({all.begin(), all.begin() + groups}));
    }
}

TEST(ComputeCreaseEdgeInfoCancelled, ThatIsTakenBackStaysOne) {
    class Once : public kx::kxCancelInterfaceReadOnly {
    public:
        bool isCanceled() const override { return ++polls_ == 3; }

    private:
        mutable int polls_ = 0;
    };
    const Surface surface = LooseTriangles(4);
    std::vector<CreaseEdgeInfo> edges;
    EXPECT_FALSE(ComputeCreaseEdgeInfo(edges, surface.vertices.get(), surface.triangles.get(),
                                       kDegrees, Once()));
    EXPECT_EQ(edges.size(), 1U);
}

TEST(ComputeCreaseEdgeInfoCancelled, AtTheEndKeepsAllEdgesButIsReported) {
    const Surface surface = LooseTriangles(4);
    std::vector<CreaseEdgeInfo> edges;
    EXPECT_FALSE(Compute(surface, CancelAtQuestion(1 + 12 + 1), edges));
    EXPECT_EQ(edges.size(), 12U);
}

TEST(ComputeCreaseEdgeInfoCancelled, OfASetIsAskedOnceMore) {
    const Surface surface = LooseTriangles(1);
    const CancelAtQuestion never(kNever);
    const SetPointer set(LineSegmentSet::GetCreaseEdgesFromMesh(
        surface.vertices.get(), surface.triangles.get(), never, kDegrees, false));
    EXPECT_TRUE(set);
    EXPECT_EQ(never.polls(), 6);
    for (long question = 1; question <= 6; ++question) {
        const CancelAtQuestion cancel(question);
        EXPECT_EQ(LineSegmentSet::GetCreaseEdgesFromMesh(
                      surface.vertices.get(), surface.triangles.get(), cancel, kDegrees, true),
                  nullptr);
    }
}

TEST(MakeBuffersFromEdgeInfo, HoldBothEndsWithoutTheFlag) {
    IndicesPointer lines;
    EXPECT_TRUE(MakeBuffersFromEdgeInfo({{3, 5 | kFlag}, {7, 0x7FFFFFFFU}}, lines, nullptr));
    ASSERT_TRUE(lines);
    EXPECT_EQ(lines->GetIndexBufferType(), kx::IBT_LINES);
    EXPECT_EQ(IndicesOf(lines.get()), (std::vector<unsigned int>{3, 5, 7, 0x7FFFFFFFU}));
}

TEST(MakeBuffersFromEdgeInfo, FlagsGetOneEntryAnEdge) {
    IndicesPointer lines;
    std::vector<bool> flags(9, true);
    EXPECT_TRUE(MakeBuffersFromEdgeInfo({{3, 5}, {1, 2 | kFlag}, {4, 9}}, lines, &flags));
    EXPECT_EQ(flags, (std::vector<bool>{false, true, false}));
}

TEST(MakeBuffersFromEdgeInfo, ReplaceTheBufferThatWasThere) {
    const IndicesPointer old = MakeIndices({0, 1});
    IndicesPointer lines = old;
    EXPECT_TRUE(MakeBuffersFromEdgeInfo({{3, 5}}, lines, nullptr));
    EXPECT_FALSE(lines == old);
    EXPECT_EQ(IndicesOf(old.get()), (std::vector<unsigned int>{0, 1}));
}

TEST(MakeBuffersFromEdgeInfo, RefuseAnEmptyListAndReleaseTheOutputs) {
    IndicesPointer lines = MakeIndices({0, 1});
    std::vector<bool> flags{true};
    EXPECT_FALSE(MakeBuffersFromEdgeInfo({}, lines, &flags));
    EXPECT_FALSE(lines);
    EXPECT_TRUE(flags.empty());
}

TEST(GetCreaseEdgesFromMesh, SharesTheVerticesAndOwnsItsLines) {
    const Surface surface = SplitFan({TiltedNormal(0.0F), TiltedNormal(90.0F)});
    const SetPointer set(
        LineSegmentSet::GetCreaseEdgesFromMesh(surface.vertices.get(), surface.triangles.get(),
                                               CancelAtQuestion(kNever), kDegrees, false));
    ASSERT_TRUE(set);
    EXPECT_EQ(set->GetVertexBuffer(), surface.vertices.get());
    EXPECT_EQ(surface.vertices->GetReferences(), 2);
    ASSERT_NE(set->GetIndexBuffer(), nullptr);
    EXPECT_EQ(set->GetIndexBuffer()->GetIndexBufferType(), kx::IBT_LINES);
    EXPECT_EQ(set->GetIndexBuffer()->GetIndexQuantity(), 2 * 6);
    EXPECT_EQ(surface.triangles->GetReferences(), 1);
    EXPECT_TRUE(set->occlusionIntervals.empty());
    EXPECT_TRUE(set->clipRanges.empty());
}

TEST(GetCreaseEdgesFromMesh, HasFlagsOnlyWhenAskedFor) {
    const Surface surface = SplitFan({kUp, TiltedNormal(90.0F)});
    std::vector<CreaseEdgeInfo> edges;
    ASSERT_TRUE(Compute(surface, CancelAtQuestion(kNever), edges));
    for (const bool withFlags : {false, true}) {
        const SetPointer set(
            LineSegmentSet::GetCreaseEdgesFromMesh(surface.vertices.get(), surface.triangles.get(),
                                                   CancelAtQuestion(kNever), kDegrees, withFlags));
        ASSERT_TRUE(set);
        ASSERT_EQ(set->segmentFlags.size(), withFlags ? edges.size() : 0U);
        for (std::size_t i = 0; i < set->segmentFlags.size(); ++i) {
            EXPECT_EQ(set->segmentFlags[i], (edges[i].vertexB & kFlag) != 0) << i;
        }
    }
}

TEST(GetCreaseEdgesFromMesh, IsNullWithoutBuffersOrEdges) {
    const CancelAtQuestion never(kNever);
    const Surface surface = LooseTriangles(1);
    const IndicesPointer noTriangles = MakeIndices({}, kx::IBT_TRIANGLES);
    EXPECT_EQ(LineSegmentSet::GetCreaseEdgesFromMesh(nullptr, surface.triangles.get(), never,
                                                     kDegrees, false),
              nullptr);
    EXPECT_EQ(LineSegmentSet::GetCreaseEdgesFromMesh(surface.vertices.get(), nullptr, never,
                                                     kDegrees, false),
              nullptr);
    EXPECT_EQ(LineSegmentSet::GetCreaseEdgesFromMesh(surface.vertices.get(), noTriangles.get(),
                                                     never, kDegrees, true),
              nullptr);
    EXPECT_EQ(surface.vertices->GetReferences(), 1);
}

TEST(GetCreaseEdgesFromMesh, OfATriMeshTakesBothItsTransformations) {
    const auto mesh =
        test_support::MakeMesh(test_support::Triangle(Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0, 1, 0)));
    const auto local = test_support::ScaleAndMove(Vec3(2, 2, 2), Vec3(1, 0, 0));
    const auto world = test_support::ScaleAndMove(Vec3(1, 3, 1), Vec3(0, 4, 0));
    mesh->SetLocalTransformation(local);
    mesh->SetWorldTransformation(world);
    const SetPointer set(LineSegmentSet::GetCreaseEdgesFromTriMesh(
        mesh.get(), CancelAtQuestion(kNever), kDegrees, false));
    ASSERT_TRUE(set);
    EXPECT_EQ(set->GetVertexBuffer(), mesh->GetVertexBuffer());
    EXPECT_EQ(set->GetLocalTransformation(), local);
    EXPECT_EQ(set->GetWorldTransformation(), world);
    EXPECT_EQ(set->GetModelBound().max[1], 1.0F);
    EXPECT_EQ(
        LineSegmentSet::GetCreaseEdgesFromTriMesh(mesh.get(), CancelAtQuestion(1), kDegrees, false),
        nullptr);
}

TEST(ComputeEdgeInfoFromIBuffer, NeedVertices) {
    std::vector<CreaseEdgeInfo> edges{{0, 1}};
    std::vector<unsigned char> tags;
    const IndicesPointer lines = MakeIndices({0, 1});
    const VerticesPointer none = MakeVertices({});
    EXPECT_FALSE(ComputeEdgeInfoFromIBuffer(edges, nullptr, lines.get(), tags));
    EXPECT_FALSE(ComputeEdgeInfoFromIBuffer(edges, none.get(), lines.get(), tags));
    EXPECT_EQ(edges.size(), 1U);
}

TEST(ComputeEdgeInfoFromIBuffer, WithoutALineListAllEdgesAreCreasesOnly) {
    const VerticesPointer vertices = MakeVertices({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(2, 0, 0)});
    std::vector<CreaseEdgeInfo> edges{{0, 1}, {1, 2}};
    std::vector<unsigned char> tags{7, 7, 7};
    EXPECT_TRUE(ComputeEdgeInfoFromIBuffer(edges, vertices.get(), nullptr, tags));
    EXPECT_EQ(tags, (std::vector<unsigned char>{2, 2}));
    EXPECT_EQ(edges.size(), 2U);
}

TEST(ComputeEdgeInfoFromIBuffer, TellWhereEveryEdgeCameFrom) {
    const VerticesPointer vertices = MakeVertices(
        {Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(2, 0, 0), Vec3(3, 0, 0)}, {kUp, kUp, kUp, kUp});
    std::vector<CreaseEdgeInfo> edges{{0, 1}, {1, 2 | kFlag}};
    std::vector<unsigned char> tags;
    const IndicesPointer lines = MakeIndices({3, 2, 2, 1}); // 1 - 2 is known, flag or not
    EXPECT_TRUE(ComputeEdgeInfoFromIBuffer(edges, vertices.get(), lines.get(), tags));
    EXPECT_EQ(Plain(edges), (std::vector<Edge>{{0, 1, false}, {1, 2, true}, {2, 3, true}}));
    EXPECT_EQ(tags, (std::vector<unsigned char>{2, 3, 1}));
}

TEST(ComputeEdgeInfoFromIBuffer, TheLineListIsTurnedSoThatTheSmallerPositionComesFirst) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(5, 0, 0), Vec3(1, 0, 0), Vec3(1, 0, 0), Vec3(0, 9, 9)});
    std::vector<CreaseEdgeInfo> edges;
    std::vector<unsigned char> tags;
    const IndicesPointer lines = MakeIndices({0, 1, 2, 1, 3, 0});
    EXPECT_TRUE(ComputeEdgeInfoFromIBuffer(edges, vertices.get(), lines.get(), tags));
    EXPECT_EQ(IndicesOf(lines.get()), (std::vector<unsigned int>{1, 0, 1, 2, 3, 0}));
}

TEST(ComputeEdgeInfoFromIBuffer, AnotherCopyOfTheSamePlaceIsAnEdgeOfItsOwn) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0, 0, 0), Vec3(1, 0, 0)});
    std::vector<CreaseEdgeInfo> edges{{0, 1}};
    std::vector<unsigned char> tags;
    const IndicesPointer lines = MakeIndices({2, 3});
    EXPECT_TRUE(ComputeEdgeInfoFromIBuffer(edges, vertices.get(), lines.get(), tags));
    EXPECT_EQ(WithoutFlags(Plain(edges)), (Pairs{{0, 1}, {2, 3}}));
    EXPECT_EQ(tags, (std::vector<unsigned char>{2, 1}));
}

TEST(ComputeEdgeInfoFromIBuffer, ASegmentListedTwiceIsAddedOnce) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(2, 0, 0), Vec3(3, 0, 0)});
    std::vector<CreaseEdgeInfo> edges{{0, 1}};
    std::vector<unsigned char> tags;
    const IndicesPointer lines = MakeIndices({2, 3, 1, 0, 3, 2, 0, 1, 2, 3});
    EXPECT_TRUE(ComputeEdgeInfoFromIBuffer(edges, vertices.get(), lines.get(), tags));
    EXPECT_EQ(WithoutFlags(Plain(edges)), (Pairs{{0, 1}, {2, 3}}));
    EXPECT_EQ(tags, (std::vector<unsigned char>{3, 1}));
}

TEST(ComputeEdgeInfoFromIBuffer, AddedEdgesAreFlaggedByTheirOwnNormals) {
    const Vec3 slanted(1.0F, 0.0F, 0.0F);
    const VerticesPointer vertices =
        MakeVertices({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(2, 0, 0)}, {kUp, kUp, slanted});
    std::vector<CreaseEdgeInfo> edges;
    std::vector<unsigned char> tags;
    const IndicesPointer lines = MakeIndices({0, 1, 1, 2});
    EXPECT_TRUE(ComputeEdgeInfoFromIBuffer(edges, vertices.get(), lines.get(), tags));
    std::vector<Edge> added = Plain(edges);
    std::sort(added.begin(), added.end());
    EXPECT_EQ(added, (std::vector<Edge>{{0, 1, true}, {1, 2, false}}));
}

TEST(ComputeCreaseEdgeInfo, AgreeWithAPlainMapOnRandomMeshes) {
    std::size_t written = 0;
    std::size_t flagged = 0;
    const int trials = Scaled(10000);
    for (int trial = 0; trial < trials; ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const Surface surface = test_support::RandomSurface(random);
        const auto degrees = static_cast<float>(random.below(100));
        ASSERT_EQ(CompareCreases(surface, degrees), "") << "seed " << trial;
        const std::vector<Edge> edges = CreasesOf(surface, degrees);
        written += edges.size();
        flagged += static_cast<std::size_t>(std::count_if(
            edges.begin(), edges.end(), [](const Edge& e) { return std::get<2>(e); }));
    }
    EXPECT_GT(written, 10U * static_cast<unsigned int>(trials));
    EXPECT_GT(flagged, static_cast<unsigned int>(trials) / 2);
}

// Triangles around vertex 0, closed; each listed `copies` times.
Surface Wheel(unsigned int spokes, unsigned int copies, const std::vector<Vec3>& normals) {
    std::vector<Vec3> positions{Vec3(0, 0, 0)};
    std::vector<unsigned int> triangles;
    for (unsigned int i = 1; i <= spokes; ++i) {
        const auto at = static_cast<float>(i);
        positions.emplace_back(at, at * at, 1.0F);
        for (unsigned int copy = 0; copy < copies; ++copy) {
            triangles.insert(triangles.end(), {0, i, i % spokes + 1});
        }
    }
    return MakeSurface(positions, normals, triangles);
}

TEST(ComputeCreaseEdgeInfo, AgreeWithAPlainMapWhereAnyNumberOfEdgesMeet) {
    for (unsigned int spokes = 3; spokes <= 40; ++spokes) {
        std::vector<Vec3> normals(spokes + 1, kUp);
        const Surface smooth = Wheel(spokes, 1, normals);
        EXPECT_EQ(CreasesOf(smooth, kDegrees).size(), spokes);
        EXPECT_EQ(CompareCreases(smooth, kDegrees), "") << spokes;
        EXPECT_EQ(CompareCreases(Wheel(spokes, 2, normals), kDegrees), "") << spokes;
        std::vector<CreaseEdgeInfo> edges;
        const CancelAtQuestion never(kNever);
        EXPECT_TRUE(Compute(Wheel(spokes, 2, normals), never, edges));
        EXPECT_EQ(never.polls(), 1 + 2L * spokes + 1);
        normals[spokes / 2] = Vec3(0, 0, 0);
        const Surface oneShort = Wheel(spokes, 1, normals);
        EXPECT_EQ(CreasesOf(oneShort, kDegrees).size(), spokes + 1);
        EXPECT_EQ(CompareCreases(oneShort, kDegrees), "") << spokes;
        normals.assign(spokes + 1, Vec3(0, 0, 0));
        EXPECT_EQ(CreasesOf(Wheel(spokes, 1, normals), kDegrees).size(), 2 * spokes);
    }
}

} // namespace
