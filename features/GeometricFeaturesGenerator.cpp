// The driver: bakes a cluster of meshes, extracts its feature lines and finds what hides them.
#include <ctr/GeometricFeaturesGenerator.h>

#include <kxSceneGraph/kxOutlineMetadata.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>

#include "linesets/SetConstruction.h"
#include "visibility/EdgeOcclusion.h"
#include "visibility/IntersectionLines.h"

#include <atomic>
#include <cstddef>
#include <tuple>

namespace ctr {
namespace {

using MeshList = std::vector<const kx::kxTriMesh*>;

constexpr float kCreaseAngleInDegrees = 5.0F;

/// Sets on their way into a fused one; freed in any case.
class SetList {
public:
    SetList() = default;
    SetList(const SetList&) = delete;
    SetList& operator=(const SetList&) = delete;
    ~SetList() {
        for (const LineSegmentSet* set : sets) {
            delete set;
        }
    }

    LineSegmentSet* fuse() const { return LineSegmentSet::FuseLineSegmentSets(sets); }

    std::vector<LineSegmentSet*> sets;
};

/// The first outline that a mesh carries, or null.
const kx::kxOutlineMetadata* FindOutline(const kx::kxTriMesh& mesh) {
    for (int i = 0; i < mesh.GetMetadataQuantity(); ++i) {
        const kx::kxMetadata* metadata = mesh.GetMetadata(i);
        if (metadata->GetMetadataTypeId() == kx::kxOutlineMetadata::MetadataTypeId) {
            return static_cast<const kx::kxOutlineMetadata*>(metadata);
        }
    }
    return nullptr;
}

LineSegmentSet* CreasesOfMesh(const kx::kxTriMesh* mesh,
                              const kx::kxCancelInterfaceReadOnly& cancel) {
    if (mesh == nullptr) {
        return nullptr;
    }
    if (const kx::kxOutlineMetadata* outline = FindOutline(*mesh)) {
        return LineSegmentSet::GetOutlineEdgesFromTriMesh(mesh, outline->getIBuffer());
    }
    return LineSegmentSet::GetCreaseEdgesFromTriMesh(mesh, cancel, kCreaseAngleInDegrees, false);
}

std::size_t SegmentCountOf(const kx::kxPointer<LineSegmentSet>& set) {
    return set ? SegmentCount(set->GetIndexBuffer()) : 0;
}

bool IsSeenEndOn(const BakedVertex& b0, const BakedVertex& b1) {
    return b0.x == b1.x && b0.y == b1.y;
}

} // namespace

struct GeometricFeaturesGenerator::tInternal {
    void setCluster(const MeshList& meshes, const MeshList* occluders);
    void clearClusters();
    void initBakedTriangles();
    LineSegmentSet* computeCreaseEdges(unsigned int cluster) const;
    LineSegmentSet* computeSilhouetteEdges(unsigned int cluster) const;
    LineSegmentSet* computeIntersectionEdges(unsigned int cluster);
    LineSegmentSet* computeIntersectionsBehindAll(unsigned int cluster,
                                                  kx::kxPointer<LineSegmentSet>* hidden);
    void releaseLayouts(unsigned int cluster);
    void occlude(LineSegmentSet& set, unsigned int cluster);
    bool
    clipSegment(LineSegmentSet& set, std::size_t segment, BakedVertex& b0, BakedVertex& b1) const;
    void announceTotal(const GeometricFeatures& features, unsigned int cluster) const;

    bool isCanceled() const {
        return progressNotifier != nullptr && progressNotifier->isCanceled();
    }

    DiscreteProjectionSpace projectionSpace;
    std::vector<MeshList> exportClusters;
    std::vector<MeshList> occluderClusters; ///< May be shorter: no mesh that only hides.
    std::vector<BakedTriangles> exportBaked;
    std::vector<BakedTriangles> occluderBaked;
    std::vector<EdgeOcclusion> exportOcclusion; ///< One a baked entry, of which it borrows.
    std::vector<EdgeOcclusion> occluderOcclusion;
    kx::kxProgressNotifierInterface* progressNotifier = nullptr;
    unsigned int contactTolerance = 0;
};

void GeometricFeaturesGenerator::tInternal::setCluster(const MeshList& meshes,
                                                       const MeshList* occluders) {
    exportClusters.assign(1, meshes);
    occluderClusters.clear();
    if (occluders != nullptr && !occluders->empty()) {
        occluderClusters.assign(1, *occluders);
    }
    initBakedTriangles();
}

void GeometricFeaturesGenerator::tInternal::clearClusters() {
    exportClusters.clear();
    occluderClusters.clear();
    exportOcclusion.clear();
    occluderOcclusion.clear();
    exportBaked.clear();
    occluderBaked.clear();
}

void GeometricFeaturesGenerator::tInternal::initBakedTriangles() {
    const std::size_t count = exportClusters.size();
    exportOcclusion.clear();
    occluderOcclusion.clear();
    exportBaked = std::vector<BakedTriangles>(count);
    occluderBaked = std::vector<BakedTriangles>(count);
    const auto bake = [this](BakedTriangles& baked, const MeshList& meshes) {
        baked.setProjectionSpace(&projectionSpace);
        baked.setContactTolerance(contactTolerance);
        baked.setMeshes(meshes);
        baked.initialize();
    };
    for (std::size_t i = 0; i < count; ++i) {
        bake(exportBaked[i], exportClusters[i]);
        bake(occluderBaked[i], i < occluderClusters.size() ? occluderClusters[i] : MeshList());
        exportOcclusion.emplace_back(exportBaked[i]);
        occluderOcclusion.emplace_back(occluderBaked[i]);
    }
}

LineSegmentSet*
GeometricFeaturesGenerator::tInternal::computeCreaseEdges(unsigned int cluster) const {
    if (cluster >= exportClusters.size()) {
        return nullptr;
    }
    const std::atomic<bool> never = false;
    const kx::kxCancelInterfaceProxyReadOnly neverCancel(never);
    SetList list;
    list.sets.resize(exportClusters[cluster].size(), nullptr);
    for (std::size_t i = 0; i < list.sets.size(); ++i) {
        list.sets[i] = CreasesOfMesh(exportClusters[cluster][i], neverCancel);
    }
    return list.fuse();
}

LineSegmentSet*
GeometricFeaturesGenerator::tInternal::computeSilhouetteEdges(unsigned int cluster) const {
    if (cluster >= exportBaked.size()) {
        return nullptr;
    }
    SetList list;
    exportBaked[cluster].computeSilhouetteEdges(list.sets);
    return list.fuse();
}

/// For the record of features: hidden by exported meshes only.
LineSegmentSet*
GeometricFeaturesGenerator::tInternal::computeIntersectionEdges(unsigned int cluster) {
    if (cluster >= exportBaked.size()) {
        return nullptr;
    }
    occluderOcclusion[cluster].release();
    LineSegmentSet* lines =
        FindIntersectionLines({&exportBaked[cluster], exportOcclusion[cluster].layout()}, nullptr,
                              progressNotifier, nullptr);
    releaseLayouts(cluster);
    return lines;
}

LineSegmentSet* GeometricFeaturesGenerator::tInternal::computeIntersectionsBehindAll(
    unsigned int cluster, kx::kxPointer<LineSegmentSet>* hidden) {
    if (cluster >= exportBaked.size()) {
        if (hidden != nullptr) {
            *hidden = nullptr;
        }
        return nullptr;
    }
    const LaidOutTriangles occluders{&occluderBaked[cluster], occluderOcclusion[cluster].layout()};
    LineSegmentSet* lines =
        FindIntersectionLines({&exportBaked[cluster], exportOcclusion[cluster].layout()},
                              &occluders, progressNotifier, hidden);
    releaseLayouts(cluster);
    return lines;
}

/// Intersections are the last that depends on what hides what.
void GeometricFeaturesGenerator::tInternal::releaseLayouts(unsigned int cluster) {
    exportOcclusion[cluster].release();
    occluderOcclusion[cluster].release();
}

void GeometricFeaturesGenerator::tInternal::announceTotal(const GeometricFeatures& features,
                                                          unsigned int cluster) const {
    const std::size_t triangles =
        cluster < exportBaked.size() ? exportBaked[cluster].trianglePlanes.size() : 0;
    const std::size_t steps = 2 * triangles + SegmentCountOf(features.creaseEdges) +
                              SegmentCountOf(features.silhouetteEdges);
    progressNotifier->setTotal(static_cast<double>(static_cast<float>(steps)));
}

void GeometricFeaturesGenerator::tInternal::occlude(LineSegmentSet& set, unsigned int cluster) {
    const std::size_t count = SegmentCount(set.GetIndexBuffer());
    if (set.clipRanges.size() != count) {
        set.clipRanges.assign(count, LineSegmentSet::ClipRange{0.0F, 0.0F, 0.0F, 0.0F});
    }
    if (set.occlusionIntervals.size() != count) {
        set.occlusionIntervals.assign(count, {});
    }
    EdgeOcclusion& exported = exportOcclusion[cluster];
    EdgeOcclusion& occluders = occluderOcclusion[cluster];
    try {
        WorkCounter work(progressNotifier);
        exported.announce(count, work);
        occluders.announce(count, work);
    } catch (const Cancelled&) {
        return;
    }
    std::vector<RationalInterval> scratch;
    for (std::size_t segment = 0; segment < count; ++segment) {
        if (progressNotifier != nullptr) {
            if (progressNotifier->isCanceled()) {
                return;
            }
            progressNotifier->advance(1.0);
        }
        std::vector<RationalInterval>& hidden = set.occlusionIntervals[segment];
        BakedVertex b0{};
        BakedVertex b1{};
        if (!clipSegment(set, segment, b0, b1)) {
            hidden.assign(1, WholeSegment());
            continue;
        }
        scratch = hidden;
        exported.append(b0, b1, scratch);
        occluders.append(b0, b1, scratch);
        IntervalTools::FuseOverlappingIntervals(scratch);
        if (scratch.size() == 1 && IsWhole(scratch.front())) {
            scratch.front() = WholeSegment();
        }
        hidden = scratch;
    }
}

/// Writes the segment's clip record and its ends on the grid; false when it is outside the view or
/// seen end-on.
bool GeometricFeaturesGenerator::tInternal::clipSegment(LineSegmentSet& set,
                                                        std::size_t segment,
                                                        BakedVertex& b0,
                                                        BakedVertex& b1) const {
    const unsigned int* indices = set.GetIndexBuffer()->GetData() + 2 * segment;
    const auto endPoint = [&](int end) {
        const int vertex = static_cast<int>(indices[end]);
        return set.GetWorldTransformation().ApplyForward(set.GetVertexBuffer()->Position3(vertex),
                                                         true);
    };
    LineSegmentSet::ClipRange& clip = set.clipRanges[segment];
    std::tie(clip.t0, clip.t1) =
        projectionSpace.clipEdgeWorld(endPoint(0), endPoint(1), b0, b1, clip.w0, clip.w1);
    return clip.t0 < clip.t1 && !IsSeenEndOn(b0, b1);
}

GeometricFeaturesGenerator::GeometricFeaturesGenerator()
    : internal_(std::make_unique<tInternal>()) {}

GeometricFeaturesGenerator::~GeometricFeaturesGenerator() = default;

void GeometricFeaturesGenerator::setProjectionSpace(const DiscreteProjectionSpace& space) {
    internal_->projectionSpace = space;
}

void GeometricFeaturesGenerator::setContactTolerance(unsigned int steps) {
    internal_->contactTolerance = steps;
}

void GeometricFeaturesGenerator::setProgressNotifier(kx::kxProgressNotifierInterface* notifier) {
    internal_->progressNotifier = notifier;
}

void GeometricFeaturesGenerator::setSingleExportCluster(const MeshList& meshes,
                                                        const MeshList* occluders) {
    // Half of the old cluster and half of the new one would be worse than none.
    try {
        internal_->setCluster(meshes, occluders);
    } catch (...) {
        internal_->clearClusters();
        throw;
    }
}

BakedTriangles& GeometricFeaturesGenerator::getBakedTriangles(unsigned int cluster) {
    return internal_->exportBaked[cluster];
}

void GeometricFeaturesGenerator::computeGeometricFeatures(GeometricFeatures& out,
                                                          unsigned int cluster,
                                                          bool removeCommonSegments) {
    out.creaseEdges = internal_->computeCreaseEdges(cluster);
    if (internal_->isCanceled()) {
        return;
    }
    out.silhouetteEdges = internal_->computeSilhouetteEdges(cluster);
    if (removeCommonSegments) {
        LineSegmentSet::RemoveCommonSegments(out.creaseEdges.get(), out.silhouetteEdges.get());
        if (out.creaseEdges && out.creaseEdges->GetIndexBuffer() == nullptr) {
            out.creaseEdges = nullptr;
        }
    }
    if (internal_->progressNotifier != nullptr) {
        if (internal_->isCanceled()) {
            return;
        }
        internal_->announceTotal(out, cluster);
    }
    if (out.creaseEdges) {
        computeOcclusion(*out.creaseEdges, cluster);
    }
    if (internal_->isCanceled()) {
        return;
    }
    if (out.silhouetteEdges) {
        computeOcclusion(*out.silhouetteEdges, cluster);
    }
    if (internal_->isCanceled()) {
        return;
    }
    out.intersectionEdges = internal_->computeIntersectionEdges(cluster);
}

LineSegmentSet*
GeometricFeaturesGenerator::computeIntersectionEdges(unsigned int cluster,
                                                     kx::kxPointer<LineSegmentSet>* hidden) {
    return internal_->computeIntersectionsBehindAll(cluster, hidden);
}

void GeometricFeaturesGenerator::computeOcclusion(LineSegmentSet& set, unsigned int cluster) {
    if (cluster >= internal_->exportBaked.size() || set.GetVertexBuffer() == nullptr ||
        set.GetIndexBuffer() == nullptr) {
        return;
    }
    internal_->occlude(set, cluster);
}

} // namespace ctr
