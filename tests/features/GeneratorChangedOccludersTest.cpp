// Changes to the baked triangles through getBakedTriangles(): the generator discards its
// acceleration structures, and its results are those of the changed triangles alone.
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/TrianglesIntersection.h>

#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using ctr::GeometricFeaturesGenerator;
using test_support::LatticeSpace;
using test_support::MakeSet;
using test_support::Point;
using test_support::SetPointer;
using MeshPointer = kx::kxPointer<kx::kxTriMesh>;

using Ranges = std::vector<std::vector<std::array<long, 4>>>;
using Ends = std::vector<std::array<std::uint32_t, 3>>;

Ends EndsOfPieces(const SetPointer& set) {
    Ends ends;
    if (set) {
        for (const auto& [p, q] : test_support::EndsOf(*set)) {
            ends.insert(ends.end(), {test_support::Bits(p), test_support::Bits(q)});
        }
    }
    return ends;
}

/// What is hidden of each segment, and where triangles intersect.
struct Results {
    Ranges hidden;
    Ends visibleIntersections;
    Ends hiddenIntersections;

    bool operator==(const Results&) const = default;
};

// Rows of segments behind everything.
SetPointer Probes() {
    std::vector<Point> ends;
    std::vector<unsigned int> indices;
    for (int row = 0; row < 40; ++row) {
        for (const float x : {10.0F, 500.0F}) {
            indices.push_back(static_cast<unsigned int>(ends.size()));
            ends.emplace_back(x, 20.0F + 12.0F * static_cast<float>(row), 500.0F);
        }
    }
    return MakeSet(ends, indices);
}

/// A level plate with a steep one through it under a narrow cover, or all of that elsewhere.
BakedTriangles BakePlates(const ctr::DiscreteProjectionSpace& space,
                          const Point& offset,
                          std::vector<MeshPointer>& meshes) {
    const auto at = [&offset](float x, float y, float z) { return Point(x, y, z) + offset; };
    const auto quad = [](const Point& a, const Point& b, const Point& c, const Point& d) {
        return test_support::MakeMesh(test_support::Quad(a, b, c, d));
    };
    meshes = {quad(at(64, 64, 160), at(384, 64, 160), at(384, 384, 160), at(64, 384, 160)),
              quad(at(64, 192, 80), at(384, 192, 80), at(384, 320, 240), at(64, 320, 240)),
              quad(at(128, 128, 16), at(224, 128, 16), at(224, 384, 16), at(128, 384, 16))};
    return test_support::Bake(space, test_support::MeshList(meshes));
}

class GeneratorChangedOccluders : public testing::Test {
protected:
    void SetUp() override {
        generator.setProjectionSpace(space);
        generator.setSingleExportCluster({}, nullptr);
        baked() = BakePlates(space, {0, 0, 0}, meshes);
        // So many segments that the generator lays the triangles out.
        before = compute();
        ASSERT_EQ(before, expected());
    }

    BakedTriangles& baked() { return generator.getBakedTriangles(0); }
    const BakedTriangles& other() {
        otherBaked = BakePlates(space, {48, 16, 32}, otherMeshes);
        return otherBaked;
    }

    Results compute() {
        const SetPointer probes = Probes();
        generator.computeOcclusion(*probes, 0);
        Results results;
        for (const auto& ranges : probes->occlusionIntervals) {
            results.hidden.push_back(test_support::NumbersOf(ranges));
        }
        SetPointer hiddenIntersections;
        results.visibleIntersections =
            EndsOfPieces(SetPointer(generator.computeIntersectionEdges(0, &hiddenIntersections)));
        results.hiddenIntersections = EndsOfPieces(hiddenIntersections);
        generator.computeOcclusion(*Probes(), 0); // for a layout at the next change
        return results;
    }

    // By the triangles as they are, one segment at a time.
    Results expected() {
        Results results;
        const SetPointer probes = Probes();
        for (const auto& [p, q] : test_support::EndsOf(*probes)) {
            BakedVertex a{};
            BakedVertex b{};
            float weights[2];
            space.clipEdgeWorld(p, q, a, b, weights[0], weights[1]);
            std::vector<ctr::RationalInterval> ranges;
            baked().computeOcclusionIntervals(a, b, ranges);
            ctr::IntervalTools::FuseOverlappingIntervals(ranges);
            results.hidden.push_back(test_support::NumbersOf(ranges));
        }
        SetPointer hiddenIntersections;
        results.visibleIntersections = EndsOfPieces(SetPointer(
            ctr::TrianglesIntersection(baked()).computeIntersectionEdges(&hiddenIntersections)));
        results.hiddenIntersections = EndsOfPieces(hiddenIntersections);
        return results;
    }

    void expectFreshAnswers() {
        const Results now = expected();
        EXPECT_FALSE(now == before);
        EXPECT_EQ(compute(), now);
    }

    void expectNothing() {
        const Results results = compute();
        EXPECT_EQ(results.hidden, Ranges(40));
        EXPECT_TRUE(results.visibleIntersections.empty());
        EXPECT_TRUE(results.hiddenIntersections.empty());
    }

    ctr::DiscreteProjectionSpace space = LatticeSpace(9, 9);
    std::vector<MeshPointer> meshes;
    std::vector<MeshPointer> otherMeshes;
    BakedTriangles otherBaked;
    GeometricFeaturesGenerator generator;
    Results before;
};

TEST_F(GeneratorChangedOccluders, HideNothingOnceTheyAreCleared) {
    baked().clearData();
    expectNothing();
    baked().initialize();
    EXPECT_EQ(compute(), expected());
}

TEST_F(GeneratorChangedOccluders, GiveNoFeaturesOnceTheyAreCleared) {
    baked().clearData();
    ctr::GeometricFeatures features;
    generator.computeGeometricFeatures(features, 0, true);
    EXPECT_FALSE(features.silhouetteEdges);
    EXPECT_FALSE(features.intersectionEdges);
}

TEST_F(GeneratorChangedOccluders, MayBeAssigned) {
    baked() = other();
    expectFreshAnswers();
    baked() = BakedTriangles(other());
    EXPECT_EQ(compute(), expected());
    baked() = BakedTriangles();
    expectNothing();
}

TEST_F(GeneratorChangedOccluders, MayBeMovedAway) {
    const BakedTriangles taken = std::move(baked());
    EXPECT_EQ(taken.trianglePlanes.size(), 6U);
    expectNothing();
}

TEST_F(GeneratorChangedOccluders, MayBeSwapped) {
    BakedTriangles replacement = other();
    std::swap(baked(), replacement);
    expectFreshAnswers();
    std::swap(baked(), replacement);
    EXPECT_EQ(compute(), before);
}

TEST_F(GeneratorChangedOccluders, MayMoveInPlace) {
    for (BakedVertex& vertex : baked().vertices) {
        vertex = {vertex.x + 48, vertex.y + 16, vertex.z + 32};
    }
    EXPECT_GT(baked().computeBakedBVHBBox(0), 0U);
    expectFreshAnswers();
}

TEST_F(GeneratorChangedOccluders, MayHaveTheirArraysSwapped) {
    BakedTriangles replacement = other();
    std::swap(baked().vertices, replacement.vertices);
    std::swap(baked().triangleIndices, replacement.triangleIndices);
    std::swap(baked().trianglePlanes, replacement.trianglePlanes);
    std::swap(baked().bvh, replacement.bvh);
    expectFreshAnswers();
}

// Fewer than the generator has laid out.
TEST_F(GeneratorChangedOccluders, MayBecomeFewer) {
    BakedTriangles fewer = other();
    fewer.meshes.resize(1);
    fewer.initialize();
    baked().vertices = fewer.vertices;
    baked().triangleIndices = fewer.triangleIndices;
    baked().trianglePlanes = std::vector<Wm4::Vector3<std::int64_t>>(fewer.trianglePlanes);
    baked().bvh = fewer.bvh;
    expectFreshAnswers();
}

TEST_F(GeneratorChangedOccluders, HideNothingWithoutPlanes) {
    baked().trianglePlanes.clear();
    baked().trianglePlanes.shrink_to_fit();
    expectNothing();
    std::vector<ctr::RationalInterval> ranges;
    baked().computeOcclusionIntervals({10, 200, 500}, {500, 200, 500}, ranges);
    EXPECT_TRUE(ranges.empty());
    EXPECT_EQ(ctr::TrianglesIntersection(baked()).computeIntersectionEdges(), nullptr);
}

TEST_F(GeneratorChangedOccluders, HideNothingWithoutHierarchy) {
    baked().bvh = kx::kxGenericBVH();
    expectNothing();
    EXPECT_EQ(baked().computeBakedBVHBBox(0), 0U);
    EXPECT_EQ(ctr::TrianglesIntersection(baked()).computeIntersectionEdges(), nullptr);
}

TEST_F(GeneratorChangedOccluders, KeepTheToleranceThatIsSetNow) {
    baked().setContactTolerance(100);
    expectFreshAnswers();
    baked().contactTolerance = 0;
    EXPECT_EQ(compute(), before);
}

// --- boxes of the hierarchy that do not hold what is below them ---

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();

std::vector<kx::kxBBox> StrangeBoxes() {
    constexpr float kHuge = std::numeric_limits<float>::max();
    return {kx::kxBBox(), // the empty one
            {{1000, 1000, 1000}, {1200, 1200, 1200}},
            {{-90, -90, -90}, {-10, -10, -10}},
            {{70, 70, 0}, {72, 72, 400}},
            {{0, 0, 490}, {511, 511, 511}},
            {{300, 300, 300}, {100, 100, 100}},
            {{-kInfinity, -kInfinity, -kInfinity}, {kInfinity, kInfinity, kInfinity}},
            {{kInfinity, kInfinity, kInfinity}, {kInfinity, kInfinity, kInfinity}},
            {{-kHuge, -kHuge, -kHuge}, {kHuge, kHuge, kHuge}},
            {{kHuge, kHuge, kHuge}, {kHuge, kHuge, kHuge}},
            {{kNoNumber, kNoNumber, kNoNumber}, {kNoNumber, kNoNumber, kNoNumber}},
            {{0, kNoNumber, 0}, {511, 511, kNoNumber}},
            {{0, 0, 0}, {kInfinity, 1e30F, kNoNumber}}};
}

// The generator used to end in std::length_error, or not at all.
TEST_F(GeneratorChangedOccluders, MayHaveAnyRootBox) {
    const std::vector<kx::kxBBox> boxes = StrangeBoxes();
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        baked().bvh.nodes[0].box = boxes[i];
        EXPECT_EQ(compute(), expected()) << "box " << i;
        baked().setContactTolerance(0); // for a layout of another count
        EXPECT_EQ(compute(), expected()) << "box " << i;
    }
    baked().computeBakedBVHBBox(0);
    EXPECT_EQ(compute(), before);
}

TEST_F(GeneratorChangedOccluders, AreIntersectionOffByABoxThatLeavesThemOut) {
    baked().bvh.nodes[0].box = {{1000, 1000, 1000}, {1200, 1200, 1200}};
    const Results results = compute();
    EXPECT_EQ(results.hidden, Ranges(40));
    EXPECT_FALSE(results.visibleIntersections.empty());
    EXPECT_TRUE(results.hiddenIntersections.empty());
}

TEST_F(GeneratorChangedOccluders, MayHaveAnyBoxes) {
    const std::vector<kx::kxBBox> boxes = StrangeBoxes();
    test_support::Random random(1);
    const std::vector<kx::kxGenericBVH::Node> nodes = baked().bvh.nodes;
    for (int i = 0; i < test_support::Scaled(100); ++i) {
        baked().bvh.nodes = nodes;
        for (kx::kxGenericBVH::Node& node : baked().bvh.nodes) {
            if (random.percent(50)) {
                const int box = random.below(static_cast<int>(boxes.size()));
                node.box = boxes[static_cast<std::size_t>(box)];
            }
        }
        baked().setContactTolerance(static_cast<unsigned int>(random.below(3)));
        ASSERT_EQ(compute(), expected()) << "number " << i;
    }
}

// The generator used to take a baked object for the one it had laid out if both had been baked
// equally often.
TEST(ChangeCount, IsNotCopied) {
    BakedTriangles::ChangeCount count;
    for (int i = 0; i < 5; ++i) {
        ++count;
    }
    BakedTriangles::ChangeCount copy = count;
    EXPECT_EQ(copy, 0U);
    copy = count;
    EXPECT_EQ(copy, 1U);
    EXPECT_EQ(count, 5U);
    copy = std::move(count);
    EXPECT_EQ(copy, 2U);
    EXPECT_EQ(count, 6U); // NOLINT(bugprone-use-after-move): it counts the move
}

} // namespace
