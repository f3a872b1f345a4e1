// What validate() finds in baked triangles, and what the passes over them assert.
#include <ctr/BakedTriangles.h>
#include <ctr/LineSegmentSet.h>
#include <ctr/TrianglesIntersection.h>

#include "support/Baking.h"
#include "support/RandomScenes.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using ctr::BakedTriangles;
using test_support::Bake;
using test_support::BakedMeshes;
using test_support::Box;
using test_support::MakeMesh;
using test_support::MeshList;
using test_support::Point;

// Two boxes of twelve triangles each, some of them seen edge-on, and more than one leaf.
class ValidateBaked : public testing::Test {
protected:
    ctr::DiscreteProjectionSpace space_ = test_support::SlantedSpace(12, 12, 8.0F);
    std::vector<kx::kxPointer<kx::kxTriMesh>> meshes_{
        MakeMesh(Box(Point(-2, -2, -2), Point(2, 2, 2))),
        MakeMesh(Box(Point(1, 1, 1), Point(4, 4, 4)))};
    BakedTriangles baked_ = Bake(space_, MeshList(meshes_));
};

TEST_F(ValidateBaked, AcceptsWhatIsBaked) {
    ASSERT_GT(baked_.bvh.nodes.size(), 1U);
    EXPECT_TRUE(baked_.validate());
}

TEST_F(ValidateBaked, AcceptsWhatHoldsNothing) {
    EXPECT_TRUE(BakedTriangles().validate());
    baked_.clearData();
    EXPECT_TRUE(baked_.validate());
    EXPECT_TRUE(Bake(space_, {}).validate());
    EXPECT_TRUE(Bake(space_, {nullptr}).validate());
}

TEST_F(ValidateBaked, AcceptsRandomScenesWithMeshesThatDoNotTakePart) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        const test_support::Scene scene = test_support::RandomScene(seed);
        std::vector<const kx::kxTriMesh*> meshes = MeshList(scene.meshes);
        meshes.insert(meshes.begin() + static_cast<std::ptrdiff_t>(seed % (meshes.size() + 1)),
                      nullptr);
        EXPECT_TRUE(Bake(scene.space, meshes).validate()) << "seed " << seed;
    }
}

using Change = std::pair<std::string, std::function<void(BakedTriangles&)>>;

kx::kxGenericBVH::Node& FirstLeaf(BakedTriangles& baked) {
    return *std::find_if(baked.bvh.nodes.begin(), baked.bvh.nodes.end(),
                         [](const auto& node) { return node.first >> 30 == 3U; });
}

// Changes after which a walk down the hierarchy would look up what does not exist, or not end.
std::vector<Change> ChangesOfHierarchy() {
    return {
        {"a vertex is missing", [](BakedTriangles& baked) { baked.vertices.pop_back(); }},
        {"a corner is no vertex",
         [](BakedTriangles& baked) { baked.triangleIndices[4] = 1U << 20; }},
        {"an index is missing", [](BakedTriangles& baked) { baked.triangleIndices.pop_back(); }},
        {"a plane is missing", [](BakedTriangles& baked) { baked.trianglePlanes.pop_back(); }},
        {"a child is no node", [](BakedTriangles& baked) { baked.bvh.nodes[0].second = 1000; }},
        {"a node is its own child", [](BakedTriangles& baked) { baked.bvh.nodes[0].first = 0; }},
        {"a child has two parents",
         [](BakedTriangles& baked) { baked.bvh.nodes[0].second = baked.bvh.nodes[0].first; }},
        {"a leaf is too long", [](BakedTriangles& baked) { FirstLeaf(baked).second = 1000; }},
        {"a slot holds no triangle", [](BakedTriangles& baked) { baked.bvh.primitives[0] = 1000; }},
    };
}

std::vector<Change> ChangesOfMeshes() {
    return {
        {"a mesh has no range", [](BakedTriangles& baked) { baked.meshFirstTriangle.pop_back(); }},
        {"ranges do not ascend",
         [](BakedTriangles& baked) {
             std::swap(baked.meshFirstVertex[0], baked.meshFirstVertex[1]);
         }},
        {"a range is beyond the total",
         [](BakedTriangles& baked) { baked.meshFirstTriangle[1] = 1000; }},
        {"a total is wrong", [](BakedTriangles& baked) { ++baked.meshFirstTriangle.back(); }},
        {"origins are missing",
         [](BakedTriangles& baked) { baked.clippedTriangleOrigins.pop_back(); }},
    };
}

// Changes that make wrong drawings and no more.
std::vector<Change> OtherChanges() {
    return {
        {"a leaf is too short", [](BakedTriangles& baked) { --FirstLeaf(baked).second; }},
        {"a triangle is in two leaves",
         [](BakedTriangles& baked) { baked.bvh.primitives.front() = baked.bvh.primitives.back(); }},
        {"a node is below no other", [](BakedTriangles& baked) { baked.bvh.nodes.emplace_back(); }},
        {"there is no hierarchy", [](BakedTriangles& baked) { baked.bvh.nodes.clear(); }},
        {"a plane faces away",
         [](BakedTriangles& baked) { baked.trianglePlanes[1] = -baked.trianglePlanes[1]; }},
    };
}

TEST_F(ValidateBaked, FindsEachChange) {
    for (const std::vector<Change>& changes :
         {ChangesOfHierarchy(), ChangesOfMeshes(), OtherChanges()}) {
        for (const auto& [name, change] : changes) {
            BakedTriangles changed = baked_;
            change(changed);
            EXPECT_FALSE(changed.validate()) << name;
        }
    }
}

TEST_F(ValidateBaked, FindsBoxesThatAreTooSmall) {
    for (std::size_t node = 0; node < baked_.bvh.nodes.size(); ++node) {
        for (int axis = 0; axis < 3; ++axis) {
            BakedTriangles changed = baked_;
            changed.bvh.nodes[node].box.min[axis] += 1.0F;
            EXPECT_FALSE(changed.validate()) << node;
            changed = baked_;
            changed.bvh.nodes[node].box.max[axis] -= 1.0F;
            EXPECT_FALSE(changed.validate()) << node;
            changed = baked_;
            changed.bvh.nodes[0].box.max[axis] += 1.0F;
            EXPECT_TRUE(changed.validate()) << "a larger box in the root";
        }
    }
}

// Where nothing is asserted, what follows would be undefined.
#ifndef NDEBUG

using BakedAssertions = ValidateBaked;

TEST_F(BakedAssertions, HierarchiesThatLeadNowhere) {
    for (const auto& [name, change] : ChangesOfHierarchy()) {
        BakedTriangles changed = baked_;
        change(changed);
        EXPECT_DEATH(ctr::TrianglesIntersection(changed).computeIntersectionEdges(), "HasValidBvh")
            << name;
    }
}

TEST_F(BakedAssertions, MeshesThatLeadNowhere) {
    for (const auto& [name, change] : ChangesOfMeshes()) {
        BakedTriangles changed = baked_;
        change(changed);
        std::vector<ctr::LineSegmentSet*> sets;
        EXPECT_DEATH(changed.computeSilhouetteEdges(sets), "HasValidMeshRanges") << name;
    }
}

TEST_F(BakedAssertions, NodesAndTheCamera) {
    std::vector<ctr::RationalInterval> intervals;
    const ctr::BakedVertex point{0, 0, 0};
    EXPECT_DEATH(baked_.computeOcclusionIntervalsIter(1000, point, point, kx::kxBBox(), intervals),
                 "nodes");
    BakedTriangles withoutCamera;
    withoutCamera.setMeshes(MeshList(meshes_));
    EXPECT_DEATH(withoutCamera.initialize(), "projectionSpace");
    EXPECT_DEATH(withoutCamera.computeBakedMesh(), "projectionSpace");
}

#endif

} // namespace
