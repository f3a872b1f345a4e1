// The lines along which triangles intersect: by hand on small grids, at the corners of the
// finest grid, under other trees and orders, and against brute force on random scenes.
#include <ctr/TrianglesIntersection.h>

#include <kxSystem/kxProgressNotifierInterface.h>

#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"
#include "support/ExactIntersections.h"
#include "support/RandomScenes.h"
#include "support/SceneAgreement.h"
#include "visibility/GridTriangles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using ctr::TrianglesIntersection;
using test_support::Bake;
using test_support::BakedMeshes;
using test_support::EndsOf;
using test_support::GridPiece;
using test_support::GridTriangle;
using test_support::InOrder;
using test_support::IntersectionCounts;
using test_support::LatticeSpace;
using test_support::MeshData;
using test_support::OnTheGrid;
using test_support::Point;
using test_support::PutInOneLeaf;
using test_support::PutInSingleLeaves;
using test_support::Random;
using test_support::Scaled;
using test_support::Scene;
using test_support::SegmentBits;
using test_support::SetPointer;
using test_support::Shuffled;
using test_support::SortedBits;
using test_support::SortedWorldBits;
using test_support::Triangle;
using test_support::TurnCounterClockwise;
using test_support::VisibleIntersections;

SetPointer IntersectionsOf(const BakedTriangles& baked) {
    return SetPointer(TrianglesIntersection(baked).computeIntersectionEdges());
}

std::vector<SegmentBits> Expected(const BakedTriangles& baked, IntersectionCounts& counts) {
    return SortedWorldBits(*baked.projectionSpace, VisibleIntersections(baked, counts));
}

std::vector<SegmentBits> Expected(const BakedTriangles& baked) {
    IntersectionCounts counts;
    return Expected(baked, counts);
}

// --- by hand ---

// Level at z = 4, over the middle of the grid.
MeshData Level() {
    return Triangle(Point(0, 0, 4), Point(14, 0, 4), Point(0, 14, 4));
}

// Falls with x from z = 0 to z = 8 and so intersects the level one along x = 4.
MeshData Slope() {
    return Triangle(Point(0, 1, 0), Point(8, 1, 8), Point(0, 5, 0));
}

TEST(TrianglesIntersection, AnEdgeWithoutOccluderIsOneSegmentFromEndToEnd) {
    const BakedMeshes scene({Level(), Slope()});
    const SetPointer set = IntersectionsOf(scene.baked);
    ASSERT_TRUE(set);
    const auto ends = EndsOf(*set);
    ASSERT_EQ(ends.size(), 1U);
    const GridPiece along{{4, 1, 4}, {4, 3, 4}};
    const GridPiece back{along.second, along.first};
    const auto found = SortedBits(set);
    EXPECT_TRUE(found == SortedWorldBits(scene.space, {along}) ||
                found == SortedWorldBits(scene.space, {back}));
    EXPECT_EQ(found, Expected(scene.baked));
}

TEST(TrianglesIntersection, SegmentsHaveVerticesOfTheirOwnAndNoRecords) {
    const BakedMeshes scene({Level(), Slope(), Triangle({6, 1, 8}, {10, 1, 0}, {6, 3, 8})});
    const SetPointer set = IntersectionsOf(scene.baked);
    ASSERT_TRUE(set);
    const std::vector<unsigned int> indices = test_support::IndicesOf(*set);
    ASSERT_GE(indices.size(), 4U);
    for (std::size_t i = 0; i < indices.size(); ++i) {
        EXPECT_EQ(indices[i], i);
    }
    EXPECT_EQ(set->GetVertexBuffer()->GetVertexQuantity(), static_cast<int>(indices.size()));
    EXPECT_EQ(set->GetIndexBuffer()->GetIndexBufferType(), kx::IBT_LINES);
    EXPECT_TRUE(set->segmentFlags.empty());
    EXPECT_TRUE(set->occlusionIntervals.empty());
    EXPECT_TRUE(set->clipRanges.empty());
}

TEST(TrianglesIntersection, NothingBakedGivesNull) {
    const BakedMeshes scene({});
    EXPECT_FALSE(IntersectionsOf(scene.baked));
}

TEST(TrianglesIntersection, WithoutATreeGivesNull) {
    BakedMeshes scene({Level(), Triangle({2, 2, 0}, {2, 2, 9}, {6, 2, 4})});
    scene.baked.bvh.nodes.clear();
    EXPECT_FALSE(IntersectionsOf(scene.baked));
}

TEST(TrianglesIntersection, NoIntersectingPairGivesNull) {
    const BakedMeshes scene({Level(), Triangle({0, 0, 6}, {8, 0, 10}, {0, 8, 6})});
    EXPECT_FALSE(IntersectionsOf(scene.baked));
}

TEST(TrianglesIntersection, TrianglesThatBendAlongASharedEdgeGiveNone) {
    MeshData roof;
    roof.addVertex({4, 0, 2});
    roof.addVertex({4, 8, 2});
    roof.addVertex({0, 4, 6});
    roof.addVertex({8, 4, 6});
    roof.addTriangle(0, 1, 2);
    roof.addTriangle(0, 3, 1);
    EXPECT_FALSE(IntersectionsOf(BakedMeshes({roof}).baked));
}

TEST(TrianglesIntersection, CoplanarAndParallelTrianglesGiveNone) {
    EXPECT_FALSE(
        IntersectionsOf(BakedMeshes({Level(), Triangle({2, 2, 4}, {14, 2, 4}, {2, 14, 4})}).baked));
    EXPECT_FALSE(IntersectionsOf(BakedMeshes({Slope(), Slope()}).baked));
    EXPECT_FALSE(
        IntersectionsOf(BakedMeshes({Slope(), Triangle({2, 0, 2}, {7, 0, 7}, {2, 6, 2})}).baked));
    EXPECT_FALSE(
        IntersectionsOf(BakedMeshes({Slope(), Triangle({0, 1, 1}, {8, 1, 9}, {0, 5, 1})}).baked));
}

TEST(TrianglesIntersection, TouchingWithACornerOrASideGivesNone) {
    const MeshData corner = Triangle({2, 2, 4}, {3, 5, 8}, {5, 2, 8});
    const MeshData side = Triangle({2, 2, 4}, {5, 2, 4}, {3, 5, 8});
    EXPECT_FALSE(IntersectionsOf(BakedMeshes({Level(), corner}).baked));
    EXPECT_FALSE(IntersectionsOf(BakedMeshes({Level(), side}).baked));
}

// The spans end at the same point of the common line: (4, 3, 4).
TEST(TrianglesIntersection, SpansThatOnlyTouchGiveNone) {
    const BakedMeshes scene({Slope(), Triangle({4, 3, 4}, {12, 3, 4}, {4, 11, 4})});
    IntersectionCounts counts;
    EXPECT_TRUE(Expected(scene.baked, counts).empty());
    EXPECT_EQ(counts.straddling, 0);
    EXPECT_FALSE(IntersectionsOf(scene.baked));
}

// The corner (2, 2, 4) lies in the level plane, the two others on its two sides.
TEST(TrianglesIntersection, ACornerInThePlaneIsOneEndOfThePiece) {
    const BakedMeshes scene({Level(), Triangle({2, 2, 4}, {6, 2, 2}, {6, 4, 6})});
    IntersectionCounts counts;
    const auto expected = Expected(scene.baked, counts);
    EXPECT_EQ(counts.intersections, 1);
    EXPECT_EQ(counts.throughCorners, 1);
    EXPECT_EQ(SortedBits(IntersectionsOf(scene.baked)), expected);
    const GridPiece along{{2, 2, 4}, {6, 3, 4}};
    EXPECT_TRUE(expected == SortedWorldBits(scene.space, {along}) ||
                expected == SortedWorldBits(scene.space, {{along.second, along.first}}));
}

// Two needles that cross within one column, steep enough to differ in depth there.
TEST(TrianglesIntersection, APieceInOneColumnIsDroppedWhateverItsDepth) {
    const ctr::DiscreteProjectionSpace space = LatticeSpace(4, 6);
    Random random(3);
    int dropped = 0;
    int deep = 0;
    for (int trial = 0; trial < 20000; ++trial) {
        std::vector<GridTriangle> triangles(2);
        bool usable = true;
        for (GridTriangle& t : triangles) {
            for (BakedVertex& v : t) {
                v = {random.below(3), random.below(3), random.below(60)};
            }
            usable = TurnCounterClockwise(t) && usable;
        }
        if (!usable) {
            continue;
        }
        const BakedTriangles baked = OnTheGrid(space, triangles);
        IntersectionCounts counts;
        const auto intersection = test_support::IntersectionOf(baked, 0, 1, counts);
        if (!intersection || intersection->first.point.x != intersection->second.point.x ||
            intersection->first.point.y != intersection->second.point.y) {
            continue;
        }
        ++dropped;
        deep += intersection->first.point.z != intersection->second.point.z ? 1 : 0;
        ASSERT_FALSE(IntersectionsOf(baked)) << "trial " << trial;
    }
    EXPECT_GT(dropped, 100);
    EXPECT_GT(deep, 50);
}

TEST(TrianglesIntersection, PartsBehindAnotherTriangleAreRemoved) {
    const BakedMeshes scene({Triangle({0, 0, 8}, {14, 0, 8}, {0, 14, 8}),
                             Triangle({0, 2, 2}, {12, 2, 14}, {0, 10, 2}),
                             Triangle({5, 3, 1}, {9, 3, 1}, {5, 4, 1})});
    IntersectionCounts counts;
    const auto expected = Expected(scene.baked, counts);
    EXPECT_EQ(counts.intersections, 1);
    EXPECT_EQ(counts.hiddenRanges, 1);
    EXPECT_EQ(expected.size(), 2U);
    EXPECT_EQ(SortedBits(IntersectionsOf(scene.baked)), expected);
}

TEST(TrianglesIntersection, WhollyCoveredGivesNull) {
    const BakedMeshes scene({Triangle({0, 0, 8}, {8, 0, 8}, {0, 8, 8}),
                             Triangle({0, 1, 4}, {6, 1, 12}, {0, 4, 4}),
                             Triangle({0, 0, 1}, {14, 0, 1}, {0, 14, 1})});
    IntersectionCounts counts;
    EXPECT_TRUE(Expected(scene.baked, counts).empty());
    EXPECT_EQ(counts.intersections, 1);
    EXPECT_FALSE(IntersectionsOf(scene.baked));
}

// Along the outline of the nearer triangle (its side x = 6), a line is not within it.
TEST(TrianglesIntersection, ALineAlongTheOutlineOfANearerTriangleIsVisible) {
    const std::vector<MeshData> crossing{Triangle({0, 0, 8}, {14, 0, 8}, {0, 14, 8}),
                                         Triangle({2, 2, 4}, {10, 2, 12}, {2, 8, 4})};
    const BakedMeshes alone(crossing);
    std::vector<MeshData> covered = crossing;
    covered.push_back(Triangle({6, 0, 1}, {12, 0, 1}, {6, 12, 1}));
    const BakedMeshes scene(covered);
    const auto whole = SortedBits(IntersectionsOf(alone.baked));
    ASSERT_EQ(whole.size(), 1U);
    EXPECT_EQ(SortedBits(IntersectionsOf(scene.baked)), whole);
}

TEST(TrianglesIntersection, TrianglesOfOneMeshAndOfSeveralAreTreatedAlike) {
    MeshData one = Level();
    one.append(Slope());
    const BakedMeshes joined({one});
    const BakedMeshes apart({Level(), Slope()});
    EXPECT_EQ(SortedBits(IntersectionsOf(joined.baked)), SortedBits(IntersectionsOf(apart.baked)));
}

TEST(TrianglesIntersection, GivesHiddenPiecesOnlyToWhoAsksForThem) {
    const std::vector<MeshData> crossing{Triangle({0, 0, 80}, {80, 0, 80}, {0, 80, 80}),
                                         Triangle({0, 10, 40}, {60, 10, 120}, {0, 40, 40})};
    std::vector<MeshData> covered = crossing;
    covered.push_back(Triangle({0, 0, 10}, {140, 0, 10}, {0, 140, 10}));
    const BakedMeshes open(crossing, LatticeSpace(8, 8));
    const BakedMeshes scene(covered, LatticeSpace(8, 8));
    SetPointer hidden;
    EXPECT_FALSE(SetPointer(TrianglesIntersection(scene.baked).computeIntersectionEdges(&hidden)));
    EXPECT_EQ(SortedBits(hidden), SortedBits(IntersectionsOf(open.baked)));
    const SetPointer visible(TrianglesIntersection(open.baked).computeIntersectionEdges(&hidden));
    EXPECT_TRUE(visible);
    EXPECT_FALSE(hidden) << "what was there before is gone";
}

TEST(TrianglesIntersection, OmitsOccludedIntersectionsOfCoplanarFaces) {
    const auto hiddenIntersections = [](float step) {
        const BakedMeshes scene(
            {Triangle({0, 0, 800}, {800, 0, 800}, {0, 800, 800}),
             Triangle({0, 100, 800 - step}, {600, 100, 800 + step}, {0, 400, 800}),
             Triangle({0, 0, 100}, {1400, 0, 100}, {0, 1400, 100})},
            LatticeSpace(11, 11));
        SetPointer hidden;
        const SetPointer visible(
            TrianglesIntersection(scene.baked).computeIntersectionEdges(&hidden));
        EXPECT_FALSE(visible);
        return SortedBits(hidden).size();
    };
    EXPECT_EQ(hiddenIntersections(16), 0U);
    EXPECT_EQ(hiddenIntersections(100), 1U);
}

TEST(TrianglesIntersection, ComputesTheSameAgain) {
    const BakedMeshes scene({Level(), Slope()});
    const TrianglesIntersection intersection(scene.baked);
    const SetPointer first(intersection.computeIntersectionEdges());
    const SetPointer second(intersection.computeIntersectionEdges());
    EXPECT_EQ(SortedBits(first), SortedBits(second));
    EXPECT_FALSE(SortedBits(first).empty());
}

// --- progress and cancellation ---

class Recorder : public kx::kxProgressNotifierInterface {
public:
    Recorder(double total, long stopAt, bool once = false)
        : stopAt_(stopAt), once_(once), total_(total) {}
    bool isCanceled() const override {
        ++polls_;
        return once_ ? polls_ == stopAt_ : polls_ >= stopAt_;
    }
    void setTotal(double steps) override { total_ = steps; }
    void getRange(double& start, double& end) const override {
        start = done_;
        end = total_;
    }
    void advance(double steps) override {
        EXPECT_GE(steps, 0.0);
        done_ += steps;
        most_ = std::max(most_, done_ / total_);
    }
    long polls() const { return polls_; }
    double done() const { return done_; }
    double most() const { return most_; }

private:
    long stopAt_;
    bool once_;
    mutable long polls_ = 0;
    double total_;
    double done_ = 0.0;
    double most_ = 0.0;
};

// Slopes that intersect a level plate: some intersections, all visible.
struct Comb {
    Comb() {
        std::vector<MeshData> data{Triangle({0, 0, 8}, {30, 0, 8}, {0, 30, 8})};
        for (int i = 0; i < 4; ++i) {
            const auto x = static_cast<float>(4 * i);
            data.push_back(Triangle({x, 2, 4}, {x + 4, 2, 14}, {x, 9, 4}));
        }
        scene = std::make_unique<BakedMeshes>(data, LatticeSpace(5, 5));
        VisibleIntersections(scene->baked, counts);
    }
    long triangles() const { return static_cast<long>(scene->baked.trianglePlanes.size()); }
    long intersections() const { return counts.intersections; }

    std::unique_ptr<BakedMeshes> scene;
    IntersectionCounts counts;
};

SetPointer Watched(const Comb& comb, Recorder& recorder) {
    TrianglesIntersection intersection(comb.scene->baked);
    intersection.setProgressNotifier(&recorder);
    return SetPointer(intersection.computeIntersectionEdges());
}

TEST(IntersectionProgress, AsksOnceATriangleOnceAnEdgeAndOnceAfterEachPart) {
    const Comb comb;
    ASSERT_GE(comb.intersections(), 4);
    Recorder recorder(100.0, test_support::kNever);
    EXPECT_TRUE(Watched(comb, recorder));
    EXPECT_EQ(recorder.polls(), comb.triangles() + 1 + comb.intersections() + 1);
}

TEST(IntersectionProgress, EndsExactlyAtTheTotalAndNeverPassesIt) {
    const Comb comb;
    for (const double total : {2.0 * static_cast<double>(comb.triangles()), 101.0, 333333.0}) {
        Recorder recorder(total, test_support::kNever);
        Watched(comb, recorder);
        EXPECT_EQ(recorder.done(), total);
        EXPECT_LE(recorder.most(), 1.0);
    }
}

TEST(IntersectionProgress, WithoutEdgesEndsExactlyAtTheTotal) {
    const BakedMeshes scene({Level(), Triangle({0, 0, 6}, {8, 0, 10}, {0, 8, 6})});
    Recorder recorder(100.0, test_support::kNever);
    TrianglesIntersection intersection(scene.baked);
    intersection.setProgressNotifier(&recorder);
    EXPECT_EQ(intersection.computeIntersectionEdges(), nullptr);
    EXPECT_EQ(recorder.done(), 100.0);
    EXPECT_EQ(recorder.polls(), 2 + 1);
}

TEST(IntersectionCancellation, AtEveryQuestionGivesNullAndStopsThere) {
    const Comb comb;
    const long last = comb.triangles() + 1 + comb.intersections() + 1;
    for (long n = 1; n <= last; ++n) {
        Recorder recorder(100.0, n);
        EXPECT_FALSE(Watched(comb, recorder)) << "question " << n;
        // The check after the part that was stopped polls once more.
        EXPECT_LE(recorder.polls(), n + 1) << "question " << n;
    }
    Recorder late(100.0, last + 1);
    EXPECT_TRUE(Watched(comb, late));
}

// A host that takes its wish back: what was found before the stop is what is given.
TEST(IntersectionCancellation, TakenBackGivesThePiecesOfTheEdgesVisitedBefore) {
    const Comb comb;
    Recorder free(100.0, test_support::kNever);
    const auto all = SortedBits(Watched(comb, free));
    ASSERT_EQ(all.size(), static_cast<std::size_t>(comb.intersections())); // one piece an edge
    for (long edge = 0; edge < comb.intersections(); ++edge) {
        Recorder recorder(100.0, comb.triangles() + 1 + edge + 1, true);
        const auto some = SortedBits(Watched(comb, recorder));
        EXPECT_EQ(some.size(), static_cast<std::size_t>(edge));
        EXPECT_TRUE(std::includes(all.begin(), all.end(), some.begin(), some.end()));
    }
}

TEST(IntersectionCancellation, ANullNotifierSwitchesItOff) {
    const Comb comb;
    Recorder recorder(100.0, 1);
    TrianglesIntersection intersection(comb.scene->baked);
    intersection.setProgressNotifier(&recorder);
    intersection.setProgressNotifier(nullptr);
    EXPECT_TRUE(SetPointer(intersection.computeIntersectionEdges()));
    EXPECT_EQ(recorder.polls(), 0);
}

// --- corners of the finest grids ---

GridTriangle CornerTriangle(Random& random, std::int32_t across, std::int32_t deep, int nearby) {
    GridTriangle t{};
    do {
        for (BakedVertex& v : t) {
            const auto end = [&](std::int32_t most) {
                const std::int32_t inset = random.below(nearby + 1);
                return random.percent(50) ? inset : most - inset;
            };
            v.x = end(across);
            v.y = end(across);
            v.z = end(deep);
        }
    } while (!TurnCounterClockwise(t));
    return t;
}

void CheckCorners(const ctr::DiscreteProjectionSpace& space, int scenes) {
    const std::int32_t across = (1 << space.xyBits) - 1;
    const std::int32_t deep = (1 << space.zBits) - 1;
    IntersectionCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        std::vector<GridTriangle> triangles;
        for (int i = random.between(2, 7); i > 0; --i) {
            triangles.push_back(CornerTriangle(random, across, deep, random.percent(50) ? 0 : 3));
        }
        const BakedTriangles baked = OnTheGrid(space, triangles);
        ASSERT_EQ(CompareIntersections(baked, counts), "") << "seed " << seed;
    }
    EXPECT_GT(counts.intersections, scenes / 4);
    EXPECT_GT(counts.hiddenRanges, scenes / 4);
    EXPECT_EQ(counts.atOwnTriangle, 0);
}

TEST(TrianglesIntersection, TrianglesFromCornerToCornerOfTheFinestGridOfTheSetter) {
    ctr::DiscreteProjectionSpace space = LatticeSpace(5, 5);
    ASSERT_TRUE(space.setVoxelBitSize(20, 19));
    CheckCorners(space, Scaled(3000));
}

TEST(TrianglesIntersection, TrianglesFromCornerToCornerOfTheDefaultGrid) {
    const ctr::DiscreteProjectionSpace space;
    ASSERT_EQ(space.xyBits, 20U);
    ASSERT_EQ(space.zBits, 20U);
    CheckCorners(space, Scaled(3000));
}

// --- random scenes ---

void Record(const IntersectionCounts& counts) {
    testing::Test::RecordProperty("pairs", counts.pairs);
    testing::Test::RecordProperty("parallel", counts.parallel);
    testing::Test::RecordProperty("touching", counts.touching);
    testing::Test::RecordProperty("through_corners", counts.throughCorners);
    testing::Test::RecordProperty("straddling", counts.straddling);
    testing::Test::RecordProperty("in_one_column", counts.inOneColumn);
    testing::Test::RecordProperty("apart", counts.apart);
    testing::Test::RecordProperty("ties", counts.ties);
    testing::Test::RecordProperty("intersections", counts.intersections);
    testing::Test::RecordProperty("hidden_ranges", counts.hiddenRanges);
    testing::Test::RecordProperty("partly_hidden", counts.partlyHidden);
    testing::Test::RecordProperty("pieces_dropped", counts.piecesDropped);
    testing::Test::RecordProperty("pieces", counts.pieces);
}

TEST(TrianglesIntersection, RandomScenesAgreeWithBruteForce) {
    const int scenes = Scaled(20000);
    IntersectionCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        const Scene scene = test_support::RandomScene(static_cast<std::uint64_t>(seed));
        const BakedTriangles baked = Bake(scene.space, scene.meshList());
        ASSERT_EQ(CompareIntersections(baked, counts), "") << test_support::Describe(scene);
    }
    Record(counts);
    EXPECT_GT(counts.intersections, scenes);
    EXPECT_GT(counts.ties, scenes / 2);
    EXPECT_GT(counts.hiddenRanges, scenes / 2);
    EXPECT_GT(counts.partlyHidden, scenes / 20);
    EXPECT_GT(counts.piecesDropped, scenes / 20);
    EXPECT_GT(counts.parallel, scenes);
    EXPECT_GT(counts.touching, scenes);
    EXPECT_GT(counts.throughCorners, scenes / 10);
    EXPECT_GT(counts.apart, scenes / 10);
    EXPECT_EQ(counts.atOwnTriangle, 0);
}

TEST(TrianglesIntersection, RandomScenesAgreeWithBruteForceOnFineGrids) {
    constexpr unsigned int kBits[][2] = {{20, 19}, {10, 10}, {28, 3}, {15, 29}};
    const int scenes = Scaled(6000);
    IntersectionCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        Scene scene = test_support::RandomScene(static_cast<std::uint64_t>(seed));
        ASSERT_TRUE(scene.space.setVoxelBitSize(kBits[seed % 4][0], kBits[seed % 4][1]));
        const BakedTriangles baked = Bake(scene.space, scene.meshList());
        ASSERT_EQ(CompareIntersections(baked, counts), "") << test_support::Describe(scene);
    }
    Record(counts);
    EXPECT_GT(counts.intersections, scenes / 2);
    EXPECT_GT(counts.hiddenRanges, scenes / 2);
    EXPECT_EQ(counts.atOwnTriangle, 0);
}

// Many triangles on few points: dense with intersections, ties and needles.
std::vector<GridTriangle> DenseScene(Random& random, int side, int deep) {
    std::vector<GridTriangle> triangles;
    for (int i = random.between(4, 14); i > 0; --i) {
        GridTriangle t{};
        for (BakedVertex& v : t) {
            v = {random.below(side), random.below(side), random.below(deep)};
        }
        if (!triangles.empty() && random.percent(30)) { // a corner shared
            t[0] = triangles[static_cast<std::size_t>(
                random.below(static_cast<int>(triangles.size())))][1];
        }
        if (TurnCounterClockwise(t)) {
            triangles.push_back(t);
        }
    }
    return triangles;
}

TEST(TrianglesIntersection, OverlappingTrianglesGiveTheSameUnderEveryTree) {
    const int scenes = Scaled(6000);
    IntersectionCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        const auto bits = static_cast<unsigned int>(random.between(2, 6));
        const ctr::DiscreteProjectionSpace space = LatticeSpace(bits, 6);
        const auto triangles = DenseScene(random, 1 << bits, 1 << random.between(2, 6));
        BakedTriangles baked = OnTheGrid(space, triangles);
        const auto expected = Expected(baked, counts);
        PutInOneLeaf(baked, Shuffled(random, triangles.size()));
        ASSERT_EQ(SortedBits(IntersectionsOf(baked)), expected) << "one leaf, seed " << seed;
        PutInSingleLeaves(baked, Shuffled(random, triangles.size()));
        ASSERT_EQ(SortedBits(IntersectionsOf(baked)), expected) << "single leaves, seed " << seed;
    }
    Record(counts);
    EXPECT_GT(counts.intersections, scenes * 5);
    EXPECT_GT(counts.ties, scenes * 5);
    EXPECT_GT(counts.hiddenRanges, scenes * 5);
    EXPECT_GT(counts.piecesDropped, scenes / 2);
    EXPECT_GT(counts.throughCorners, scenes / 4);
    EXPECT_EQ(counts.atOwnTriangle, 0);
}

// In this scene rounding lets a triangle two columns away seem to hide some of a line: whether it
// is tested must not depend on the other triangles of its leaf.
TEST(TrianglesIntersection, AHiderBesideTheLineIsLeftOutUnderEveryTree) {
    const Scene scene = test_support::RandomScene(12004);
    BakedTriangles baked = Bake(scene.space, scene.meshList());
    IntersectionCounts counts;
    const auto expected = Expected(baked, counts);
    ASSERT_GT(counts.hiddenFromAfar, 0);
    PutInOneLeaf(baked, InOrder(baked.trianglePlanes.size()));
    EXPECT_EQ(SortedBits(IntersectionsOf(baked)), expected);
    PutInSingleLeaves(baked, InOrder(baked.trianglePlanes.size()));
    EXPECT_EQ(SortedBits(IntersectionsOf(baked)), expected);
}

// The first lies between depths 4 and 6, the second between 1 and 3: they do not meet. Rounded to
// the grid, their crossings seem to overlap between (13, 7) and (14, 7), which was drawn when both
// shared a leaf.
TEST(TrianglesIntersection, TrianglesOfDisjointBoxesGiveNoLineUnderAnyTree) {
    const ctr::DiscreteProjectionSpace space = LatticeSpace(5, 4);
    BakedTriangles baked = OnTheGrid(
        space, {{{{13, 7, 6}, {14, 7, 4}, {14, 8, 4}}}, {{{12, 5, 1}, {17, 8, 3}, {14, 7, 3}}}});
    EXPECT_FALSE(IntersectionsOf(baked)) << "one leaf";
    PutInSingleLeaves(baked, InOrder(2));
    EXPECT_FALSE(IntersectionsOf(baked)) << "single leaves";
    EXPECT_TRUE(Expected(baked).empty());
}

// The lower number of a pair decides only where two compared ends are equal. Without such a tie
// the lines are the same in any order of the triangles, read from either end.
TEST(TrianglesIntersection, WithoutTiesTheOrderOfTheTrianglesDoesNotMatter) {
    const int scenes = Scaled(3000);
    int compared = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        const ctr::DiscreteProjectionSpace space = LatticeSpace(12, 12);
        std::vector<GridTriangle> triangles = DenseScene(random, 1 << 12, 1 << 12);
        IntersectionCounts counts;
        const BakedTriangles baked = OnTheGrid(space, triangles);
        VisibleIntersections(baked, counts);
        if (counts.ties > 0 || counts.intersections == 0) {
            continue;
        }
        std::reverse(triangles.begin(), triangles.end());
        const BakedTriangles reversed = OnTheGrid(space, triangles);
        ASSERT_EQ(SortedBits(IntersectionsOf(reversed)), SortedBits(IntersectionsOf(baked)))
            << "seed " << seed;
        ++compared;
    }
    EXPECT_GT(compared, scenes / 4);
}

} // namespace
