// Meshes with indices out of range or without positions: the generator draws their valid triangles,
// and the rest of the scene is unaffected.
#include <ctr/FeatureEdges.h>
#include <ctr/GeometricFeaturesGenerator.h>

#include <kxSceneGraph/kxOutlineMetadata.h>

#include "linesets/SegmentBuilders.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::MakeIndices;
using test_support::MakeMesh;
using test_support::MakeVertices;
using test_support::MeshData;
using test_support::MeshList;
using test_support::Point;
using test_support::PositionsOf;
using test_support::SetPointer;
using test_support::VerticesPointer;
using MeshPointer = kx::kxPointer<kx::kxTriMesh>;

MeshData GoodBox() {
    return test_support::Box(Point(2, 2, 2), Point(9, 8, 7));
}

MeshPointer MeshOf(const VerticesPointer& vertices, const IndicesPointer& triangles) {
    return MeshPointer(new kx::kxTriMesh(vertices.get(), triangles.get()));
}

VerticesPointer WithoutPositions(int count) {
    return VerticesPointer(new kx::kxVertexBuffer(kx::kxAttributes(), count));
}

MeshPointer WithOutline(MeshPointer mesh, const std::vector<unsigned int>& lines) {
    const kx::kxPointer<kx::kxOutlineMetadata> outline(
        new kx::kxOutlineMetadata(MakeIndices(lines)));
    mesh->AddMetadata(outline.get());
    return mesh;
}

/// Of each kind of fault one mesh, with nothing in it that can be drawn.
std::vector<MeshPointer> BadMeshes() {
    const std::vector<Point> corners = {Point(3, 3, 1), Point(8, 3, 1), Point(3, 8, 1)};
    const IndicesPointer triangle = MakeIndices({0, 1, 2}, kx::IBT_TRIANGLES);
    constexpr unsigned int kLast = std::numeric_limits<unsigned int>::max();
    return {MeshOf(VerticesPointer(), triangle),
            MeshOf(MakeVertices({}), triangle),
            MeshOf(WithoutPositions(3), triangle),
            MeshOf(MakeVertices(corners), IndicesPointer()),
            MakeMesh(corners, {0, 1, 3, kLast, 0, 1, 0x80000000U, 1, 2}),
            WithOutline(MeshOf(WithoutPositions(3), triangle), {0, 1}),
            WithOutline(MeshOf(VerticesPointer(), triangle), {0, 1}),
            WithOutline(MakeMesh(corners, {0, 1, 9}), {0, 3, kLast, 1, 0x7fffffffU, 2})};
}

/// Of all sets of a record: what each shows, piece by piece.
std::vector<Point> VisiblePoints(const ctr::GeometricFeatures& features) {
    std::vector<Point> points;
    for (const SetPointer& set :
         {features.creaseEdges, features.silhouetteEdges, features.intersectionEdges}) {
        const SetPointer pieces(ctr::LineSegmentSet::BakeVisibleSegments(set.get()));
        if (pieces) {
            for (const unsigned int index : IndicesOf(*pieces)) {
                points.push_back(PositionsOf(*pieces)[index]);
            }
        }
    }
    return points;
}

std::vector<Point> VisiblePoints(const std::vector<MeshPointer>& meshes, bool removeCommon) {
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(test_support::LatticeSpace(4, 4));
    const std::vector<MeshPointer> bad = BadMeshes();
    const std::vector<const kx::kxTriMesh*> occluders = MeshList(bad);
    generator.setSingleExportCluster(MeshList(meshes), &occluders);
    ctr::GeometricFeatures features;
    generator.computeGeometricFeatures(features, 0, removeCommon);
    return VisiblePoints(features);
}

TEST(GeneratorWithBadMeshes, DrawNothingAndHideNothing) {
    for (const bool removeCommon : {false, true}) {
        const std::vector<Point> alone = VisiblePoints({MakeMesh(GoodBox())}, removeCommon);
        ASSERT_GT(alone.size(), 8U);
        for (const MeshPointer& bad : BadMeshes()) {
            EXPECT_EQ(VisiblePoints({bad, MakeMesh(GoodBox())}, removeCommon), alone);
            EXPECT_EQ(VisiblePoints({MakeMesh(GoodBox()), bad}, removeCommon), alone);
            EXPECT_TRUE(VisiblePoints({bad}, removeCommon).empty());
        }
        std::vector<MeshPointer> all = BadMeshes();
        all.push_back(MakeMesh(GoodBox()));
        EXPECT_EQ(VisiblePoints(all, removeCommon), alone);
    }
}

TEST(GeneratorWithBadMeshes, HaveNoLinesMeshByMesh) {
    std::vector<MeshPointer> meshes = BadMeshes();
    meshes.push_back(MakeMesh(GoodBox()));
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(test_support::LatticeSpace(4, 4));
    generator.setSingleExportCluster(MeshList(meshes), nullptr);
    ctr::FeaturesByMesh features;
    ASSERT_TRUE(generator.computeFeaturesByMesh(features, 0, {}));
    ASSERT_EQ(features.meshes.size(), meshes.size());
    for (std::size_t i = 0; i < meshes.size(); ++i) {
        for (const SetPointer& set :
             {features.meshes[i].silhouetteEdges, features.meshes[i].creaseEdges}) {
            const SetPointer pieces(ctr::LineSegmentSet::BakeVisibleSegments(set.get()));
            const bool isDrawn = i + 1 == meshes.size() && set.get() != nullptr;
            EXPECT_EQ(pieces.get() != nullptr, isDrawn) << "mesh " << i;
        }
    }
    EXPECT_TRUE(features.meshes.back().silhouetteEdges);
}

TEST(GeneratorWithBadMeshes, HaveNoFeatureEdges) {
    for (const MeshPointer& bad : BadMeshes()) {
        const auto outline = ctr::FindFeatureEdges(*bad, {});
        EXPECT_TRUE(!outline || !outline->getIBuffer() ||
                    outline->getIBuffer()->GetIndexQuantity() == 0);
    }
    // What is sound beside a triangle that is not keeps its edges.
    MeshData data = GoodBox();
    const auto whole = ctr::FindFeatureEdges(*MakeMesh(data), {});
    data.addTriangle(0, 1, 1000);
    const auto rest = ctr::FindFeatureEdges(*MakeMesh(data), {});
    ASSERT_TRUE(whole && rest);
    EXPECT_EQ(IndicesOf(rest->getIBuffer().get()), IndicesOf(whole->getIBuffer().get()));
}

TEST(GeneratorWithBadSets, SegmentsWithoutVerticesAreHidden) {
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(test_support::LatticeSpace(4, 4));
    generator.setSingleExportCluster({}, nullptr);
    const SetPointer set = test_support::MakeSet({Point(1, 1, 1), Point(5, 2, 1)}, {0, 2, 0, 1});
    generator.computeOcclusion(*set, 0);
    ASSERT_EQ(set->occlusionIntervals.size(), 2U);
    ASSERT_EQ(set->occlusionIntervals[0].size(), 1U);
    EXPECT_EQ(set->occlusionIntervals[0][0].start, Wm4::Vector2<std::int64_t>(0, 1));
    EXPECT_EQ(set->occlusionIntervals[0][0].end, Wm4::Vector2<std::int64_t>(1, 1));
    EXPECT_TRUE(set->occlusionIntervals[1].empty());
    EXPECT_EQ(set->clipRanges[0].t1, 0.0F);
}

} // namespace
