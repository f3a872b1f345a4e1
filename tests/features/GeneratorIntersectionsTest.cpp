// Intersections asked of the generator, which goes on with what it has laid out for segments:
// against those that the baked triangles alone give, piece by piece in their order.
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/TrianglesIntersection.h>

#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"
#include "support/RandomScenes.h"
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

struct Cuts {
    Pieces visible;
    Pieces hidden;

    bool operator==(const Cuts&) const = default;
};

Cuts AskedOfTheGenerator(GeometricFeaturesGenerator& generator) {
    SetPointer hidden;
    const SetPointer visible(generator.computeIntersectionEdges(0, &hidden));
    return {PiecesOf(visible), PiecesOf(hidden)};
}

Cuts AskedOfTheTriangles(const BakedTriangles& baked) {
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
        Scene scene = test_support::CrowdedScene(random, random.below(others + 1));
        if (random.percent(60)) { // where cuts are not grazing
            ASSERT_TRUE(scene.space.setVoxelBitSize(20, 19));
        }
        GeometricFeaturesGenerator generator;
        generator.setProjectionSpace(scene.space);
        generator.setContactTolerance(tolerance);
        generator.setSingleExportCluster(scene.meshList(), nullptr);
        if (random.percent(50)) {
            SwapChildren(generator.getBakedTriangles(0));
        }
        const Cuts expected = AskedOfTheTriangles(generator.getBakedTriangles(0));
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

/// A plate and another one that cuts through it, under a third that hides some of that.
struct CutPlates {
    CutPlates() {
        generator.setProjectionSpace(LatticeSpace(9, 9));
        generator.setSingleExportCluster({level.get(), steep.get(), cover.get()}, nullptr);
    }

    MeshPointer level = Quad({64, 64, 160}, {384, 64, 160}, {384, 384, 160}, {64, 384, 160});
    MeshPointer steep = Quad({64, 192, 80}, {384, 192, 80}, {384, 320, 240}, {64, 320, 240});
    MeshPointer cover = Quad({128, 128, 16}, {224, 128, 16}, {224, 384, 16}, {128, 384, 16});
    GeometricFeaturesGenerator generator;
};

TEST(GeneratorIntersections, AreOfWhatIsBakedNow) {
    CutPlates plates;
    HideManySegments(plates.generator);
    const Cuts before = AskedOfTheTriangles(plates.generator.getBakedTriangles(0));
    plates.cover->SetWorldTransformation(test_support::ScaleAndMove({1, 1, 1}, {96, 0, 0}));
    plates.generator.getBakedTriangles(0).initialize();
    const Cuts expected = AskedOfTheTriangles(plates.generator.getBakedTriangles(0));
    ASSERT_FALSE(expected == before);
    EXPECT_FALSE(expected.hidden.empty());
    EXPECT_EQ(AskedOfTheGenerator(plates.generator), expected);
}

TEST(GeneratorIntersections, ThereAreNoneOfAClusterOutOfRange) {
    CutPlates plates;
    SetPointer hidden(plates.generator.computeIntersectionEdges(0));
    ASSERT_TRUE(hidden);
    EXPECT_EQ(plates.generator.computeIntersectionEdges(1, &hidden), nullptr);
    EXPECT_FALSE(hidden);
    EXPECT_EQ(GeometricFeaturesGenerator().computeIntersectionEdges(0), nullptr);
}

/// Counts the steps; stops at once when told to.
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
    CutPlates plates;
    Steps steps;
    steps.total = 12.0; // two for each of six triangles
    plates.generator.setProgressNotifier(&steps);
    EXPECT_TRUE(SetPointer(plates.generator.computeIntersectionEdges(0)));
    EXPECT_NEAR(steps.done, steps.total, 1.0e-5);
    steps.stop = true;
    EXPECT_EQ(plates.generator.computeIntersectionEdges(0), nullptr);
}

} // namespace
