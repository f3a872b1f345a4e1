// Preconditions that the generator and the camera assert in debug builds, and the validity of the
// results of the generator.
#include <ctr/GeometricFeaturesGenerator.h>

#include "linesets/SegmentBuilders.h"
#include "support/RandomScenes.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using test_support::MakeSet;
using test_support::MeshList;
using test_support::SetPointer;
using test_support::Vec3;

TEST(GeneratorAssertions, SetsAreValid) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        const test_support::Scene scene = test_support::RandomScene(seed);
        ctr::GeometricFeaturesGenerator generator;
        generator.setProjectionSpace(scene.space);
        generator.setSingleExportCluster(MeshList(scene.meshes), nullptr);
        ctr::GeometricFeatures features;
        generator.computeGeometricFeatures(features, 0, seed % 2 == 0);
        for (const SetPointer& set :
             {features.creaseEdges, features.silhouetteEdges, features.intersectionEdges}) {
            EXPECT_TRUE(!set || set->validate()) << "seed " << seed;
        }
    }
}

// Where nothing is asserted, what follows would be undefined.
#ifndef NDEBUG

TEST(GeneratorAssertions, ClustersInRange) {
    ctr::GeometricFeaturesGenerator generator;
    EXPECT_DEATH(generator.getBakedTriangles(0), "cluster");
    generator.setSingleExportCluster({}, nullptr);
    EXPECT_DEATH(generator.getBakedTriangles(1), "cluster");
}

TEST(ClipTriangleAssertions, TwoBuffersToClipIn) {
    const ctr::DiscreteProjectionSpace space;
    Wm4::Vector4<float> buffer[9];
    Wm4::Vector4<float>* poly = buffer;
    Wm4::Vector4<float>* scratch = nullptr;
    unsigned int count = 0;
    unsigned int codes = 0;
    EXPECT_DEATH(space.clipTriangle(poly, scratch, count, codes), "scratch");
    scratch = buffer;
    EXPECT_DEATH(space.clipTriangle(poly, scratch, count, codes), "scratch");
}

TEST(PlatformAssertions, ObjectsAndReferencesThatAreThere) {
    const SetPointer none;
    EXPECT_DEATH(none->validate(), "object_");
    EXPECT_DEATH((*none).validate(), "object_");
    const SetPointer set = MakeSet({Vec3(0, 0, 0)}, {0, 0});
    EXPECT_DEATH(set->GetVertexBuffer()->Position3(1), "IsVertex");
    EXPECT_DEATH(ctr::LineSegmentSet().DecrementReferences(), "before");
}

#endif

} // namespace
