// Counts that exceed their integers: placements share buffers, so little memory suffices for more
// vertices than indices can number.
#include <ctr/BakedTriangles.h>
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <vector>

namespace {

using test_support::MakeIndices;
using test_support::MakeSet;
using test_support::SetPointer;
using test_support::VerticesPointer;

constexpr int kVertices = 1 << 20;

VerticesPointer ManyVertices() {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    return VerticesPointer(new kx::kxVertexBuffer(attributes, kVertices));
}

TEST(DrawingManyVertices, AreNotBakedBeyondWhatCanBeNumbered) {
    const kx::kxPointer<kx::kxTriMesh> mesh(
        new kx::kxTriMesh(ManyVertices().get(), MakeIndices({0, 1, 2}, kx::IBT_TRIANGLES).get()));
    const ctr::DiscreteProjectionSpace space = test_support::LatticeSpace(4, 4);
    // Modulo 2^32, both are few.
    for (const std::size_t placements : {4096U, 4097U}) {
        ctr::BakedTriangles baked;
        baked.setProjectionSpace(&space);
        baked.setMeshes(std::vector<const kx::kxTriMesh*>(placements, mesh.get()));
        EXPECT_THROW(baked.initialize(), std::length_error);
        EXPECT_TRUE(baked.vertices.empty());
        ctr::BakedTriangles::tFirstPassData data;
        EXPECT_THROW(baked.initializeFirstPass(data), std::length_error);
    }
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(space);
    EXPECT_THROW(generator.setSingleExportCluster(
                     std::vector<const kx::kxTriMesh*>(4097, mesh.get()), nullptr),
                 std::length_error);
    // The generator is as good as new.
    ctr::GeometricFeatures features;
    generator.computeGeometricFeatures(features, 0, true);
    EXPECT_FALSE(features.creaseEdges);
}

TEST(DrawingManyVertices, AreNotFusedBeyondWhatABufferHolds) {
    const SetPointer set = MakeSet(ManyVertices(), MakeIndices({0, 1}));
    for (const std::size_t count : {2048U, 4097U}) {
        const std::vector<ctr::LineSegmentSet*> sets(count, set.get());
        EXPECT_THROW(ctr::LineSegmentSet::FuseLineSegmentSets(sets), std::length_error);
    }
}

} // namespace
