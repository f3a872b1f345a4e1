// All lines of a scene per mesh: the same as from the single operations, in one run that ends at
// its total and can be cancelled at every poll.
#include <ctr/GeometricFeaturesGenerator.h>

#include <kxSceneGraph/kxOutlineMetadata.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>

#include "linesets/SegmentBuilders.h"
#include "support/Scenes.h"
#include "support/Stopper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

namespace {

using ctr::FeatureChoice;
using ctr::FeaturesByMesh;
using ctr::GeometricFeaturesGenerator;
using ctr::LineSegmentSet;
using test_support::kNever;
using test_support::MakeMesh;
using test_support::SetPointer;
using test_support::Stopper;
using MeshPointer = kx::kxPointer<kx::kxTriMesh>;

std::string TextOf(const SetPointer& set) {
    if (!set) {
        return "null\n";
    }
    std::ostringstream text;
    for (const auto& [p, q] : test_support::EndsOf(*set)) {
        for (const auto bits : {test_support::Bits(p), test_support::Bits(q)}) {
            text << bits[0] << ' ' << bits[1] << ' ' << bits[2] << ' ';
        }
    }
    for (const auto& hidden : set->occlusionIntervals) {
        for (const auto& numbers : test_support::NumbersOf(hidden)) {
            for (const auto number : numbers) {
                text << number << ' ';
            }
        }
        text << '|';
    }
    for (const LineSegmentSet::ClipRange& clip : set->clipRanges) {
        for (const float number : test_support::NumbersOf(clip)) {
            text << test_support::Bits(number) << ' ';
        }
    }
    return text.str() + "\n";
}

std::string TextOf(const FeaturesByMesh& features) {
    std::string text;
    for (const ctr::MeshFeatures& mesh : features.meshes) {
        text += TextOf(mesh.silhouetteEdges) + TextOf(mesh.creaseEdges);
    }
    return text + TextOf(features.intersectionEdges) + TextOf(features.hiddenIntersectionEdges);
}

SetPointer InWorld(const SetPointer& set) {
    return set ? SetPointer(LineSegmentSet::FuseLineSegmentSets({set.get()})) : SetPointer();
}

/// Two boxes that intersect, a null entry, a box with an outline, and a wall before some of
/// it that only hides.
struct ByMeshScene {
    ByMeshScene() {
        const kx::kxPointer<kx::kxIndexBuffer> outline(new kx::kxIndexBuffer(4, kx::IBT_LINES));
        const unsigned int ends[4] = {0, 1, 1, 2};
        std::copy_n(ends, 4, outline->GetData());
        third->AddMetadata(new kx::kxOutlineMetadata(outline));
        generator.setProjectionSpace(test_support::SlantedSpace(12, 12, 20.0F));
        generator.setContactTolerance(2);
        generator.setSingleExportCluster(meshes, &occluders);
    }

    /// By the operations that do one thing each.
    FeaturesByMesh doneByHand() {
        FeaturesByMesh features;
        features.meshes.resize(meshes.size());
        std::vector<LineSegmentSet*> silhouettes;
        generator.getBakedTriangles(0).computeSilhouetteEdges(silhouettes);
        for (std::size_t i = 0; i < meshes.size(); ++i) {
            ctr::MeshFeatures& mesh = features.meshes[i];
            mesh.silhouetteEdges = InWorld(silhouettes[i]);
            mesh.creaseEdges = InWorld(creasesOf(meshes[i]));
            LineSegmentSet::RemoveCommonSegments(mesh.creaseEdges.get(),
                                                 mesh.silhouetteEdges.get());
            if (mesh.creaseEdges && mesh.creaseEdges->GetIndexBuffer() == nullptr) {
                mesh.creaseEdges = nullptr;
            }
            for (LineSegmentSet* set : {mesh.silhouetteEdges.get(), mesh.creaseEdges.get()}) {
                if (set != nullptr) {
                    generator.computeOcclusion(*set, 0);
                }
            }
        }
        features.intersectionEdges =
            generator.computeIntersectionEdges(0, &features.hiddenIntersectionEdges);
        return features;
    }

    SetPointer creasesOf(const kx::kxTriMesh* mesh) const {
        if (mesh == nullptr) {
            return nullptr;
        }
        if (mesh == third.get()) {
            const auto* outline = static_cast<const kx::kxOutlineMetadata*>(mesh->GetMetadata(0));
            return LineSegmentSet::GetOutlineEdgesFromTriMesh(mesh, outline->getIBuffer());
        }
        const std::atomic<bool> flag = false;
        const kx::kxCancelInterfaceProxyReadOnly never(flag);
        return LineSegmentSet::GetCreaseEdgesFromTriMesh(mesh, never, 5.0F, false);
    }

    MeshPointer first = MakeMesh(test_support::Box({-6, -5, -4}, {3, 4, 5}));
    MeshPointer second = MakeMesh(test_support::Box({-2, -3, -7}, {7, 6, 2}));
    MeshPointer third = MakeMesh(test_support::Box({8, 2, -3}, {11, 5, 1}));
    MeshPointer wall = MakeMesh(test_support::Box({-9, -8, -9}, {-1, -7, 9}));
    std::vector<const kx::kxTriMesh*> meshes{first.get(), second.get(), nullptr, third.get()};
    std::vector<const kx::kxTriMesh*> occluders{wall.get()};
    GeometricFeaturesGenerator generator;
};

constexpr FeatureChoice kAll{true, true, true, true};

TEST(ComputeFeaturesByMesh, AreWhatTheSingleOperationsGive) {
    ByMeshScene scene;
    FeaturesByMesh features;
    ASSERT_TRUE(scene.generator.computeFeaturesByMesh(features, 0, kAll));
    ASSERT_EQ(features.meshes.size(), 4U);
    EXPECT_FALSE(features.meshes[2].silhouetteEdges);
    EXPECT_TRUE(features.hiddenIntersectionEdges);
    EXPECT_EQ(TextOf(features), TextOf(scene.doneByHand()));
}

TEST(ComputeFeaturesByMesh, LeaveOutWhatIsNotChosen) {
    ByMeshScene scene;
    FeaturesByMesh features;
    ASSERT_TRUE(scene.generator.computeFeaturesByMesh(features, 0, {false, true, false, false}));
    EXPECT_FALSE(features.meshes[0].silhouetteEdges);
    EXPECT_EQ(features.meshes[0].creaseEdges->GetIndexBuffer()->GetIndexQuantity(),
              InWorld(scene.creasesOf(scene.first.get()))->GetIndexBuffer()->GetIndexQuantity());
    EXPECT_FALSE(features.intersectionEdges);
    ASSERT_TRUE(scene.generator.computeFeaturesByMesh(features, 0, {true, false, true, false}));
    EXPECT_TRUE(features.meshes[0].silhouetteEdges);
    EXPECT_FALSE(features.meshes[0].creaseEdges);
    EXPECT_TRUE(features.intersectionEdges);
    EXPECT_FALSE(features.hiddenIntersectionEdges);
}

TEST(ComputeFeaturesByMesh, EndExactlyAtTheTotal) {
    for (const FeatureChoice& choice : {kAll, FeatureChoice{true, true, false, false},
                                        FeatureChoice{false, false, false, false}}) {
        ByMeshScene scene;
        Stopper stopper(kNever);
        scene.generator.setProgressNotifier(&stopper);
        FeaturesByMesh features;
        ASSERT_TRUE(scene.generator.computeFeaturesByMesh(features, 0, choice));
        EXPECT_GT(stopper.total(), 0.0);
        EXPECT_EQ(stopper.done(), stopper.total());
    }
}

TEST(ComputeFeaturesByMesh, StayAsTheyWereWhenCancelledAtAnyQuestion) {
    ByMeshScene scene;
    FeaturesByMesh whole;
    Stopper free(kNever);
    scene.generator.setProgressNotifier(&free);
    ASSERT_TRUE(scene.generator.computeFeaturesByMesh(whole, 0, kAll));
    ASSERT_GT(free.polls(), 100);
    const std::string text = TextOf(whole);
    for (long n = 1; n <= free.polls(); ++n) {
        SCOPED_TRACE(n);
        FeaturesByMesh out;
        out.meshes.resize(7);
        Stopper stopper(n);
        scene.generator.setProgressNotifier(&stopper);
        EXPECT_FALSE(scene.generator.computeFeaturesByMesh(out, 0, kAll));
        EXPECT_EQ(stopper.polls(), n);
        EXPECT_EQ(out.meshes.size(), 7U);
    }
    scene.generator.setProgressNotifier(nullptr);
    ASSERT_TRUE(scene.generator.computeFeaturesByMesh(whole, 0, kAll));
    EXPECT_EQ(TextOf(whole), text);
}

// That nothing leaks is for the address sanitizer to say.
TEST(ComputeFeaturesByMesh, AreThoseOfTheExportedMeshesWhateverElseACallerHasBaked) {
    ByMeshScene scene;
    ctr::BakedTriangles& baked = scene.generator.getBakedTriangles(0);
    baked.setMeshes({scene.first.get(), scene.second.get(), nullptr, scene.third.get(),
                     scene.wall.get(), scene.wall.get()});
    baked.initialize();
    FeaturesByMesh features;
    ASSERT_TRUE(scene.generator.computeFeaturesByMesh(features, 0, kAll));
    EXPECT_EQ(features.meshes.size(), 4U);
    EXPECT_TRUE(features.meshes[3].silhouetteEdges);
}

TEST(ComputeFeaturesByMesh, NeedACluster) {
    FeaturesByMesh out;
    out.meshes.resize(7);
    ByMeshScene scene;
    EXPECT_FALSE(scene.generator.computeFeaturesByMesh(out, 1, kAll));
    GeometricFeaturesGenerator empty;
    EXPECT_FALSE(empty.computeFeaturesByMesh(out, 0, kAll));
    EXPECT_EQ(out.meshes.size(), 7U);
}

// --- a watched cluster ---

TEST(SetSingleExportCluster, IsBakedInOneRunAsWithoutANotifier) {
    ByMeshScene scene;
    FeaturesByMesh expected;
    ASSERT_TRUE(scene.generator.computeFeaturesByMesh(expected, 0, kAll));
    Stopper stopper(kNever);
    EXPECT_TRUE(scene.generator.setSingleExportCluster(scene.meshes, &scene.occluders, stopper));
    EXPECT_GT(stopper.total(), 0.0);
    EXPECT_EQ(stopper.done(), stopper.total());
    FeaturesByMesh features;
    ASSERT_TRUE(scene.generator.computeFeaturesByMesh(features, 0, kAll));
    EXPECT_EQ(TextOf(features), TextOf(expected));
}

TEST(SetSingleExportCluster, CancelledLeavesNone) {
    ByMeshScene scene;
    Stopper free(kNever);
    ASSERT_TRUE(scene.generator.setSingleExportCluster(scene.meshes, nullptr, free));
    for (long n = 1; n <= free.polls(); ++n) {
        Stopper stopper(n);
        EXPECT_FALSE(scene.generator.setSingleExportCluster(scene.meshes, nullptr, stopper));
        FeaturesByMesh features;
        EXPECT_FALSE(scene.generator.computeFeaturesByMesh(features, 0, kAll));
    }
}

} // namespace
