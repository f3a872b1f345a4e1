// Each allocation of each operation fails once in turn, and once with all later ones: the operation
// throws nothing but std::bad_alloc and frees all memory, its objects stay usable, and a retry
// gives the same result.
#include <ctr/BakedTriangles.h>
#include <ctr/CreaseEdgeInfo.h>
#include <ctr/FeatureEdges.h>
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/IntervalTools.h>
#include <ctr/LineSegmentSet.h>
#include <ctr/SVGExporter.h>
#include <ctr/Surface.h>
#include <ctr/TrianglesIntersection.h>

#include <kxCommonAddOns/kxGenericBVH.h>
#include <kxCommonAddOns/kxGenericBVHPrimitives.h>
#include <kxCommonAddOns/kxLinearGenericBVHBuilder.h>
#include <kxSceneGraph/kxLine.h>
#include <kxSceneGraph/kxTriMesh.h>

#include "faults/SmallDrawing.h"
#include "faults/allocation/AllocationFault.h"
#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::CreaseEdgeInfo;
using ctr::GeometricFeatures;
using ctr::GeometricFeaturesGenerator;
using ctr::LineSegmentSet;
using ctr::SVGExporter;
using test_support::AllocationFault;
using test_support::BytesOf;
using test_support::kNever;
using test_support::LiveAllocations;
using test_support::MeshList;
using test_support::SetPointer;
using test_support::SmallScene;
using test_support::WriteDrawing;

/// Something to try, with all that it needs made by the constructor.
class Operation {
public:
    Operation() = default;
    virtual ~Operation() = default;
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    virtual void run() = 0;
    /// Uses what a failed run left behind, and brings into order what its caller has to.
    virtual void afterFailure() {}
    virtual std::string outcome() const = 0;
};

/// True when the run ended with std::bad_alloc; any other exception goes through.
bool RunsOutOfMemory(Operation& operation, long first, AllocationFault::Lasting lasting) {
    const AllocationFault fault(first, lasting);
    try {
        operation.run();
    } catch (const std::bad_alloc&) {
        return true;
    }
    return false;
}

template <class Tried> long AllocationsOf() {
    Tried operation;
    const AllocationFault none(0, AllocationFault::Lasting::once);
    operation.run();
    return none.tried();
}

template <class Tried> std::string OutcomeOf() {
    Tried operation;
    operation.run();
    return operation.outcome();
}

template <class Tried>
void FailOnce(long allocation, AllocationFault::Lasting lasting, const std::string& expected) {
    Tried operation;
    EXPECT_TRUE(RunsOutOfMemory(operation, allocation, lasting));
    operation.afterFailure();
    operation.run();
    EXPECT_TRUE(operation.outcome() == expected) << "another outcome at the second try";
}

template <class Tried> void FailEveryAllocation() {
    using Lasting = AllocationFault::Lasting;
    const std::string expected = OutcomeOf<Tried>(); // also makes what a program makes only once
    const long allocations = AllocationsOf<Tried>();
    EXPECT_GT(allocations, 0);
    for (const Lasting lasting : {Lasting::once, Lasting::everAfter}) {
        for (long i = 1; i <= allocations; ++i) {
            const long before = LiveAllocations();
            FailOnce<Tried>(i, lasting, expected);
            ASSERT_FALSE(testing::Test::HasFailure()) << "allocation " << i;
            ASSERT_EQ(LiveAllocations(), before) << "leaked at allocation " << i;
        }
    }
}

/// A path of the running test's own.
std::string DrawingPath() {
    return test_support::OwnPath("drawing");
}

// --- the test's own means ---------------------------------------------------------------------

// Called by name, since compilers may leave out what a new-expression would allocate.
TEST(AllocationFaults, HitEveryFormOfNewOnceOrEverAfter) {
    using Lasting = AllocationFault::Lasting;
    constexpr std::align_val_t kWide{64};
    const long before = LiveAllocations();
    void* const kept = ::operator new(1);
    EXPECT_EQ(LiveAllocations(), before + 1);
    {
        const AllocationFault second(2, Lasting::once);
        ::operator delete(::operator new(4));
        EXPECT_THROW(::operator delete[](::operator new[](4)), std::bad_alloc);
        ::operator delete(::operator new(4, kWide), kWide);
        EXPECT_EQ(second.tried(), 3);
    }
    {
        const AllocationFault all(1, Lasting::everAfter);
        EXPECT_THROW(::operator delete(::operator new(4, kWide), kWide), std::bad_alloc);
        EXPECT_THROW(::operator delete[](::operator new[](4, kWide), kWide), std::bad_alloc);
        EXPECT_EQ(::operator new(4, std::nothrow), nullptr);
        EXPECT_EQ(::operator new[](4, kWide, std::nothrow), nullptr);
    }
    EXPECT_EQ(LiveAllocations(), before + 1);
    ::operator delete(kept);
    EXPECT_EQ(LiveAllocations(), before);
}

// --- whole drawings ---------------------------------------------------------------------------

class WholeDrawing : public Operation {
public:
    WholeDrawing() : path_(DrawingPath()) {}

    void run() override {
        GeometricFeatures features;
        DrawScene(generator_, scene_, features);
        written_ = WriteDrawing(exporter_, scene_.space, features, path_);
        const std::vector<LineSegmentSet*> sets{features.creaseEdges.get(),
                                                features.silhouetteEdges.get(),
                                                features.intersectionEdges.get()};
        fused_ = LineSegmentSet::FuseLineSegmentSets(sets);
        features_ = features;
    }
    void afterFailure() override {
        exporter_.closeFile();
        GeometricFeatures features;
        generator_.computeGeometricFeatures(features, 0, true);
    }
    std::string outcome() const override {
        EXPECT_TRUE(written_);
        return BytesOf(features_) + BytesOf(fused_.get()) + test_support::FileBytes(path_);
    }

private:
    SmallScene scene_;
    GeometricFeaturesGenerator generator_;
    SVGExporter exporter_;
    std::string path_;
    GeometricFeatures features_;
    SetPointer fused_;
    bool written_ = false;
};

TEST(FailedAllocation, InAWholeDrawing) {
    FailEveryAllocation<WholeDrawing>();
    std::filesystem::remove(DrawingPath());
}

/// The scene baked, for operations that come after.
struct BakedScene {
    BakedScene() {
        baked.setProjectionSpace(&scene.space);
        baked.setMeshes(MeshList(scene.meshes));
        baked.initialize();
    }
    SmallScene scene;
    BakedTriangles baked;
};

// --- baked triangles --------------------------------------------------------------------------

std::string BytesOfBaked(const BakedTriangles& baked) {
    std::ostringstream text;
    for (const ctr::BakedVertex& v : baked.vertices) {
        text << v.x << ' ' << v.y << ' ' << v.z << '\n';
    }
    for (const unsigned int index : baked.triangleIndices) {
        text << index << ' ';
    }
    for (const auto& words : baked.clippedTriangleOrigins) {
        for (const unsigned int word : words) {
            text << word << ' ';
        }
        text << '\n';
    }
    for (const unsigned int primitive : baked.bvh.primitives) {
        text << primitive << ' ';
    }
    return text.str();
}

/// The sets of a call that may throw; freed by their owner, which is this.
struct OwnedSets {
    OwnedSets() = default;
    OwnedSets(const OwnedSets&) = delete;
    OwnedSets& operator=(const OwnedSets&) = delete;
    ~OwnedSets() { clear(); }
    void clear() {
        for (const LineSegmentSet* set : sets) {
            delete set;
        }
        sets.clear();
    }
    std::vector<LineSegmentSet*> sets;
};

class Baking : public Operation {
public:
    Baking() {
        baked_.setProjectionSpace(&scene_.space);
        baked_.setMeshes(MeshList(scene_.meshes));
    }
    void run() override { baked_.initialize(); }
    // Results without all triangles are discarded: no lines, nothing hidden.
    void afterFailure() override {
        OwnedSets silhouettes;
        EXPECT_FALSE(baked_.computeSilhouetteEdges(silhouettes.sets));
        EXPECT_EQ(silhouettes.sets, std::vector<LineSegmentSet*>(scene_.meshes.size(), nullptr));
        std::vector<ctr::RationalInterval> hidden;
        baked_.computeOcclusionIntervals({0, 0, 255}, {255, 255, 255}, hidden);
        EXPECT_TRUE(hidden.empty());
        const ctr::TrianglesIntersection intersection(baked_);
        EXPECT_FALSE(SetPointer(intersection.computeIntersectionEdges()));
        const kx::kxPointer<kx::kxTriMesh> mesh(baked_.computeBakedMesh());
        EXPECT_EQ(mesh->GetTriangleQuantity(), 0);
    }
    std::string outcome() const override { return BytesOfBaked(baked_); }

private:
    SmallScene scene_;
    BakedTriangles baked_;
};

TEST(FailedAllocation, WhileBakingLeavesNothingBaked) {
    FailEveryAllocation<Baking>();
}

class BakingAgain : public Operation {
public:
    void run() override {
        scene_.baked.setMeshes(MeshList(other_.meshes));
        scene_.baked.initialize();
    }
    void afterFailure() override {
        OwnedSets silhouettes;
        scene_.baked.computeSilhouetteEdges(silhouettes.sets);
        const ctr::TrianglesIntersection intersection(scene_.baked);
        const SetPointer lines(intersection.computeIntersectionEdges());
    }
    std::string outcome() const override { return BytesOfBaked(scene_.baked); }

private:
    struct MoreMeshes : SmallScene {
        MoreMeshes() {
            for (int i = 0; i < 8; ++i) {
                meshes.push_back(meshes[5]);
                meshes.push_back(meshes[1]);
            }
        }
    };
    BakedScene scene_;
    MoreMeshes other_;
};

TEST(FailedAllocation, WhileBakingOverOtherMeshes) {
    FailEveryAllocation<BakingAgain>();
}

class FirstPass : public Operation {
public:
    void run() override { scene_.baked.initializeFirstPass(data_); }
    std::string outcome() const override {
        std::ostringstream text;
        text << data_.vertexCount << ' ' << data_.triangleCount;
        for (const auto& polygons : data_.clippedPolygons) {
            text << '\n' << polygons.size();
        }
        return text.str();
    }

private:
    BakedScene scene_;
    BakedTriangles::tFirstPassData data_;
};

TEST(FailedAllocation, InTheFirstPass) {
    FailEveryAllocation<FirstPass>();
}

class BakedMeshCopy : public Operation {
public:
    void run() override { mesh_ = scene_.baked.computeBakedMesh(); }
    std::string outcome() const override {
        return test_support::IndicesText(mesh_->GetIndexBuffer()) +
               test_support::PositionsText(mesh_->GetVertexBuffer());
    }

private:
    BakedScene scene_;
    kx::kxPointer<kx::kxTriMesh> mesh_;
};

TEST(FailedAllocation, InACopyOfTheBakedMesh) {
    FailEveryAllocation<BakedMeshCopy>();
}

const ctr::RationalInterval kEarlier = test_support::Range(1, 4, 1, 2);

class Query : public Operation {
public:
    void run() override {
        hidden_.assign(1, kEarlier);
        scene_.baked.computeOcclusionIntervals({10, 20, 250}, {250, 200, 240}, hidden_);
    }
    void afterFailure() override {
        if (!hidden_.empty()) {
            EXPECT_EQ(test_support::NumbersOf(hidden_[0]), test_support::NumbersOf(kEarlier));
        }
    }
    std::string outcome() const override { return test_support::RangesText(hidden_); }

private:
    BakedScene scene_;
    std::vector<ctr::RationalInterval> hidden_;
};

TEST(FailedAllocation, InAnOcclusionQueryKeepsEarlierRanges) {
    FailEveryAllocation<Query>();
}

// The caller frees the sets found before the failure, like those of a call that succeeds.
class Silhouettes : public Operation {
public:
    void run() override { EXPECT_TRUE(scene_.baked.computeSilhouetteEdges(found_.sets)); }
    void afterFailure() override { found_.clear(); }
    std::string outcome() const override {
        std::string text;
        for (const LineSegmentSet* set : found_.sets) {
            text += BytesOf(set);
        }
        return text;
    }

private:
    BakedScene scene_;
    OwnedSets found_;
};

TEST(FailedAllocation, AmongTheSilhouettes) {
    FailEveryAllocation<Silhouettes>();
}

class Intersections : public Operation {
public:
    void run() override { visible_ = intersection_.computeIntersectionEdges(&hidden_); }
    std::string outcome() const override {
        EXPECT_TRUE(visible_ && hidden_);
        return BytesOf(visible_.get()) + BytesOf(hidden_.get());
    }

private:
    BakedScene scene_;
    ctr::TrianglesIntersection intersection_{scene_.baked};
    SetPointer visible_;
    SetPointer hidden_;
};

TEST(FailedAllocation, AmongTheIntersections) {
    FailEveryAllocation<Intersections>();
}

class IntersectionObject : public Operation {
public:
    void run() override { made_ = std::make_unique<ctr::TrianglesIntersection>(scene_.baked); }
    std::string outcome() const override {
        return BytesOf(SetPointer(made_->computeIntersectionEdges()).get());
    }

private:
    BakedScene scene_;
    std::unique_ptr<ctr::TrianglesIntersection> made_;
};

TEST(FailedAllocation, MakingAnIntersectionFinder) {
    FailEveryAllocation<IntersectionObject>();
}

// --- the hierarchy ----------------------------------------------------------------------------

class Boxes : public kx::kxGenericBVHPrimitives {
public:
    unsigned int getPrimitiveQuantity() const override { return 40; }
    kx::kxBBox getPrimitiveBox(unsigned int i) const override {
        const auto at = static_cast<float>(i * 37 % 40);
        const auto up = static_cast<float>(i % 7);
        return {{at, up, 0.0F}, {at + 2.0F, up + 1.0F, 1.0F}};
    }
};

class Hierarchy : public Operation {
public:
    void run() override {
        EXPECT_TRUE(kx::kxLinearGenericBVHBuilder::build(tree_, Boxes(), nullptr, 1));
    }
    void afterFailure() override {
        EXPECT_TRUE(tree_.nodes.empty());
        EXPECT_TRUE(tree_.primitives.empty());
    }
    std::string outcome() const override {
        std::ostringstream text;
        for (const kx::kxGenericBVH::Node& node : tree_.nodes) {
            text << node.first << ' ' << node.second << '\n';
        }
        for (const unsigned int primitive : tree_.primitives) {
            text << primitive << ' ';
        }
        return text.str();
    }

private:
    kx::kxGenericBVH tree_;
};

TEST(FailedAllocation, InTheHierarchyLeavesItEmpty) {
    FailEveryAllocation<Hierarchy>();
}

// --- the generator ----------------------------------------------------------------------------

class GeneratorObject : public Operation {
public:
    void run() override { generator_ = std::make_unique<GeometricFeaturesGenerator>(); }
    std::string outcome() const override {
        GeometricFeatures features;
        DrawScene(*generator_, SmallScene(), features);
        return BytesOf(features);
    }

private:
    std::unique_ptr<GeometricFeaturesGenerator> generator_;
};

TEST(FailedAllocation, MakingAGenerator) {
    FailEveryAllocation<GeneratorObject>();
}

// Whatever a failed call leaves, it may not be half of the old meshes and half of the new: those
// may be gone.
class SecondCluster : public Operation {
public:
    SecondCluster() {
        generator_.setProjectionSpace(scene_.space);
        const std::unique_ptr<SmallScene> first = std::make_unique<SmallScene>();
        first->meshes.resize(2);
        generator_.setSingleExportCluster(MeshList(first->meshes), nullptr);
    }
    void run() override { generator_.setSingleExportCluster(meshes_, &occluders_); }
    void afterFailure() override {
        GeometricFeatures features;
        generator_.computeGeometricFeatures(features, 0, true);
        EXPECT_FALSE(features.creaseEdges || features.silhouetteEdges ||
                     features.intersectionEdges);
    }
    std::string outcome() const override {
        GeometricFeatures features;
        generator_.computeGeometricFeatures(features, 0, true);
        return BytesOf(features);
    }

private:
    SmallScene scene_;
    std::vector<const kx::kxTriMesh*> meshes_ = MeshList(scene_.meshes);
    std::vector<const kx::kxTriMesh*> occluders_ = MeshList(scene_.hiding);
    mutable GeometricFeaturesGenerator generator_;
};

TEST(FailedAllocation, SettingAnotherClusterLeavesNone) {
    FailEveryAllocation<SecondCluster>();
}

/// A generator that has its meshes.
class WithGenerator : public Operation {
public:
    WithGenerator() { DrawScene(generator, scene, features); }
    SmallScene scene;
    GeometricFeaturesGenerator generator;
    GeometricFeatures features;
};

class Features : public WithGenerator {
public:
    void run() override { generator.computeGeometricFeatures(features, 0, false); }
    void afterFailure() override {
        for (const SetPointer& set :
             {features.creaseEdges, features.silhouetteEdges, features.intersectionEdges}) {
            const SetPointer pieces(LineSegmentSet::BakeVisibleSegments(set.get()));
            EXPECT_TRUE(pieces || !set);
        }
    }
    std::string outcome() const override { return BytesOf(features); }
};

TEST(FailedAllocation, ComputingFeaturesLeavesSetsThatCanBeDrawn) {
    FailEveryAllocation<Features>();
}

// The records of a set have one entry per segment or none, also after a failure, and a second try
// finishes what the first began.
class Occlusion : public WithGenerator {
public:
    Occlusion()
        : set_(LineSegmentSet::GetOutlineEdgesFromTriMesh(
              scene.meshes[0].get(), test_support::MakeIndices({0, 7, 1, 6, 2, 5, 3, 4, 0, 1}))) {}
    void run() override { generator.computeOcclusion(*set_, 0); }
    void afterFailure() override {
        EXPECT_TRUE(set_->clipRanges.empty() || set_->clipRanges.size() == 5);
        EXPECT_TRUE(set_->occlusionIntervals.empty() || set_->occlusionIntervals.size() == 5);
        const SetPointer visible(LineSegmentSet::BakeVisibleSegments(set_.get()));
        EXPECT_TRUE(visible);
    }
    std::string outcome() const override { return BytesOf(set_.get()); }

private:
    SetPointer set_;
};

TEST(FailedAllocation, HidingASetIsFinishedByASecondTry) {
    FailEveryAllocation<Occlusion>();
}

// --- crease edges -----------------------------------------------------------------------------

std::string BytesOfEdges(const std::vector<CreaseEdgeInfo>& edges) {
    std::ostringstream text;
    for (const CreaseEdgeInfo& edge : edges) {
        text << edge.vertexA << ' ' << edge.vertexB << '\n';
    }
    return text.str();
}

class Creases : public Operation {
public:
    void run() override {
        EXPECT_TRUE(ctr::ComputeCreaseEdgeInfo(edges_, mesh_->GetVertexBuffer(),
                                               mesh_->GetIndexBuffer(), 5.0F, cancel_));
    }
    std::string outcome() const override { return BytesOfEdges(edges_); }

protected:
    kx::kxPointer<kx::kxTriMesh> mesh_ = test_support::RidgeWithNormals();
    test_support::CancelAtQuestion cancel_{kNever};
    std::vector<CreaseEdgeInfo> edges_;
};

TEST(FailedAllocation, AmongTheCreases) {
    FailEveryAllocation<Creases>();
}

class CreaseBuffers : public Creases {
public:
    CreaseBuffers() { Creases::run(); }
    void run() override { EXPECT_TRUE(ctr::MakeBuffersFromEdgeInfo(edges_, lines_, &flags_)); }
    std::string outcome() const override {
        std::string text = test_support::IndicesText(lines_.get());
        for (const bool flag : flags_) {
            text += flag ? '1' : '0';
        }
        return text;
    }

private:
    test_support::IndicesPointer lines_ = test_support::MakeIndices({0, 1});
    std::vector<bool> flags_;
};

TEST(FailedAllocation, MakingBuffersOfCreases) {
    FailEveryAllocation<CreaseBuffers>();
}

class CreasesAndLines : public Creases {
public:
    CreasesAndLines() { Creases::run(); }
    void run() override {
        all_ = edges_;
        EXPECT_TRUE(
            ctr::ComputeEdgeInfoFromIBuffer(all_, mesh_->GetVertexBuffer(), lines_.get(), tags_));
    }
    std::string outcome() const override {
        return BytesOfEdges(all_) + std::string(tags_.begin(), tags_.end()) +
               test_support::IndicesText(lines_.get());
    }

private:
    test_support::IndicesPointer lines_ = test_support::MakeIndices({0, 2, 5, 3, 1, 6, 2, 0, 7, 4});
    std::vector<CreaseEdgeInfo> all_;
    std::vector<unsigned char> tags_;
};

TEST(FailedAllocation, AddingLinesToCreases) {
    FailEveryAllocation<CreasesAndLines>();
}

class CreaseSet : public Creases {
public:
    void run() override {
        set_ = LineSegmentSet::GetCreaseEdgesFromTriMesh(mesh_.get(), cancel_, 5.0F, true);
    }
    std::string outcome() const override { return BytesOf(set_.get()); }

private:
    SetPointer set_;
};

TEST(FailedAllocation, MakingASetOfCreases) {
    FailEveryAllocation<CreaseSet>();
}

/// Two quads with a crack between them, beside a third one that meets them in a T-junction; one of
/// its triangles is there twice, and one is none.
test_support::MeshData WornPlate() {
    using test_support::Point;
    using test_support::Quad;
    test_support::MeshData data =
        Quad(Point(0, 0, 0), Point(4, 0, 0), Point(4, 4, 0), Point(0, 4, 0));
    data.append(Quad(Point(4.0001F, 0, 0), Point(9, 0, 0), Point(9, 4, 0), Point(4.0001F, 4, 0)));
    data.append(Quad(Point(0, 4, 0), Point(9, 4, 0), Point(9, 8, 3), Point(0, 8, 3)));
    data.addTriangle(8, 9, 10);
    data.addTriangle(8, 9, 9);
    return data;
}

class FeatureEdges : public Operation {
public:
    void run() override { edges_ = ctr::FindFeatureEdges(*mesh_); }
    std::string outcome() const override {
        EXPECT_EQ(mesh_->GetVertexBuffer()->GetReferences(), 1);
        return test_support::IndicesText(edges_->getIBuffer().get());
    }

private:
    kx::kxPointer<kx::kxTriMesh> mesh_ = test_support::MakeMesh(WornPlate());
    kx::kxPointer<kx::kxOutlineMetadata> edges_;
};

TEST(FailedAllocation, FindingFeatureEdges) {
    FailEveryAllocation<FeatureEdges>();
}

class Repair : public Operation {
public:
    void run() override { report_ = surface_.repair({ctr::Welding::Mode::Distance, 0.001}); }
    void afterFailure() override {
        EXPECT_EQ(surface_.vertices().get(), mesh_->GetVertexBuffer()) << "as it was";
        EXPECT_GT(surface_.featureEdges(10.0)->getIBuffer()->GetIndexQuantity(), 0);
    }
    std::string outcome() const override {
        EXPECT_EQ(report_.doubledFaces, 1U);
        EXPECT_EQ(report_.joinedEdges, 1U);
        EXPECT_EQ(report_.splitEdges, 1U);
        return test_support::IndicesText(surface_.triangles().get()) +
               test_support::IndicesText(surface_.featureEdges(10.0)->getIBuffer().get());
    }

private:
    kx::kxPointer<kx::kxTriMesh> mesh_ = test_support::MakeMesh(WornPlate());
    ctr::Surface surface_{mesh_->GetVertexBuffer(), mesh_->GetIndexBuffer()};
    ctr::SurfaceReport report_;
};

TEST(FailedAllocation, RepairingASurfaceLeavesItAsItWas) {
    FailEveryAllocation<Repair>();
}

// --- sets -------------------------------------------------------------------------------------

class OutlineSet : public Operation {
public:
    void run() override {
        set_ = LineSegmentSet::GetOutlineEdgesFromTriMesh(mesh_.get(), outline_);
    }
    std::string outcome() const override {
        EXPECT_EQ(outline_->GetReferences(), 2);
        return BytesOf(set_.get());
    }

private:
    kx::kxPointer<kx::kxTriMesh> mesh_ = test_support::OutlinedPlate();
    test_support::IndicesPointer outline_ = test_support::MakeIndices({0, 1, 1, 2});
    SetPointer set_;
};

TEST(FailedAllocation, WrappingAnOutline) {
    FailEveryAllocation<OutlineSet>();
}

class Fusing : public WithGenerator {
public:
    void run() override {
        fused_ = LineSegmentSet::FuseLineSegmentSets(
            {features.creaseEdges.get(), nullptr, features.silhouetteEdges.get()});
    }
    std::string outcome() const override { return BytesOf(fused_.get()); }

private:
    SetPointer fused_;
};

TEST(FailedAllocation, FusingSets) {
    FailEveryAllocation<Fusing>();
}

// Creases and silhouettes share lines here, of which some are left; their records were emptied, so
// that they have to grow as well.
class Removal : public WithGenerator {
public:
    Removal() {
        generator.computeGeometricFeatures(features, 0, false);
        features.creaseEdges->clipRanges.clear();
        features.creaseEdges->occlusionIntervals.clear();
        features.creaseEdges->occlusionIntervals.shrink_to_fit();
        features.creaseEdges->clipRanges.shrink_to_fit();
    }
    void run() override {
        LineSegmentSet::RemoveCommonSegments(features.creaseEdges.get(),
                                             features.silhouetteEdges.get());
    }
    void afterFailure() override {
        const LineSegmentSet& set = *features.creaseEdges;
        const auto segments =
            static_cast<std::size_t>(set.GetIndexBuffer()->GetIndexQuantity() / 2);
        EXPECT_TRUE(set.clipRanges.empty() || set.clipRanges.size() == segments);
        EXPECT_TRUE(set.occlusionIntervals.empty() || set.occlusionIntervals.size() == segments);
        EXPECT_TRUE(SetPointer(LineSegmentSet::BakeVisibleSegments(&set)));
    }
    std::string outcome() const override { return BytesOf(features.creaseEdges.get()); }
};

TEST(FailedAllocation, RemovingCommonSegmentsIsFinishedByASecondTry) {
    FailEveryAllocation<Removal>();
}

constexpr const char* kLongName = "a name that does not fit into a string by itself";

class NewClone : public WithGenerator {
public:
    NewClone() { features.creaseEdges->SetName(kLongName); }
    void run() override {
        clone_ = nullptr;
        kx::kxRttiInterface* target = nullptr;
        try {
            EXPECT_TRUE(features.creaseEdges->Clone(target));
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(target, nullptr) << "nobody owns what is left there";
            throw;
        }
        clone_ = dynamic_cast<LineSegmentSet*>(target);
    }
    std::string outcome() const override { return clone_->GetName() + BytesOf(clone_.get()); }

private:
    SetPointer clone_;
};

TEST(FailedAllocation, CloningLeavesNoTarget) {
    FailEveryAllocation<NewClone>();
}

class NewLineClone : public Operation {
public:
    NewLineClone() { line_->SetName(kLongName); }
    void run() override {
        kx::kxRttiInterface* target = nullptr;
        try {
            EXPECT_TRUE(line_->Clone(target));
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(target, nullptr) << "nobody owns what is left there";
            throw;
        }
        clone_ = dynamic_cast<kx::kxLine*>(target);
    }
    std::string outcome() const override { return clone_->GetName(); }

private:
    kx::kxPointer<kx::kxLine> line_{new kx::kxLine(nullptr, nullptr, false)};
    kx::kxPointer<kx::kxLine> clone_;
};

TEST(FailedAllocation, CloningALineLeavesNoTarget) {
    FailEveryAllocation<NewLineClone>();
}

class CloneOnto : public WithGenerator {
public:
    CloneOnto() {
        features.creaseEdges->SetName(kLongName);
        features.creaseEdges->segmentFlags.clear();
    }
    void run() override {
        kx::kxRttiInterface* target = target_.get();
        EXPECT_TRUE(features.creaseEdges->Clone(target));
        EXPECT_EQ(target, target_.get());
    }
    void afterFailure() override {
        EXPECT_EQ(target_->GetReferences(), 1);
        const SetPointer visible(LineSegmentSet::BakeVisibleSegments(target_.get()));
    }
    std::string outcome() const override { return target_->GetName() + BytesOf(target_.get()); }

private:
    SetPointer target_ = test_support::MakeSet({{0, 0, 0}, {1, 0, 0}}, {0, 1});
};

TEST(FailedAllocation, CloningOntoASet) {
    FailEveryAllocation<CloneOnto>();
}

class VisiblePieces : public WithGenerator {
public:
    void run() override {
        pieces_ = LineSegmentSet::BakeVisibleSegments(features.creaseEdges.get());
    }
    std::string outcome() const override { return BytesOf(pieces_.get()); }

private:
    SetPointer pieces_;
};

TEST(FailedAllocation, MakingVisiblePieces) {
    FailEveryAllocation<VisiblePieces>();
}

std::string BytesOfArcs(const std::vector<LineSegmentSet::ArcFeature>& arcs) {
    const auto number = [&arcs](const LineSegmentSet::ArcFeature* record) {
        return record == nullptr ? -1L : static_cast<long>(record - arcs.data());
    };
    std::ostringstream text;
    for (const LineSegmentSet::ArcFeature& arc : arcs) {
        text << arc.first << ' ' << arc.end << ' ' << arc.kind << ' ' << number(arc.prev) << ' '
             << number(arc.next) << '\n';
    }
    return text.str();
}

// Links of records lead to records of the same list, or nowhere.
void ExpectLinksWithin(const std::vector<LineSegmentSet::ArcFeature>& arcs) {
    for (const LineSegmentSet::ArcFeature& arc : arcs) {
        for (const LineSegmentSet::ArcFeature* link : {arc.prev, arc.next}) {
            EXPECT_TRUE(link == nullptr ||
                        (link >= arcs.data() && link < arcs.data() + arcs.size()));
        }
    }
}

// A ring, a bend and a straight run: arcs, lines and chains of both.
SetPointer RingAndBend() {
    std::vector<test_support::Vec3> points;
    std::vector<unsigned int> lines;
    constexpr unsigned int kSides = 32;
    for (unsigned int i = 0; i < kSides; ++i) {
        const float angle = 6.2831853F * static_cast<float>(i) / static_cast<float>(kSides);
        points.emplace_back(std::cos(angle), std::sin(angle), 0.0F);
        lines.insert(lines.end(), {i, (i + 1) % kSides});
    }
    points.insert(points.end(), {{2, 0, 0}, {3, 0, 0}, {4, 0, 0}, {4, 2, 0}, {4, 0, 0}});
    lines.insert(lines.end(), {33, 32, 33, 34, 35, 36, 0, 32});
    return test_support::MakeSet(points, lines);
}

class Chaining : public Operation {
public:
    void run() override { polylines_ = LineSegmentSet::BuildPolylines(*source_, arcs_, true); }
    void afterFailure() override { ExpectLinksWithin(arcs_); }
    std::string outcome() const override { return BytesOf(polylines_.get()) + BytesOfArcs(arcs_); }

private:
    SetPointer source_ = RingAndBend();
    SetPointer polylines_;
    std::vector<LineSegmentSet::ArcFeature> arcs_;
};

TEST(FailedAllocation, ChainingASet) {
    FailEveryAllocation<Chaining>();
}

class ChainingBuffers : public Operation {
public:
    void run() override {
        tags_.assign(36, 1);
        tags_[3] = 2;
        EXPECT_TRUE(LineSegmentSet::BuildPolylinesImpl(*source_->GetVertexBuffer(),
                                                       *source_->GetIndexBuffer(), nullptr, &tags_,
                                                       polylines_, arcs_, flags_));
    }
    void afterFailure() override { ExpectLinksWithin(arcs_); }
    std::string outcome() const override {
        std::string text = test_support::IndicesText(polylines_.get()) + BytesOfArcs(arcs_);
        for (std::size_t i = 0; i < tags_.size(); ++i) {
            text += std::to_string(tags_[i]) + (flags_[i] ? "|" : " ");
        }
        return text;
    }

private:
    SetPointer source_ = RingAndBend();
    std::vector<unsigned char> tags_;
    test_support::IndicesPointer polylines_;
    std::vector<LineSegmentSet::ArcFeature> arcs_;
    std::vector<bool> flags_;
};

TEST(FailedAllocation, ChainingBareBuffers) {
    FailEveryAllocation<ChainingBuffers>();
}

// A line list is rewritten to the new vertices as a whole or not at all.
class Filtering : public Operation {
public:
    void run() override {
        lines_ = test_support::MakeIndices(kLines);
        const AllocationsOnTheWay guard(*this);
        LineSegmentSet::CreateFilteredVertexBufferPatched(*source_->GetVertexBuffer(), *lines_,
                                                          filtered_);
        whole_ = true;
    }
    std::string outcome() const override {
        return test_support::PositionsText(filtered_.get()) +
               test_support::IndicesText(lines_.get());
    }

private:
    struct AllocationsOnTheWay {
        explicit AllocationsOnTheWay(Filtering& owner) : filtering(owner) {
            filtering.whole_ = false;
        }
        ~AllocationsOnTheWay() {
            const unsigned int* data = filtering.lines_->GetData();
            EXPECT_TRUE(filtering.whole_ || std::equal(kLines.begin(), kLines.end(), data));
        }
        Filtering& filtering;
    };
    static inline const std::vector<unsigned int> kLines{33, 32, 36, 35, 0, 34};
    SetPointer source_ = RingAndBend();
    test_support::IndicesPointer lines_;
    test_support::VerticesPointer filtered_;
    bool whole_ = false;
};

TEST(FailedAllocation, FilteringVerticesLeavesTheLinesAlone) {
    FailEveryAllocation<Filtering>();
}

TEST(FailedAllocation, CannotHappenWhereNothingIsAllocated) {
    std::vector<ctr::RationalInterval> ranges;
    for (long i = 0; i < 100; ++i) {
        ranges.push_back(test_support::Range(i * 37 % 100, 100, i * 37 % 100 + 1 + i % 3, 100));
    }
    const AllocationFault all(1, AllocationFault::Lasting::everAfter);
    ctr::IntervalTools::FuseOverlappingIntervals(ranges);
    EXPECT_EQ(all.tried(), 0);
}

// --- the exporter -----------------------------------------------------------------------------

class ExporterObject : public Operation {
public:
    void run() override { exporter_ = std::make_unique<SVGExporter>(); }
    std::string outcome() const override {
        return std::to_string(exporter_->getLineStyles().size());
    }

private:
    std::unique_ptr<SVGExporter> exporter_;
};

TEST(FailedAllocation, MakingAnExporter) {
    FailEveryAllocation<ExporterObject>();
}

class WithExporter : public WithGenerator {
public:
    WithExporter() { exporter.setExportParameters(ctr::ExportParameters(scene.space)); }
    SVGExporter exporter;
    std::string path = DrawingPath();
};

class Settings : public WithExporter {
public:
    void run() override {
        exporter.setTitle(kLongName);
        exporter.setDescription(kLongName);
        exporter.setLineStyle(kLongName, {Wm4::ColorRGB(1.0F, 0.0F, 0.0F), 0.5F});
    }
    std::string outcome() const override {
        return std::to_string(exporter.getLineStyles().size()) +
               std::to_string(exporter.getLineStyle(kLongName).width);
    }
};

TEST(FailedAllocation, InTheExportersSettings) {
    FailEveryAllocation<Settings>();
}

// A file that could not be opened is not open.
class Opening : public WithExporter {
public:
    void run() override { opened_ = exporter.openFile(path); }
    std::string outcome() const override {
        EXPECT_TRUE(opened_) << "the failed call has left a file open";
        return test_support::FileBytes(path);
    }

private:
    bool opened_ = false;
};

TEST(FailedAllocation, OpeningAFileLeavesNoneOpen) {
    FailEveryAllocation<Opening>();
    std::filesystem::remove(DrawingPath());
}

// Lines that were written before the failure stay; what comes after begins with whole groups.
class Streaming : public WithExporter {
public:
    void run() override {
        EXPECT_TRUE(exporter.openFile(path));
        EXPECT_TRUE(exporter.streamGeometricFeatures(features));
        EXPECT_TRUE(exporter.closeFile());
    }
    void afterFailure() override {
        if (exporter.closeFile()) {
            const std::string text = test_support::FileBytes(path);
            EXPECT_EQ(Count(text, "<g "), Count(text, "</g>"));
            EXPECT_EQ(Count(text, "</svg>"), 1);
        }
    }
    std::string outcome() const override { return test_support::FileBytes(path); }

private:
    static int Count(const std::string& text, const std::string& word) {
        int count = 0;
        for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
            ++count;
        }
        return count;
    }
};

TEST(FailedAllocation, StreamingLeavesWholeGroups) {
    FailEveryAllocation<Streaming>();
    std::filesystem::remove(DrawingPath());
}

// --- meshes and buffers -----------------------------------------------------------------------

class MakingAMesh : public Operation {
public:
    void run() override {
        mesh_ = test_support::RidgeWithNormals();
        mesh_->SetName(kLongName);
        mesh_->AddMetadata(metadata_.get());
        mesh_->AttachParent(parent_.get());
        mesh_->GetIndexBuffer()->SetIndexQuantity(300);
    }
    std::string outcome() const override {
        EXPECT_EQ(mesh_->GetMetadataQuantity(), 1);
        EXPECT_EQ(metadata_->GetReferences(), 2);
        return mesh_->GetName() + test_support::IndicesText(mesh_->GetIndexBuffer()) +
               test_support::PositionsText(mesh_->GetVertexBuffer());
    }

private:
    kx::kxPointer<kx::kxOutlineMetadata> metadata_{
        new kx::kxOutlineMetadata(test_support::MakeIndices({0, 1}))};
    kx::kxPointer<kx::kxTriMesh> parent_ = test_support::OutlinedPlate();
    kx::kxPointer<kx::kxTriMesh> mesh_;
};

TEST(FailedAllocation, MakingAMeshWithAllThatBelongsToIt) {
    FailEveryAllocation<MakingAMesh>();
}

class GrowingIndices : public Operation {
public:
    void run() override { buffer_->SetIndexQuantity(1000); }
    void afterFailure() override {
        EXPECT_EQ(test_support::IndicesText(buffer_.get()), "4 5 6 7 ");
    }
    std::string outcome() const override { return test_support::IndicesText(buffer_.get()); }

private:
    test_support::IndicesPointer buffer_ = test_support::MakeIndices({4, 5, 6, 7});
};

TEST(FailedAllocation, GrowingABufferLeavesItAsItWas) {
    FailEveryAllocation<GrowingIndices>();
}

} // namespace
