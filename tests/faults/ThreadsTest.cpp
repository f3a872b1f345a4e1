// Concurrent use of shared meshes and sets gives the results of a single thread. Run under the
// thread sanitizer.
#include <ctr/BakedTriangles.h>
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/LineSegmentSet.h>
#include <ctr/SVGExporter.h>

#include "faults/SmallDrawing.h"
#include "linesets/SegmentBuilders.h"
#include "support/Random.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using ctr::GeometricFeatures;
using ctr::GeometricFeaturesGenerator;
using ctr::LineSegmentSet;
using test_support::BytesOf;
using test_support::MeshList;
using test_support::SetPointer;
using test_support::SmallScene;
using test_support::WriteDrawing;

constexpr std::size_t kThreads = 4;

/// What each thread's call with its number returns, all having run at once.
std::vector<std::string> AtOnce(const std::function<std::string(std::size_t)>& work) {
    std::vector<std::string> results(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] { results[i] = work(i); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return results;
}

std::string Repeated(int times, const std::function<std::string()>& work) {
    std::string text;
    for (int i = 0; i < times; ++i) {
        text += work();
    }
    return text;
}

TEST(LibraryThreads, QueriesOnOneBakedSceneGiveWhatOneThreadGets) {
    const SmallScene scene;
    ctr::BakedTriangles baked;
    baked.setProjectionSpace(&scene.space);
    baked.setMeshes(MeshList(scene.meshes));
    baked.initialize();
    const auto query = [&baked](std::size_t) {
        test_support::Random random(5);
        std::string text;
        for (int i = 0; i < 300; ++i) {
            std::vector<ctr::RationalInterval> hidden;
            const auto point = [&random] {
                return ctr::BakedVertex{random.below(256), random.below(256), random.below(256)};
            };
            const ctr::BakedVertex from = point();
            baked.computeOcclusionIntervals(from, point(), hidden);
            text += test_support::RangesText(hidden) + '\n';
        }
        return text;
    };
    const std::string alone = query(0);
    EXPECT_NE(alone.find('/'), std::string::npos);
    for (const std::string& result : AtOnce(query)) {
        EXPECT_TRUE(result == alone);
    }
}

/// How many hold each buffer, outline and mesh of a scene.
std::vector<int> ReferencesOf(const SmallScene& scene) {
    std::vector<int> counts;
    for (const auto& mesh : scene.meshes) {
        if (!mesh) {
            continue;
        }
        counts.push_back(mesh->GetReferences());
        counts.push_back(mesh->GetVertexBuffer()->GetReferences());
        counts.push_back(mesh->GetIndexBuffer()->GetReferences());
        for (int i = 0; i < mesh->GetMetadataQuantity(); ++i) {
            counts.push_back(mesh->GetMetadata(i)->GetReferences());
            counts.push_back(static_cast<const kx::kxOutlineMetadata*>(mesh->GetMetadata(i))
                                 ->getIBuffer()
                                 ->GetReferences());
        }
    }
    return counts;
}

TEST(LibraryThreads, GeneratorsOverTheSameMeshesDrawTheSame) {
    const SmallScene scene;
    const auto draw = [&scene] {
        GeometricFeaturesGenerator generator;
        GeometricFeatures features;
        DrawScene(generator, scene, features);
        return BytesOf(features);
    };
    const std::vector<int> before = ReferencesOf(scene);
    const std::string alone = Repeated(5, draw);
    for (const std::string& drawn : AtOnce([&](std::size_t) { return Repeated(5, draw); })) {
        EXPECT_TRUE(drawn == alone);
    }
    EXPECT_EQ(ReferencesOf(scene), before);
}

GeometricFeatures FeaturesOf(const SmallScene& scene) {
    GeometricFeaturesGenerator generator;
    GeometricFeatures features;
    DrawScene(generator, scene, features);
    return features;
}

TEST(LibraryThreads, ReadersOfOneSetGetTheSameSets) {
    const SmallScene scene;
    const GeometricFeatures features = FeaturesOf(scene);
    const LineSegmentSet& set = *features.silhouetteEdges;
    const auto read = [&] {
        const SetPointer pieces(LineSegmentSet::BakeVisibleSegments(&set));
        std::vector<LineSegmentSet::ArcFeature> arcs;
        const SetPointer lines(LineSegmentSet::BuildPolylines(set, arcs, false));
        const SetPointer fused(LineSegmentSet::FuseLineSegmentSets(
            {features.creaseEdges.get(), features.silhouetteEdges.get()}));
        kx::kxRttiInterface* target = nullptr;
        set.Clone(target);
        const SetPointer clone(dynamic_cast<LineSegmentSet*>(target));
        return BytesOf(pieces.get()) + BytesOf(lines.get()) + BytesOf(fused.get()) +
               BytesOf(clone.get());
    };
    const int vertexHolders = set.GetVertexBuffer()->GetReferences();
    const std::string alone = Repeated(20, read);
    for (const std::string& text : AtOnce([&](std::size_t) { return Repeated(20, read); })) {
        EXPECT_TRUE(text == alone);
    }
    EXPECT_EQ(set.GetVertexBuffer()->GetReferences(), vertexHolders);
}

// One thread's own set, over a mesh's buffers that all share, let go of as the others do.
TEST(LibraryThreads, SetsOverOneMeshComeAndGo) {
    const SmallScene scene;
    const kx::kxTriMesh* const mesh = scene.meshes[3].get();
    const auto make = [mesh] {
        test_support::CancelAtQuestion never(test_support::kNever);
        const SetPointer creases(
            LineSegmentSet::GetCreaseEdgesFromTriMesh(mesh, never, 5.0F, true));
        return BytesOf(creases.get());
    };
    const std::vector<int> before = ReferencesOf(scene);
    const std::string alone = Repeated(100, make);
    for (const std::string& text : AtOnce([&](std::size_t) { return Repeated(100, make); })) {
        EXPECT_TRUE(text == alone);
    }
    EXPECT_EQ(ReferencesOf(scene), before);
}

// Each thread removes lines from a set over the outline that the mesh carries for all of them; the
// last one to hold it may write into it, after all that the others have read.
TEST(LibraryThreads, SetsOverOneOutlineLoseTheirCommonSegments) {
    const kx::kxPointer<kx::kxTriMesh> mesh =
        test_support::MakeMesh({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 1, 2, 0, 2, 3});
    const std::vector<unsigned int> lines{0, 1, 1, 2, 2, 3, 3, 0};
    const auto lessCommon = [&](LineSegmentSet& set) {
        const SetPointer common(test_support::MakeSet(mesh->GetVertexBuffer(),
                                                      test_support::MakeIndices({1, 2, 3, 0})));
        LineSegmentSet::RemoveCommonSegments(&set, common.get());
        return BytesOf(&set);
    };
    const SetPointer first(
        LineSegmentSet::GetOutlineEdgesFromTriMesh(mesh.get(), test_support::MakeIndices(lines)));
    const std::string alone = lessCommon(*first);
    for (int trial = 0; trial < 50; ++trial) {
        const test_support::IndicesPointer outline = test_support::MakeIndices(lines);
        for (const std::string& text : AtOnce([&](std::size_t) {
                 const SetPointer set(
                     LineSegmentSet::GetOutlineEdgesFromTriMesh(mesh.get(), outline));
                 return lessCommon(*set);
             })) {
            ASSERT_TRUE(text == alone);
        }
        ASSERT_EQ(test_support::IndicesOf(outline.get()), lines);
    }
    for (int trial = 0; trial < 50; ++trial) {
        test_support::IndicesPointer outline = test_support::MakeIndices(lines);
        std::vector<SetPointer> sets;
        for (std::size_t i = 0; i < kThreads; ++i) {
            sets.emplace_back(LineSegmentSet::GetOutlineEdgesFromTriMesh(mesh.get(), outline));
        }
        outline = nullptr;
        for (const std::string& text :
             AtOnce([&](std::size_t thread) { return lessCommon(*sets[thread]); })) {
            ASSERT_TRUE(text == alone);
        }
    }
}

TEST(LibraryThreads, ExportersWriteTheSameFiles) {
    const SmallScene scene;
    const GeometricFeatures features = FeaturesOf(scene);
    const auto write = [&](std::size_t thread) {
        const std::string path = test_support::OwnPath(std::to_string(thread));
        ctr::SVGExporter exporter;
        std::string text;
        for (int i = 0; i < 5; ++i) {
            EXPECT_TRUE(WriteDrawing(exporter, scene.space, features, path));
            text += test_support::FileBytes(path);
        }
        std::filesystem::remove(path);
        return text;
    };
    const std::string alone = write(kThreads);
    EXPECT_NE(alone.find("<path"), std::string::npos);
    for (const std::string& written : AtOnce(write)) {
        EXPECT_TRUE(written == alone);
    }
}

} // namespace
