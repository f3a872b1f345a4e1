// The driver: bakes a cluster of meshes, extracts its feature lines (creases or given feature
// edges, silhouettes, intersections) and computes their occluded intervals.
//
// About O((n + k) log n) for n triangles and k lines at low depth complexity. Intervals are exact
// for the grid points of a segment; the segment is rounded to the grid by less than one step per
// axis.
#include <ctr/GeometricFeaturesGenerator.h>

#include <kxSceneGraph/kxOutlineMetadata.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>

#include "features/Tuning.h"
#include "linesets/CommonSegments.h"
#include "linesets/FuseSets.h"
#include "linesets/IndexRange.h"
#include "linesets/Progress.h"
#include "linesets/SetConstruction.h"
#include "visibility/baking/Baking.h"
#include "visibility/intersections/IntersectionLines.h"
#include "visibility/occlusion/EdgeOcclusion.h"
#include "visibility/silhouettes/Silhouettes.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstddef>
#include <tuple>
#include <utility>

namespace ctr {
namespace {

using MeshList = std::vector<const kx::kxTriMesh*>;

constexpr float kCreaseAngleInDegrees = 5.0F;

/// Owns sets until they are fused.
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

    LineSegmentSet* fuse(ItemCounter& work) const { return FuseLineSegmentSets(sets, work); }

    std::vector<LineSegmentSet*> sets;
};

/// The first outline of a mesh, that is, the feature edges it was given; null if it has none.
const kx::kxOutlineMetadata* FindOutline(const kx::kxTriMesh& mesh) {
    for (int i = 0; i < mesh.GetMetadataQuantity(); ++i) {
        const kx::kxMetadata* metadata = mesh.GetMetadata(i);
        if (metadata->GetMetadataTypeId() == kx::kxOutlineMetadata::MetadataTypeId) {
            return static_cast<const kx::kxOutlineMetadata*>(metadata);
        }
    }
    return nullptr;
}

/// The feature edges that a mesh was given, otherwise its creases.
LineSegmentSet* FeatureEdgesOf(const kx::kxTriMesh* mesh,
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

std::size_t SegmentCountOf(const std::vector<MeshFeatures>& features) {
    std::size_t count = 0;
    for (const MeshFeatures& mesh : features) {
        count += SegmentCountOf(mesh.silhouetteEdges) + SegmentCountOf(mesh.creaseEdges);
    }
    return count;
}

/// The creases that are not silhouettes; null if none are left.
kx::kxPointer<LineSegmentSet> Without(const kx::kxPointer<LineSegmentSet>& creases,
                                      const LineSegmentSet* silhouettes,
                                      ItemCounter& work) {
    RemoveCommonSegments(creases.get(), silhouettes, work);
    const bool some = creases && creases->GetIndexBuffer() != nullptr;
    return some ? creases : nullptr;
}

bool ProjectsToPoint(const BakedVertex& b0, const BakedVertex& b1) {
    return b0.x == b1.x && b0.y == b1.y;
}

bool CoverSegment(std::vector<RationalInterval>& intervals) {
    IntervalTools::FuseOverlappingIntervals(intervals);
    return AreFullSegment(intervals);
}

} // namespace

struct GeometricFeaturesGenerator::tInternal {
    void setCluster(const MeshList& meshes, const MeshList* occluders, PhasedProgress& work);
    void clearClusters();
    void initBakedTriangles(PhasedProgress& work);
    LineSegmentSet* computeCreaseEdges(unsigned int cluster) const;
    LineSegmentSet* computeSilhouetteEdges(unsigned int cluster, ItemCounter& work) const;
    LineSegmentSet* computeIntersectionEdges(unsigned int cluster);
    LineSegmentSet* computeIntersectionsOccludedByAll(unsigned int cluster,
                                                      kx::kxPointer<LineSegmentSet>* hidden);
    void releaseLayouts(unsigned int cluster);
    FeaturesByMesh
    computeFeaturesByMesh(unsigned int cluster, const FeatureChoice& choice, PhasedProgress& work);
    void findEdges(std::vector<MeshFeatures>& features,
                   unsigned int cluster,
                   const FeatureChoice& choice,
                   PhasedProgress& work) const;
    void occludeEdges(const std::vector<MeshFeatures>& features,
                      unsigned int cluster,
                      PhasedProgress& work);
    void findIntersections(FeaturesByMesh& features,
                           unsigned int cluster,
                           bool hidden,
                           PhasedProgress& work);
    void
    occlude(LineSegmentSet& set, unsigned int cluster, kx::kxProgressNotifierInterface* notifier);
    bool
    clipSegment(LineSegmentSet& set, std::size_t segment, BakedVertex& b0, BakedVertex& b1) const;
    void announceTotal(const GeometricFeatures& features, unsigned int cluster) const;

    bool isCanceled() const {
        return progressNotifier != nullptr && progressNotifier->isCanceled();
    }

    DiscreteProjectionSpace projectionSpace;
    std::vector<MeshList> exportClusters;
    std::vector<MeshList> occluderClusters; ///< Empty if no mesh only occludes.
    std::vector<BakedTriangles> exportBaked;
    std::vector<BakedTriangles> occluderBaked;
    std::vector<EdgeOcclusion> exportOcclusion; ///< One per baked entry, which it borrows.
    std::vector<EdgeOcclusion> occluderOcclusion;
    kx::kxProgressNotifierInterface* progressNotifier = nullptr;
    unsigned int contactTolerance = 0;
};

void GeometricFeaturesGenerator::tInternal::setCluster(const MeshList& meshes,
                                                       const MeshList* occluders,
                                                       PhasedProgress& work) {
    // A mix of the old cluster and the new one would be worse than none.
    try {
        exportClusters.assign(1, meshes);
        occluderClusters.clear();
        if (occluders != nullptr && !occluders->empty()) {
            occluderClusters.assign(1, *occluders);
        }
        initBakedTriangles(work);
    } catch (...) {
        clearClusters();
        throw;
    }
}

void GeometricFeaturesGenerator::tInternal::clearClusters() {
    exportClusters.clear();
    occluderClusters.clear();
    exportOcclusion.clear();
    occluderOcclusion.clear();
    exportBaked.clear();
    occluderBaked.clear();
}

void GeometricFeaturesGenerator::tInternal::initBakedTriangles(PhasedProgress& work) {
    const std::size_t count = exportClusters.size();
    exportOcclusion.clear();
    occluderOcclusion.clear();
    exportBaked = std::vector<BakedTriangles>(count);
    occluderBaked = std::vector<BakedTriangles>(count);
    const auto bake = [&](BakedTriangles& baked, const MeshList& meshes, double costAfterwards) {
        baked.setProjectionSpace(&projectionSpace);
        baked.setContactTolerance(contactTolerance);
        baked.setMeshes(meshes);
        const double cost = BakingCost(meshes);
        work.begin(cost, cost, costAfterwards);
        Bake(baked, work);
    };
    for (std::size_t i = 0; i < count; ++i) {
        const MeshList occluders = i < occluderClusters.size() ? occluderClusters[i] : MeshList();
        bake(exportBaked[i], exportClusters[i], BakingCost(occluders));
        bake(occluderBaked[i], occluders, 0.0);
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
        list.sets[i] = FeatureEdgesOf(exportClusters[cluster][i], neverCancel);
    }
    ItemCounter uncancelled;
    return list.fuse(uncancelled);
}

LineSegmentSet*
GeometricFeaturesGenerator::tInternal::computeSilhouetteEdges(unsigned int cluster,
                                                              ItemCounter& work) const {
    if (cluster >= exportBaked.size()) {
        return nullptr;
    }
    SetList list;
    FindSilhouettes(exportBaked[cluster], list.sets, work);
    return list.fuse(work);
}

/// For GeometricFeatures: occluded by exported meshes only.
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

LineSegmentSet* GeometricFeaturesGenerator::tInternal::computeIntersectionsOccludedByAll(
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

FeaturesByMesh GeometricFeaturesGenerator::tInternal::computeFeaturesByMesh(
    unsigned int cluster, const FeatureChoice& choice, PhasedProgress& work) {
    const auto triangles = static_cast<double>(exportBaked[cluster].trianglePlanes.size());
    const double perPair = choice.intersections ? ProgressCosts::kPairsPerTriangle : 0.0;
    const double perPiece = choice.intersections
                                ? ProgressCosts::kEdgesPerTriangle * ProgressCosts::kPiecesPerEdge
                                : 0.0;
    const double perOcclusion =
        ProgressCosts::kSegmentsPerTriangle * ProgressCosts::kOcclusionPerSegment;
    FeaturesByMesh features;
    work.begin(ProgressCosts::kCountsPerTriangle * triangles,
               ProgressCosts::kExtractionPerTriangle * triangles,
               (perOcclusion + perPair + perPiece) * triangles);
    findEdges(features.meshes, cluster, choice, work);

    const auto segments = static_cast<double>(SegmentCountOf(features.meshes));
    work.begin(segments, ProgressCosts::kOcclusionPerSegment * segments,
               (perPair + perPiece) * triangles);
    occludeEdges(features.meshes, cluster, work);

    if (choice.intersections) {
        work.begin(triangles, perPair, perPiece);
        findIntersections(features, cluster, choice.hiddenIntersections, work);
    }
    return features;
}

void GeometricFeaturesGenerator::tInternal::findEdges(std::vector<MeshFeatures>& features,
                                                      unsigned int cluster,
                                                      const FeatureChoice& choice,
                                                      PhasedProgress& work) const {
    const MeshList& meshes = exportClusters[cluster];
    features.resize(meshes.size());
    SetList silhouettes;
    if (choice.silhouettes) {
        FindSilhouettes(exportBaked[cluster], silhouettes.sets, work);
    }
    // A caller may have baked other meshes through getBakedTriangles(), possibly more of them.
    silhouettes.sets.resize(std::max(silhouettes.sets.size(), meshes.size()), nullptr);
    for (std::size_t i = 0; i < meshes.size(); ++i) {
        features[i].silhouetteEdges = MakeWorldSet(silhouettes.sets[i], work);
        if (choice.creases) {
            SetList creases;
            creases.sets.assign(1, FeatureEdgesOf(meshes[i], work));
            features[i].creaseEdges = Without(MakeWorldSet(creases.sets[0], work),
                                              features[i].silhouetteEdges.get(), work);
        }
        work.poll();
    }
}

void GeometricFeaturesGenerator::tInternal::occludeEdges(const std::vector<MeshFeatures>& features,
                                                         unsigned int cluster,
                                                         PhasedProgress& work) {
    // Announced together: each set alone may be too small to build a layout for.
    const std::size_t segments = SegmentCountOf(features);
    exportOcclusion[cluster].announce(segments, work);
    occluderOcclusion[cluster].announce(segments, work);
    for (const MeshFeatures& mesh : features) {
        for (LineSegmentSet* set : {mesh.silhouetteEdges.get(), mesh.creaseEdges.get()}) {
            if (set != nullptr) {
                occlude(*set, cluster, &work);
                work.poll();
            }
        }
    }
}

void GeometricFeaturesGenerator::tInternal::findIntersections(FeaturesByMesh& features,
                                                              unsigned int cluster,
                                                              bool hidden,
                                                              PhasedProgress& work) {
    const LaidOutTriangles triangles{&exportBaked[cluster], exportOcclusion[cluster].layout()};
    const LaidOutTriangles occluders{&occluderBaked[cluster], occluderOcclusion[cluster].layout()};
    // The number of edges is extrapolated from those found among the triangles done so far.
    const auto all = static_cast<double>(exportBaked[cluster].trianglePlanes.size());
    std::size_t count = 0;
    const auto estimate = [&](std::size_t found) {
        if (++count % ProgressCosts::kTrianglesPerEstimate == 0) {
            const auto done = static_cast<double>(count);
            const double edges = static_cast<double>(found) * all / done;
            work.correct(all - done, ProgressCosts::kPairsPerTriangle * (all - done),
                         ProgressCosts::kPiecesPerEdge * edges);
        }
    };
    const std::vector<FoundIntersection> edges =
        FindIntersectionEdges(triangles, !hidden, &work, estimate);
    work.begin(static_cast<double>(edges.size()), 1.0, 0.0);
    features.intersectionEdges = PiecesOfEdges(
        edges, triangles, &occluders, &work, hidden ? &features.hiddenIntersectionEdges : nullptr);
    work.poll();
    releaseLayouts(cluster);
}

/// Intersections are the last step that needs the layouts.
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

void GeometricFeaturesGenerator::tInternal::occlude(LineSegmentSet& set,
                                                    unsigned int cluster,
                                                    kx::kxProgressNotifierInterface* notifier) {
    const std::size_t count = SegmentCount(set.GetIndexBuffer());
    if (set.clipRanges.size() != count) {
        set.clipRanges.assign(count, LineSegmentSet::ClipRange{0.0F, 0.0F, 0.0F, 0.0F});
    }
    if (set.occlusionIntervals.size() != count) {
        set.occlusionIntervals.assign(count, {});
    }
    EdgeOcclusion& exported = exportOcclusion[cluster];
    EdgeOcclusion& occluders = occluderOcclusion[cluster];
    ItemCounter work(notifier);
    try {
        exported.announce(count, work);
        occluders.announce(count, work);
    } catch (const Cancelled&) {
        return;
    }
    std::vector<RationalInterval> found;
    std::vector<RationalInterval> scratch;
    for (std::size_t segment = 0; segment < count; ++segment) {
        if (notifier != nullptr) {
            if (notifier->isCanceled()) {
                return;
            }
            notifier->advance(1.0);
        }
        std::vector<RationalInterval>& occluded = set.occlusionIntervals[segment];
        BakedVertex b0{};
        BakedVertex b1{};
        if (!clipSegment(set, segment, b0, b1)) {
            occluded.assign(1, FullSegment());
            continue;
        }
        found.clear();
        exported.append(b0, b1, found);
        occluders.append(b0, b1, found);
        scratch = occluded;
        scratch.insert(scratch.end(), found.begin(), found.end());
        IntervalTools::FuseOverlappingIntervals(scratch);
        if (AreFullSegment(scratch) && CoverSegment(found)) {
            scratch.front() = FullSegment();
        }
        occluded = scratch;
        try {
            exported.considerDenseSearch(occluded.size(), work);
            occluders.considerDenseSearch(occluded.size(), work);
        } catch (const Cancelled&) {
            return;
        }
    }
}

/// Writes the segment's clip record and its ends on the grid; false if it does not exist, is
/// outside the view or projects to a point.
bool GeometricFeaturesGenerator::tInternal::clipSegment(LineSegmentSet& set,
                                                        std::size_t segment,
                                                        BakedVertex& b0,
                                                        BakedVertex& b1) const {
    const unsigned int* indices = set.GetIndexBuffer()->GetData() + 2 * segment;
    LineSegmentSet::ClipRange& clip = set.clipRanges[segment];
    if (!SegmentExists(indices, PositionCount(set.GetVertexBuffer()))) {
        clip = {0.0F, 0.0F, 0.0F, 0.0F};
        return false;
    }
    const auto endPoint = [&](int end) {
        const int vertex = static_cast<int>(indices[end]);
        return set.GetWorldTransformation().ApplyForward(set.GetVertexBuffer()->Position3(vertex),
                                                         true);
    };
    std::tie(clip.t0, clip.t1) =
        projectionSpace.clipEdgeWorld(endPoint(0), endPoint(1), b0, b1, clip.w0, clip.w1);
    return clip.t0 < clip.t1 && !ProjectsToPoint(b0, b1);
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
    PhasedProgress uncancelled(nullptr);
    internal_->setCluster(meshes, occluders, uncancelled);
}

bool GeometricFeaturesGenerator::setSingleExportCluster(const MeshList& meshes,
                                                        const MeshList* occluders,
                                                        kx::kxProgressNotifierInterface& notifier) {
    try {
        PhasedProgress work(&notifier);
        internal_->setCluster(meshes, occluders, work);
        work.finish();
        return true;
    } catch (const Cancelled&) {
        return false;
    }
}

BakedTriangles& GeometricFeaturesGenerator::getBakedTriangles(unsigned int cluster) {
    assert(cluster < internal_->exportBaked.size());
    return internal_->exportBaked[cluster];
}

void GeometricFeaturesGenerator::computeGeometricFeatures(GeometricFeatures& out,
                                                          unsigned int cluster,
                                                          bool removeCommonSegments) {
    out.creaseEdges = internal_->computeCreaseEdges(cluster);
    if (internal_->isCanceled()) {
        return;
    }
    try {
        ItemCounter work(internal_->progressNotifier);
        out.silhouetteEdges = internal_->computeSilhouetteEdges(cluster, work);
        if (removeCommonSegments) {
            out.creaseEdges = Without(out.creaseEdges, out.silhouetteEdges.get(), work);
        }
    } catch (const Cancelled&) {
        return;
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
    return internal_->computeIntersectionsOccludedByAll(cluster, hidden);
}

bool GeometricFeaturesGenerator::computeFeaturesByMesh(FeaturesByMesh& out,
                                                       unsigned int cluster,
                                                       const FeatureChoice& choice) {
    if (cluster >= internal_->exportBaked.size()) {
        return false;
    }
    try {
        PhasedProgress work(internal_->progressNotifier);
        FeaturesByMesh features = internal_->computeFeaturesByMesh(cluster, choice, work);
        work.finish();
        out = std::move(features);
        return true;
    } catch (const Cancelled&) {
        return false;
    }
}

void GeometricFeaturesGenerator::computeOcclusion(LineSegmentSet& set, unsigned int cluster) {
    if (cluster >= internal_->exportBaked.size() || set.GetVertexBuffer() == nullptr ||
        set.GetIndexBuffer() == nullptr) {
        return;
    }
    internal_->occlude(set, cluster, internal_->progressNotifier);
}

} // namespace ctr
