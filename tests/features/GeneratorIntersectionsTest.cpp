// Intersections computed by the generator, which reuses its acceleration structure, compared with
// those of the baked triangles alone, piece by piece in order.
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/TrianglesIntersection.h>

#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"
#include "support/ExactIntersections.h"
#include "support/RandomScenes.h"
#include "support/SceneAgreement.h"
#include "visibility/GridTriangles.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::GeometricFeaturesGenerator;
using test_support::LatticeSpace;
using test_support::MakeSet;
using test_support::Point;
using test_support::Random;
using test_support::Scaled;
using test_support::Scene;
using test_support::SetPointer;
using MeshPointer = kx::kxPointer<kx::kxTriMesh>;

using Pieces = std::vector<std::pair<std::array<std::uint32_t, 3>, std::array<std::uint32_t, 3>>>;

Pieces PiecesOf(const SetPointer& set) {
    Pieces pieces;
    if (set) {
        for (const auto& [p, q] : test_support::EndsOf(*set)) {
            pieces.emplace_back(test_support::Bits(p), test_support::Bits(q));
        }
    }
    return pieces;
}

struct Intersections {
    Pieces visible;
    Pieces hidden;

    bool operator==(const Intersections&) const = default;
};

Intersections AskedOfTheGenerator(GeometricFeaturesGenerator& generator) {
    SetPointer hidden;
    const SetPointer visible(generator.computeIntersectionEdges(0, &hidden));
    return {PiecesOf(visible), PiecesOf(hidden)};
}

Intersections AskedOfTheTriangles(const BakedTriangles& baked) {
    SetPointer hidden;
    const SetPointer visible(ctr::TrianglesIntersection(baked).computeIntersectionEdges(&hidden));
    return {PiecesOf(visible), PiecesOf(hidden)};
}

// As many segments as triangles: it pays to lay them out.
void HideManySegments(GeometricFeaturesGenerator& generator) {
    const std::size_t count = generator.getBakedTriangles(0).trianglePlanes.size();
    const SetPointer set =
        MakeSet({Point(1, 1, 1), Point(9, 7, 5)}, std::vector<unsigned int>(2 * count, 0));
    for (std::size_t i = 0; i < count; ++i) {
        set->GetIndexBuffer()->GetData()[2 * i + 1] = 1;
    }
    generator.computeOcclusion(*set, 0);
}

// In such a tree the first child of a node covers the upper slots.
void SwapChildren(BakedTriangles& baked) {
    for (kx::kxGenericBVH::Node& node : baked.bvh.nodes) {
        if ((node.first >> 30) != 3U) {
            std::swap(node.first, node.second);
        }
    }
}

void CheckScenes(int scenes, int others, unsigned int tolerance = 0) {
    std::size_t visible = 0;
    std::size_t hidden = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        Scene scene = test_support::OverlappingScene(random, random.below(others + 1));
        if (random.percent(60)) { // where intersections are not grazing
            ASSERT_TRUE(scene.space.setVoxelBitSize(20, 19));
        }
        GeometricFeaturesGenerator generator;
        generator.setProjectionSpace(scene.space);
        generator.setContactTolerance(tolerance);
        generator.setSingleExportCluster(scene.meshList(), nullptr);
        if (random.percent(50)) {
            SwapChildren(generator.getBakedTriangles(0));
        }
        const Intersections expected = AskedOfTheTriangles(generator.getBakedTriangles(0));
        ASSERT_EQ(AskedOfTheGenerator(generator), expected) << "at once, seed " << seed;
        HideManySegments(generator);
        ASSERT_EQ(AskedOfTheGenerator(generator), expected) << "after segments, seed " << seed;
        HideManySegments(generator);
        const SetPointer visibleOnly(generator.computeIntersectionEdges(0));
        ASSERT_EQ(PiecesOf(visibleOnly), expected.visible) << "seed " << seed;
        visible += expected.visible.size();
        hidden += expected.hidden.size();
    }
    EXPECT_GT(visible, static_cast<std::size_t>(scenes));
    EXPECT_GT(hidden, static_cast<std::size_t>(scenes));
}

TEST(GeneratorIntersections, AreThoseOfTheBakedTriangles) {
    CheckScenes(Scaled(300), 4);
}

TEST(GeneratorIntersections, AreThoseOfTheBakedTrianglesInScenesOfThousands) {
    CheckScenes(Scaled(8), 300);
}

TEST(GeneratorIntersections, AreThoseOfTheBakedTrianglesWithinAnyTolerance) {
    for (const unsigned int tolerance : {1U, 2U, 7U}) {
        CheckScenes(Scaled(100), 4, tolerance);
        CheckScenes(Scaled(3), 300, tolerance);
    }
}

MeshPointer Quad(const Point& a, const Point& b, const Point& c, const Point& d) {
    return test_support::MakeMesh(test_support::Quad(a, b, c, d));
}

/// A plate and another one that passes through it, under a third that hides some of that.
struct IntersectionPlates {
    IntersectionPlates() {
        generator.setProjectionSpace(LatticeSpace(9, 9));
        generator.setSingleExportCluster({level.get(), steep.get(), cover.get()}, nullptr);
    }

    MeshPointer level = Quad({64, 64, 160}, {384, 64, 160}, {384, 384, 160}, {64, 384, 160});
    MeshPointer steep = Quad({64, 192, 80}, {384, 192, 80}, {384, 320, 240}, {64, 320, 240});
    MeshPointer cover = Quad({128, 128, 16}, {224, 128, 16}, {224, 384, 16}, {128, 384, 16});
    GeometricFeaturesGenerator generator;
};

TEST(GeneratorIntersections, AreOfWhatIsBakedNow) {
    IntersectionPlates plates;
    HideManySegments(plates.generator);
    const Intersections before = AskedOfTheTriangles(plates.generator.getBakedTriangles(0));
    plates.cover->SetWorldTransformation(test_support::ScaleAndMove({1, 1, 1}, {96, 0, 0}));
    plates.generator.getBakedTriangles(0).initialize();
    const Intersections expected = AskedOfTheTriangles(plates.generator.getBakedTriangles(0));
    ASSERT_FALSE(expected == before);
    EXPECT_FALSE(expected.hidden.empty());
    EXPECT_EQ(AskedOfTheGenerator(plates.generator), expected);
}

using SortedPieces = std::vector<test_support::SegmentBits>;

struct SortedIntersections {
    SortedPieces visible;
    SortedPieces hidden;

    bool operator==(const SortedIntersections&) const = default;
};

SortedIntersections SortedIntersectionsOf(GeometricFeaturesGenerator& generator) {
    SetPointer hidden;
    const SetPointer visible(generator.computeIntersectionEdges(0, &hidden));
    return {test_support::SortedBits(visible), test_support::SortedBits(hidden)};
}

/// A box of which three faces are seen.
MeshPointer LeaningBox(const Point& lowest, const Point& highest) {
    test_support::MeshData box = test_support::Box(lowest, highest);
    for (Point& corner : box.positions) {
        corner = Point(corner[0] + corner[2] / 4.0F, corner[1] + corner[2] / 8.0F, corner[2]);
    }
    return test_support::MakeMesh(box);
}

/// Two boxes that intersect, and a wall before all of that.
struct BoxesBehindWall {
    BoxesBehindWall() { generator.setProjectionSpace(LatticeSpace(9, 9)); }

    SortedIntersections behindWallAs(bool exported) {
        std::vector<const kx::kxTriMesh*> drawn = {left.get(), right.get()};
        std::vector<const kx::kxTriMesh*> hiding;
        (exported ? drawn : hiding).push_back(wall.get());
        generator.setSingleExportCluster(drawn, &hiding);
        return SortedIntersectionsOf(generator);
    }

    MeshPointer left = LeaningBox({64, 64, 64}, {256, 256, 256});
    MeshPointer right = LeaningBox({16, 32, 32}, {208, 224, 224});
    MeshPointer wall = Quad({8, 8, 8}, {480, 8, 8}, {480, 480, 8}, {8, 480, 8});
    GeometricFeaturesGenerator generator;
};

// A wall given as an occluder used to hide nothing of them.
TEST(GeneratorIntersections, AreHiddenByOccluders) {
    BoxesBehindWall boxes;
    const SortedIntersections behindDrawnWall = boxes.behindWallAs(true);
    EXPECT_TRUE(behindDrawnWall.visible.empty());
    EXPECT_FALSE(behindDrawnWall.hidden.empty());
    EXPECT_EQ(boxes.behindWallAs(false), behindDrawnWall);
    boxes.wall = Quad({8, 8, 8}, {152, 8, 8}, {152, 480, 8}, {8, 480, 8});
    const SortedIntersections behindHalfAWall = boxes.behindWallAs(true);
    EXPECT_FALSE(behindHalfAWall.visible.empty());
    EXPECT_EQ(boxes.behindWallAs(false), behindHalfAWall);
}

TEST(GeneratorIntersections, OfAllFeaturesAreNotHiddenByOccluders) {
    BoxesBehindWall boxes;
    boxes.behindWallAs(false);
    ctr::GeometricFeatures features;
    boxes.generator.computeGeometricFeatures(features, 0, true);
    const SetPointer expected(ctr::TrianglesIntersection(boxes.generator.getBakedTriangles(0))
                                  .computeIntersectionEdges());
    EXPECT_FALSE(PiecesOf(expected).empty());
    EXPECT_EQ(PiecesOf(features.intersectionEdges), PiecesOf(expected));
}

// An occluder gives no line, whatever it passes through.
TEST(GeneratorIntersections, AreNotThoseOfOccluders) {
    BoxesBehindWall boxes;
    boxes.wall = Quad({8, 8, 128}, {400, 8, 128}, {400, 400, 128}, {8, 400, 128});
    boxes.generator.setSingleExportCluster({boxes.left.get()}, nullptr);
    EXPECT_TRUE(AskedOfTheGenerator(boxes.generator) == Intersections());
    const std::vector<const kx::kxTriMesh*> hiding = {boxes.wall.get(), boxes.right.get()};
    boxes.generator.setSingleExportCluster({boxes.left.get()}, &hiding);
    EXPECT_TRUE(AskedOfTheGenerator(boxes.generator) == Intersections());
}

/// A scene of which some meshes are drawn and the others only hide.
struct PartedScene {
    PartedScene(Random& random, int others)
        : scene(test_support::OverlappingScene(random, others)) {
        for (const MeshPointer& mesh : scene.meshes) {
            (random.percent(60) ? drawn : hiding).push_back(mesh.get());
        }
    }

    Scene scene;
    std::vector<const kx::kxTriMesh*> drawn;
    std::vector<const kx::kxTriMesh*> hiding;
};

/// Every pair of drawn triangles, and every triangle as a possible occluder of the intersection.
SortedIntersections IntersectionsByBruteForce(const PartedScene& parts, unsigned int tolerance) {
    const auto bake = [&](const std::vector<const kx::kxTriMesh*>& meshes) {
        BakedTriangles baked = test_support::Bake(parts.scene.space, meshes);
        baked.setContactTolerance(tolerance);
        return baked;
    };
    const BakedTriangles drawn = bake(parts.drawn);
    const BakedTriangles hiding = bake(parts.hiding);
    const auto allDrawn = test_support::EveryTriangle(drawn);
    test_support::IntersectionCounts counts;
    const test_support::IntersectionPieces pieces = test_support::PiecesOfIntersections(
        drawn, allDrawn, {{&drawn, allDrawn}, {&hiding, test_support::EveryTriangle(hiding)}},
        counts);
    return {test_support::SortedWorldBits(parts.scene.space, pieces.visible),
            test_support::SortedWorldBits(parts.scene.space, pieces.hidden)};
}

void CheckOccludedScenes(int scenes, int others, unsigned int tolerance) {
    std::size_t changed = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        PartedScene parts(random, random.between(others / 2, others));
        if (random.percent(60)) {
            ASSERT_TRUE(parts.scene.space.setVoxelBitSize(20, 19));
        }
        GeometricFeaturesGenerator generator;
        generator.setProjectionSpace(parts.scene.space);
        generator.setContactTolerance(tolerance);
        generator.setSingleExportCluster(parts.drawn, &parts.hiding);
        const SortedIntersections expected = IntersectionsByBruteForce(parts, tolerance);
        ASSERT_EQ(SortedIntersectionsOf(generator), expected) << "at once, seed " << seed;
        HideManySegments(generator);
        ASSERT_EQ(SortedIntersectionsOf(generator), expected) << "after segments, seed " << seed;
        HideManySegments(generator);
        const SetPointer visibleOnly(generator.computeIntersectionEdges(0));
        ASSERT_EQ(test_support::SortedBits(visibleOnly), expected.visible) << "seed " << seed;
        generator.setSingleExportCluster(parts.drawn, nullptr);
        changed += SortedIntersectionsOf(generator) == expected ? 0 : 1;
    }
    EXPECT_GT(changed * 24, static_cast<std::size_t>(scenes));
}

TEST(GeneratorIntersections, AreHiddenByOccludersAsByDrawnMeshes) {
    CheckOccludedScenes(Scaled(200), 4, 0);
    CheckOccludedScenes(Scaled(3), 30, 0);
}

TEST(GeneratorIntersections, AreHiddenByOccludersWithinAnyTolerance) {
    for (const unsigned int tolerance : {1U, 2U, 7U}) {
        CheckOccludedScenes(Scaled(60), 4, tolerance);
        CheckOccludedScenes(Scaled(1), 30, tolerance);
    }
}

TEST(GeneratorIntersections, ThereAreNoneOfAClusterOutOfRange) {
    IntersectionPlates plates;
    SetPointer hidden(plates.generator.computeIntersectionEdges(0));
    ASSERT_TRUE(hidden);
    EXPECT_EQ(plates.generator.computeIntersectionEdges(1, &hidden), nullptr);
    EXPECT_FALSE(hidden);
    EXPECT_EQ(GeometricFeaturesGenerator().computeIntersectionEdges(0), nullptr);
}

/// Counts the steps; cancels at once if requested.
class Steps : public kx::kxProgressNotifierInterface {
public:
    bool isCanceled() const override { return stop; }
    void setTotal(double /*steps*/) override {}
    void getRange(double& start, double& end) const override {
        start = done;
        end = total;
    }
    void advance(double steps) override { done += steps; }

    bool stop = false;
    double total = 0.0;
    double done = 0.0;
};

TEST(GeneratorIntersections, TellTheGeneratorsNotifier) {
    IntersectionPlates plates;
    Steps steps;
    steps.total = 12.0; // two for each of six triangles
    plates.generator.setProgressNotifier(&steps);
    EXPECT_TRUE(SetPointer(plates.generator.computeIntersectionEdges(0)));
    EXPECT_NEAR(steps.done, steps.total, 1.0e-5);
    steps.stop = true;
    EXPECT_EQ(plates.generator.computeIntersectionEdges(0), nullptr);
}

} // namespace
