// The occlusion query: by hand on a grid of 4 bits, under trees of our own, from several threads,
// and against brute force in exact fractions on random scenes.
#include <ctr/BakedTriangles.h>
#include <ctr/IntervalTools.h>

#include "support/Baking.h"
#include "support/ExactOcclusion.h"
#include "support/RandomScenes.h"
#include "support/SceneAgreement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using ctr::RationalInterval;
using test_support::BakedMeshes;
using test_support::BakedScene;
using test_support::ExactBaked;
using test_support::GridEdge;
using test_support::MeshData;
using test_support::Point;
using test_support::Random;
using test_support::SameForm;
using test_support::SameValue;
using test_support::Scaled;
using test_support::Scene;
using test_support::Text;
using test_support::Triangle;

using Intervals = std::vector<RationalInterval>;
using Fraction = Wm4::Vector2<std::int64_t>;

RationalInterval
Range(long startNumerator, long startDenominator, long endNumerator, long endDenominator) {
    return {{startNumerator, startDenominator}, {endNumerator, endDenominator}};
}

Intervals Query(const BakedTriangles& baked, const BakedVertex& a, const BakedVertex& b) {
    Intervals intervals;
    baked.computeOcclusionIntervals(a, b, intervals);
    return intervals;
}

testing::AssertionResult Hides(const BakedTriangles& baked,
                               const BakedVertex& a,
                               const BakedVertex& b,
                               const Intervals& expected) {
    const Intervals hidden = Query(baked, a, b);
    if (SameForm(hidden, expected)) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "hidden: " << Text(hidden) << ", not " << Text(expected);
}

// A level triangle at depth 5 with its right angle at (2, 2) and legs of 8.
const Point kCorner(2, 2, 5);
const Point kRight(10, 2, 5);
const Point kUp(2, 10, 5);

MeshData LevelTriangle() {
    return Triangle(kCorner, kRight, kUp);
}

// --- by hand ---

TEST(OcclusionQuery, WhatPassesBehindATriangleIsHidden) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {0, 4, 9}, {12, 4, 9}, {Range(16, 96, 64, 96)}));
    EXPECT_TRUE(Hides(scene.baked, {12, 4, 9}, {0, 4, 9}, {Range(32, 96, 80, 96)}));
}

TEST(OcclusionQuery, WhatPassesBeforeATriangleIsVisible) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {0, 4, 4}, {12, 4, 4}, {}));
    EXPECT_TRUE(Hides(scene.baked, {0, 4, 0}, {12, 4, 5}, {}));
}

TEST(OcclusionQuery, AnEdgeWhollyBehindIsHiddenFromZeroToOne) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {3, 3, 9}, {5, 4, 7}, {Range(0, 1, 1, 1)}));
}

TEST(OcclusionQuery, NothingHidesOutsideTheOutline) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {11, 11, 9}, {14, 0, 9}, {}));
    EXPECT_TRUE(Hides(scene.baked, {0, 0, 9}, {1, 14, 9}, {}));
}

TEST(OcclusionQuery, AnEdgeParallelToASideAndOutsideIsVisible) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {2, 1, 9}, {10, 1, 9}, {}));
    EXPECT_TRUE(Hides(scene.baked, {11, 2, 9}, {3, 10, 9}, {}));
}

TEST(OcclusionQuery, AnEdgeBehindASideIsHiddenAlongIt) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {0, 2, 6}, {12, 2, 6}, {Range(16, 96, 80, 96)}));
    EXPECT_TRUE(Hides(scene.baked, {10, 2, 6}, {2, 10, 6}, {Range(0, 64, 64, 64)}));
}

TEST(OcclusionQuery, AnEdgeOnASideIsVisibleWhereItIsNotStrictlyBehind) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {0, 2, 5}, {12, 2, 5}, {}));
    EXPECT_TRUE(Hides(scene.baked, {2, 2, 5}, {10, 2, 5}, {}));
    EXPECT_TRUE(Hides(scene.baked, {2, 2, 5}, {10, 2, 4}, {}));
}

TEST(OcclusionQuery, AnEdgeInThePlaneIsVisible) {
    const BakedMeshes level({LevelTriangle()});
    EXPECT_TRUE(Hides(level.baked, {0, 4, 5}, {12, 4, 5}, {}));
    const BakedMeshes slanted({Triangle(Point(2, 2, 2), Point(10, 2, 10), Point(2, 10, 2))});
    EXPECT_TRUE(Hides(slanted.baked, {0, 4, 0}, {12, 4, 12}, {}));
    EXPECT_TRUE(Hides(slanted.baked, {3, 3, 3}, {3, 6, 3}, {}));
}

TEST(OcclusionQuery, TouchingACornerHidesNothing) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {6, 0, 9}, {12, 3, 9}, {}));
    EXPECT_TRUE(Hides(scene.baked, {0, 4, 9}, {4, 0, 9}, {}));
    EXPECT_TRUE(Hides(scene.baked, {10, 2, 9}, {14, 2, 9}, {}));
}

TEST(OcclusionQuery, EndingOnTheOutlineFromOutsideHidesNothing) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {6, 0, 9}, {6, 2, 9}, {}));
    EXPECT_TRUE(Hides(scene.baked, {2, 5, 9}, {0, 5, 9}, {}));
}

TEST(OcclusionQuery, AnEdgeThroughThePlaneIsOccludedFromTheCrossingOn) {
    const BakedMeshes scene({LevelTriangle()});
    // Depths 3 and 7 about the plane at 5, distances of 64 * 2.
    EXPECT_TRUE(Hides(scene.baked, {3, 3, 3}, {5, 3, 7}, {Range(128, 256, 1, 1)}));
    EXPECT_TRUE(Hides(scene.baked, {5, 3, 7}, {3, 3, 3}, {Range(0, 1, 128, 256)}));
}

TEST(OcclusionQuery, AnEdgeThatTouchesThePlaneFromBeforeIsVisible) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {3, 3, 5}, {5, 3, 2}, {}));
}

TEST(OcclusionQuery, AnEdgeThatStartsInThePlaneAndGoesBehindIsHidden) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {3, 3, 5}, {5, 3, 8}, {Range(0, 192, 1, 1)}));
    EXPECT_TRUE(Hides(scene.baked, {5, 3, 8}, {3, 3, 5}, {Range(0, 1, 192, 192)}));
}

TEST(OcclusionQuery, OnATieThePlanesFractionIsTaken) {
    // The edge enters the outline where it passes the plane: 16/96 by the side, 64/384 by the
    // plane.
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {0, 4, 4}, {12, 4, 10}, {Range(64, 384, 64, 96)}));
    EXPECT_TRUE(Hides(scene.baked, {12, 4, 10}, {0, 4, 4}, {Range(32, 96, 320, 384)}));
}

TEST(OcclusionQuery, OnATieTheLaterSidesFractionIsTaken) {
    // In at (2, 2), where the sides 2 -> 0 and 0 -> 1 meet: 2/24 by 0 -> 1 first, by 2 -> 0 last.
    const BakedMeshes scene({Triangle(Point(2, 2, 5), Point(14, 2, 5), Point(2, 10, 5))});
    EXPECT_TRUE(Hides(scene.baked, {0, 0, 9}, {4, 4, 9}, {Range(16, 32, 1, 1)}));
    // Out at (2, 2) again, in the other direction.
    EXPECT_TRUE(Hides(scene.baked, {4, 4, 9}, {0, 0, 9}, {Range(0, 1, 16, 32)}));
}

TEST(OcclusionQuery, AnEndOnASideTakesThatSidesFraction) {
    const BakedMeshes scene({LevelTriangle()});
    const Intervals in = Query(scene.baked, {2, 5, 9}, {4, 5, 9});
    ASSERT_EQ(in.size(), 1U);
    EXPECT_EQ(in[0].start, Fraction(0, 16));
    EXPECT_EQ(in[0].end, Fraction(1, 1));
    const Intervals out = Query(scene.baked, {4, 5, 9}, {2, 5, 9});
    ASSERT_EQ(out.size(), 1U);
    EXPECT_EQ(out[0].start, Fraction(0, 1));
    EXPECT_EQ(out[0].end, Fraction(16, 16));
}

TEST(OcclusionQuery, ATriangleNeverHidesItsOwnEdges) {
    const BakedMeshes scene({Triangle(Point(1, 2, 3), Point(9, 4, 12), Point(3, 11, 7))});
    const auto& v = scene.baked.vertices;
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_TRUE(Hides(scene.baked, v[k], v[(k + 1) % 3], {}));
        EXPECT_TRUE(Hides(scene.baked, v[(k + 1) % 3], v[k], {}));
    }
}

TEST(OcclusionQuery, TrianglesThatShareAnEdgeNeverHideIt) {
    const Point a(3, 3, 6);
    const Point b(11, 9, 2);
    const BakedMeshes scene({test_support::Fan(
        a, b,
        {Point(1, 12, 0), Point(13, 1, 14), Point(4, 9, 1), Point(9, 2, 0), Point(0, 0, 0)})});
    ASSERT_EQ(scene.baked.trianglePlanes.size(), 5U);
    EXPECT_TRUE(Hides(scene.baked, {3, 3, 6}, {11, 9, 2}, {}));
}

TEST(OcclusionQuery, EveryOccludingTriangleGivesItsOwnInterval) {
    MeshData twice = LevelTriangle();
    twice.append(test_support::Flipped(LevelTriangle()));
    const BakedMeshes scene({twice, LevelTriangle()});
    EXPECT_EQ(Query(scene.baked, {0, 4, 9}, {12, 4, 9}).size(), 3U);
}

TEST(OcclusionQuery, AppendsAndNeverClears) {
    const BakedMeshes scene({LevelTriangle()});
    Intervals intervals = {Range(7, 8, 8, 8)};
    scene.baked.computeOcclusionIntervals({0, 4, 9}, {12, 4, 9}, intervals);
    scene.baked.computeOcclusionIntervals({0, 4, 4}, {12, 4, 4}, intervals);
    ASSERT_EQ(intervals.size(), 2U);
    EXPECT_TRUE(SameForm(intervals[0], Range(7, 8, 8, 8)));
}

TEST(OcclusionQuery, NoTrianglesHideNothing) {
    const BakedMeshes scene({});
    EXPECT_TRUE(Hides(scene.baked, {0, 0, 0}, {14, 14, 14}, {}));
    EXPECT_TRUE(Hides(BakedTriangles(), {0, 0, 0}, {14, 14, 14}, {}));
}

TEST(OcclusionQuery, APointIsHiddenOrVisibleAsAWhole) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {4, 4, 9}, {4, 4, 9}, {Range(0, 1, 1, 1)}));
    EXPECT_TRUE(Hides(scene.baked, {4, 4, 5}, {4, 4, 5}, {}));
    EXPECT_TRUE(Hides(scene.baked, {11, 4, 9}, {11, 4, 9}, {}));
}

TEST(OcclusionQuery, AnEdgeAlongTheViewIsHiddenFromThePlaneOn) {
    const BakedMeshes scene({LevelTriangle()});
    EXPECT_TRUE(Hides(scene.baked, {4, 4, 1}, {4, 4, 9}, {Range(256, 512, 1, 1)}));
}

// --- under trees of our own ---

kx::kxBBox BoxOf(const BakedVertex& a, const BakedVertex& b) {
    const auto low = [](std::int32_t p, std::int32_t q) {
        return static_cast<float>(std::min(p, q));
    };
    const auto high = [](std::int32_t p, std::int32_t q) {
        return static_cast<float>(std::max(p, q));
    };
    return {{low(a.x, b.x), low(a.y, b.y), low(a.z, b.z)},
            {high(a.x, b.x), high(a.y, b.y), high(a.z, b.z)}};
}

const BakedVertex kFrom = {0, 4, 7};
const BakedVertex kTo = {12, 4, 9};

// Whether the root is visited when its box is moved to the given bounds. The triangle itself hides
// a part of the edge from kFrom to kTo in any case.
bool IsVisited(const kx::kxBBox& nodeBox) {
    BakedMeshes scene({LevelTriangle()});
    scene.baked.bvh.nodes.at(0).box = nodeBox;
    return !Query(scene.baked, kFrom, kTo).empty();
}

TEST(OcclusionHierarchy, NodesThatTouchTheEdgesBoxOnScreenAreVisited) {
    EXPECT_TRUE(IsVisited({{12, 4, 0}, {20, 9, 5}}));
    EXPECT_TRUE(IsVisited({{-5, 0, 0}, {0, 4, 5}}));
}

TEST(OcclusionHierarchy, NodesBesideTheEdgesBoxArePruned) {
    EXPECT_FALSE(IsVisited({{12.5F, 0, 0}, {20, 9, 5}}));
    EXPECT_FALSE(IsVisited({{-5, 0, 0}, {-0.5F, 9, 5}}));
    EXPECT_FALSE(IsVisited({{0, 4.5F, 0}, {20, 9, 5}}));
    EXPECT_FALSE(IsVisited({{0, 0, 0}, {20, 3.5F, 5}}));
}

TEST(OcclusionHierarchy, ANodeThatStartsAtTheEdgesFarthestDepthIsPruned) {
    EXPECT_FALSE(IsVisited({{0, 0, 9}, {20, 9, 20}}));
    EXPECT_FALSE(IsVisited({{0, 0, 9.5F}, {20, 9, 20}}));
    EXPECT_TRUE(IsVisited({{0, 0, 8.5F}, {20, 9, 20}}));
}

TEST(OcclusionHierarchy, ANodeWhollyBeforeTheEdgeIsVisited) {
    EXPECT_TRUE(IsVisited({{0, 0, -9}, {20, 9, -5}}));
    EXPECT_TRUE(IsVisited({{0, 0, 0}, {20, 9, 6.5F}}));
}

TEST(OcclusionHierarchy, AnEmptyBoxIsPruned) {
    EXPECT_FALSE(IsVisited(kx::kxBBox()));
}

TEST(OcclusionHierarchy, TheStepUsesTheBoxItIsGiven) {
    const BakedMeshes scene({LevelTriangle()});
    Intervals intervals;
    scene.baked.computeOcclusionIntervalsIter(0, kFrom, kTo, {{11, 0, 0}, {14, 14, 14}}, intervals);
    EXPECT_TRUE(intervals.empty());
    scene.baked.computeOcclusionIntervalsIter(0, kFrom, kTo, BoxOf(kFrom, kTo), intervals);
    EXPECT_EQ(intervals.size(), 1U);
}

// Triangles at 4 places along an edge, so that intervals show the order of tests: triangle i hides
// [i/4, (i + 1)/4] of the edge from (0, 6) to (12, 6).
constexpr int kPlaces = 4;
const BakedVertex kRowStart = {0, 6, 9};
const BakedVertex kRowEnd = {12, 6, 9};

MeshData RowOfTriangles() {
    MeshData row;
    for (int i = 0; i < kPlaces; ++i) {
        const auto x = static_cast<float>(3 * i);
        row.append(Triangle(Point(x, 6, 5), Point(x + 3, 6, 5), Point(x, 9, 5)));
    }
    return row;
}

constexpr unsigned int kLeaf = 0xc0000000U;

kx::kxGenericBVH::Node Node(unsigned int first, unsigned int second) {
    kx::kxGenericBVH::Node node;
    node.first = first;
    node.second = second;
    return node;
}

// Which triangles were tested, in order.
std::vector<int> Visits(const Intervals& intervals) {
    std::vector<int> visits;
    for (const auto& interval : intervals) {
        for (int i = 0; i < kPlaces; ++i) {
            if (SameValue(interval, Range(i, kPlaces, i + 1, kPlaces))) {
                visits.push_back(i);
            }
        }
    }
    return visits;
}

// Nodes 0, 1 and 3 are inner ones. A leaf needs both top bits of its first word; the spare bits of
// the words are set where they must not matter.
void PutTreeOverRow(BakedTriangles& baked) {
    baked.bvh.primitives = {3, 1, 0, 2};
    baked.bvh.nodes = {Node(0x80000000U | 3U, 0xf0000000U | 1U),
                       Node(0x40000000U | 2U, 4U),
                       Node(kLeaf, 1),
                       Node(5, 0x10000000U | 6U),
                       Node(kLeaf | 1U, 1),
                       Node(kLeaf | 2U, 2),
                       Node(kLeaf, 0)};
    baked.computeBakedBVHBBox(0);
}

TEST(OcclusionHierarchy, WalksDepthFirstWithTheFirstChildFirst) {
    BakedMeshes scene({RowOfTriangles()});
    PutTreeOverRow(scene.baked);
    // Node 3 first: slots 2 and 3 of its leaf, then the empty leaf; then node 1: slot 0, slot 1.
    EXPECT_EQ(Visits(Query(scene.baked, kRowStart, kRowEnd)), (std::vector<int>{0, 2, 3, 1}));
}

TEST(OcclusionHierarchy, TheSecondChildIsPrunedByTheSameRules) {
    BakedMeshes scene({RowOfTriangles()});
    PutTreeOverRow(scene.baked);
    scene.baked.bvh.nodes[1].box.min[2] = 9;
    EXPECT_EQ(Visits(Query(scene.baked, kRowStart, kRowEnd)), (std::vector<int>{0, 2}));
    PutTreeOverRow(scene.baked);
    scene.baked.bvh.nodes[4].box.min[2] = 9;
    EXPECT_EQ(Visits(Query(scene.baked, kRowStart, kRowEnd)), (std::vector<int>{0, 2, 3}));
}

TEST(OcclusionHierarchy, TheWalkMayStartAtAnyNode) {
    BakedMeshes scene({RowOfTriangles()});
    PutTreeOverRow(scene.baked);
    Intervals intervals;
    scene.baked.computeOcclusionIntervalsIter(1, kRowStart, kRowEnd, BoxOf(kRowStart, kRowEnd),
                                              intervals);
    EXPECT_EQ(Visits(intervals), (std::vector<int>{3, 1}));
}

TEST(OcclusionHierarchy, TheBuiltTreeFindsWhatOneLeafOfAllFinds) {
    const auto height = [](int x, int y) { return static_cast<float>((x * 5 + y * 3) % 11); };
    BakedMeshes scene({test_support::GridOfQuads(14, 14, height)});
    BakedTriangles flat = scene.baked;
    const auto count = static_cast<unsigned int>(flat.trianglePlanes.size());
    ASSERT_GT(flat.bvh.nodes.size(), 30U);
    flat.bvh.nodes = {Node(kLeaf, count)};
    flat.computeBakedBVHBBox(0);
    int hidden = 0;
    for (int trial = 0; trial < Scaled(500); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const BakedVertex a = {random.below(15), random.below(15), random.below(15)};
        const BakedVertex b = {random.below(15), random.below(15), random.below(15)};
        Intervals expected = Query(flat, a, b);
        Intervals found = Query(scene.baked, a, b);
        test_support::SortByValue(expected);
        test_support::SortByValue(found);
        ASSERT_TRUE(SameForm(found, expected)) << "trial " << trial;
        hidden += static_cast<int>(found.size());
    }
    EXPECT_GT(hidden, Scaled(500));
}

// --- concurrency ---

TEST(OcclusionQuery, ThreadsGetTheSameIntervals) {
    const auto height = [](int x, int y) { return static_cast<float>((x * 5 + y * 3) % 11); };
    const BakedMeshes scene({test_support::GridOfQuads(14, 14, height), LevelTriangle()});
    std::vector<std::pair<BakedVertex, BakedVertex>> edges;
    Random random(1);
    for (int i = 0; i < 300; ++i) {
        const BakedVertex from = {random.below(15), random.below(15), random.below(15)};
        edges.push_back({from, {random.below(15), random.below(15), random.below(15)}});
    }
    const auto queryAll = [&](std::vector<Intervals>& results) {
        for (const auto& [a, b] : edges) {
            results.push_back(Query(scene.baked, a, b));
        }
    };
    std::vector<std::vector<Intervals>> results(5);
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < results.size(); ++i) {
        threads.emplace_back(queryAll, std::ref(results[i]));
    }
    queryAll(results[0]);
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const auto& perThread : results) {
        ASSERT_TRUE(std::equal(perThread.begin(), perThread.end(), results[0].begin(),
                               results[0].end(),
                               [](const auto& x, const auto& y) { return SameForm(x, y); }));
    }
}

// --- random scenes ---

struct OcclusionCounts {
    int edges = 0;
    int hiddenRanges = 0;
    int partlyHidden = 0; // edges
    int severalParts = 0; // edges with more than one hidden part after fusing
    int fused = 0;        // ranges that fusing joined to others
    int touches = 0;
    int alongSides = 0;
    int inPlanes = 0;
    int crossed = 0;
    int ofClipped = 0; // scenes with clipped triangles that hide something
};

void Count(OcclusionCounts& counts,
           const ExactBaked& exact,
           const GridEdge& edge,
           const Intervals& fused) {
    int ranges = 0;
    for (std::size_t i = 0; i < exact.triangles.size(); ++i) {
        const auto met = test_support::Meet(exact.corners(i), edge.first, edge.second);
        ranges += met.hidden ? 1 : 0;
        counts.touches += met.touches ? 1 : 0;
        counts.alongSides += met.alongSide ? 1 : 0;
        counts.inPlanes += met.inPlane ? 1 : 0;
        counts.crossed += met.crosses ? 1 : 0;
    }
    ++counts.edges;
    counts.hiddenRanges += ranges;
    counts.fused += ranges - static_cast<int>(fused.size());
    counts.severalParts += fused.size() > 1 ? 1 : 0;
    const bool whole = fused.size() == 1 && SameValue(fused[0], Range(0, 1, 1, 1));
    counts.partlyHidden += !fused.empty() && !whole ? 1 : 0;
    counts.ofClipped += exact.trianglesClipped > 0 && ranges > 0 ? 1 : 0;
}

std::string Explain(const BakedScene& test, const GridEdge& edge) {
    std::ostringstream text;
    for (const BakedVertex& end : {edge.first, edge.second}) {
        text << '(' << end.x << ' ' << end.y << ' ' << end.z << ") ";
    }
    text << "is the edge in " << test_support::Describe(test.scene)
         << test_support::Drawing(test.exact, edge.first, edge.second);
    return text.str();
}

Intervals Fused(Intervals ranges) {
    ctr::IntervalTools::FuseOverlappingIntervals(ranges);
    return ranges;
}

GridEdge AnyEdge(Random& random, const BakedScene& test) {
    const GridEdge edge = test_support::RandomGridEdge(random, test.scene, test.exact);
    if (random.percent(20)) {
        if (const auto ends = test_support::RandomWorldEdge(random, test.scene)) {
            return ClippedEdge(test.scene, *ends, edge);
        }
    }
    return edge;
}

void CheckRandomScene(OcclusionCounts& counts, const BakedScene& test, int edges, bool points) {
    Random random(~test.scene.seed);
    for (int i = 0; i < edges; ++i) {
        const GridEdge edge = AnyEdge(random, test);
        ASSERT_EQ(CompareOcclusion(test, edge), "") << Explain(test, edge);
        if (points) {
            ASSERT_EQ(CompareHiddenPoints(test, edge), "") << Explain(test, edge);
        }
        Count(counts, test.exact, edge, Fused(Query(test.baked, edge.first, edge.second)));
    }
}

void Record(const OcclusionCounts& counts) {
    testing::Test::RecordProperty("edges", counts.edges);
    testing::Test::RecordProperty("hidden_ranges", counts.hiddenRanges);
    testing::Test::RecordProperty("edges_partly_hidden", counts.partlyHidden);
    testing::Test::RecordProperty("edges_with_several_parts", counts.severalParts);
    testing::Test::RecordProperty("ranges_fused", counts.fused);
    testing::Test::RecordProperty("touches_in_a_point", counts.touches);
    testing::Test::RecordProperty("edges_along_sides", counts.alongSides);
    testing::Test::RecordProperty("edges_in_planes", counts.inPlanes);
    testing::Test::RecordProperty("planes_crossed", counts.crossed);
    testing::Test::RecordProperty("hidden_by_clipped", counts.ofClipped);
}

TEST(OcclusionQuery, RandomScenesAgreeWithBruteForce) {
    const int scenes = Scaled(20000);
    OcclusionCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        const BakedScene test(test_support::RandomScene(static_cast<std::uint64_t>(seed)));
        CheckRandomScene(counts, test, 16, true);
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
    Record(counts);
    EXPECT_EQ(counts.edges, scenes * 16);
    EXPECT_GT(counts.hiddenRanges, scenes * 4);
    EXPECT_GT(counts.partlyHidden, scenes * 2);
    EXPECT_GT(counts.severalParts, scenes / 10);
    EXPECT_GT(counts.fused, scenes);
    EXPECT_GT(counts.touches, scenes * 4);
    EXPECT_GT(counts.alongSides, scenes * 4);
    EXPECT_GT(counts.inPlanes, scenes * 4);
    EXPECT_GT(counts.crossed, scenes / 2);
    EXPECT_GT(counts.ofClipped, scenes / 2);
}

// Sides and distances come close to 64 bits here.
TEST(OcclusionQuery, RandomScenesAgreeWithBruteForceOnFineGrids) {
    constexpr unsigned int kBits[][2] = {{20, 19}, {28, 3}, {15, 29}, {2, 30}, {24, 11}};
    const int scenes = Scaled(4000);
    OcclusionCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        Scene scene = test_support::RandomScene(static_cast<std::uint64_t>(seed));
        ASSERT_TRUE(scene.space.setVoxelBitSize(kBits[seed % 5][0], kBits[seed % 5][1]));
        CheckRandomScene(counts, BakedScene(std::move(scene)), 16, false);
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
    Record(counts);
    EXPECT_GT(counts.hiddenRanges, scenes * 4);
    EXPECT_GT(counts.crossed, scenes / 2);
    EXPECT_GT(counts.inPlanes, scenes * 4);
}

} // namespace
