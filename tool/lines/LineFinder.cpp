// The library's operations, one mesh at a time so that lines keep their object.
#include "lines/LineFinder.h"

#include <kxSceneGraph/kxOutlineMetadata.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>

#include <atomic>
#include <cstddef>

namespace kxcontour {
namespace {

using ctr::LineSegmentSet;

/// The library's own limit, for meshes whose creases follow from their normals.
constexpr float kCreaseAngleInDegrees = 5.0F;

std::vector<const kx::kxTriMesh*> Borrowed(const MeshList& meshes) {
    std::vector<const kx::kxTriMesh*> pointers;
    pointers.reserve(meshes.size());
    for (const kx::kxPointer<kx::kxTriMesh>& mesh : meshes) {
        pointers.push_back(mesh.get());
    }
    return pointers;
}

const kx::kxOutlineMetadata* FindOutline(const kx::kxTriMesh& mesh) {
    for (int i = 0; i < mesh.GetMetadataQuantity(); ++i) {
        const kx::kxMetadata* metadata = mesh.GetMetadata(i);
        if (metadata->GetMetadataTypeId() == kx::kxOutlineMetadata::MetadataTypeId) {
            return static_cast<const kx::kxOutlineMetadata*>(metadata);
        }
    }
    return nullptr;
}

LineSetPointer CreasesOf(const kx::kxTriMesh& mesh) {
    if (const kx::kxOutlineMetadata* outline = FindOutline(mesh)) {
        return LineSetPointer(
            LineSegmentSet::GetOutlineEdgesFromTriMesh(&mesh, outline->getIBuffer()));
    }
    const std::atomic<bool> never = false;
    const kx::kxCancelInterfaceProxyReadOnly neverCancel(never);
    return LineSetPointer(LineSegmentSet::GetCreaseEdgesFromTriMesh(&mesh, neverCancel,
                                                                    kCreaseAngleInDegrees, false));
}

/// The set in world space, which visible pieces are cut in; null for an empty one.
LineSetPointer InWorld(const LineSetPointer& set) {
    return set ? LineSetPointer(LineSegmentSet::FuseLineSegmentSets({set.get()}))
               : LineSetPointer();
}

std::size_t SegmentCount(const LineSetPointer& set) {
    return set ? static_cast<std::size_t>(set->GetIndexBuffer()->GetIndexQuantity()) / 2 : 0;
}

std::size_t SegmentCount(const std::vector<MeshLines>& lines) {
    std::size_t count = 0;
    for (const MeshLines& mesh : lines) {
        count += SegmentCount(mesh.silhouettes) + SegmentCount(mesh.creases);
    }
    return count;
}

/// Marks pieces within one grid column as hidden, as every line seen end-on is.
///
/// The ends of a piece are grid points, but their world positions are rounded to single precision,
/// which can put two neighbours into one column.
void HideSpecks(LineSegmentSet& pieces, const ctr::DiscreteProjectionSpace& camera) {
    ctr::GeometricFeaturesGenerator nothingHides;
    nothingHides.setProjectionSpace(camera);
    nothingHides.setSingleExportCluster({}, nullptr);
    nothingHides.computeOcclusion(pieces, 0);
}

} // namespace

LineFinder::LineFinder(const ctr::DiscreteProjectionSpace& camera) : camera_(camera) {
    generator_.setProjectionSpace(camera);
    generator_.setContactTolerance(kContactTolerance);
}

void LineFinder::bake(const MeshList& meshes, const MeshList& occluders) {
    meshes_ = meshes;
    const std::vector<const kx::kxTriMesh*> hiding = Borrowed(occluders);
    generator_.setSingleExportCluster(Borrowed(meshes), &hiding);
}

SceneLines LineFinder::find(const LineChoice& choice, kx::kxProgressNotifierInterface& progress) {
    SceneLines lines;
    lines.meshes.resize(meshes_.size());
    findOutlines(choice, lines.meshes);
    const std::size_t triangles = generator_.getBakedTriangles(0).trianglePlanes.size();
    progress.setTotal(static_cast<double>(SegmentCount(lines.meshes)) +
                      (choice.intersections ? 2.0 * static_cast<double>(triangles) : 0.0));
    generator_.setProgressNotifier(&progress);
    for (const MeshLines& mesh : lines.meshes) {
        for (const LineSetPointer& set : {mesh.silhouettes, mesh.creases}) {
            if (set) {
                generator_.computeOcclusion(*set, 0);
            }
        }
    }
    if (choice.intersections) {
        findCuts(choice.hidden, lines);
    }
    generator_.setProgressNotifier(nullptr);
    return lines;
}

void LineFinder::findOutlines(const LineChoice& choice, std::vector<MeshLines>& lines) {
    std::vector<LineSegmentSet*> silhouettes;
    if (choice.silhouettes) {
        generator_.getBakedTriangles(0).computeSilhouetteEdges(silhouettes);
    }
    for (std::size_t i = 0; i < silhouettes.size(); ++i) {
        lines[i].silhouettes = InWorld(LineSetPointer(silhouettes[i]));
    }
    for (std::size_t i = 0; choice.creases && i < lines.size(); ++i) {
        LineSetPointer creases = InWorld(CreasesOf(*meshes_[i]));
        LineSegmentSet::RemoveCommonSegments(creases.get(), lines[i].silhouettes.get());
        const bool some = creases && creases->GetIndexBuffer() != nullptr;
        lines[i].creases = some ? creases : LineSetPointer();
    }
}

void LineFinder::findCuts(bool hidden, SceneLines& lines) {
    lines.visibleCuts = LineSetPointer(
        generator_.computeIntersectionEdges(0, hidden ? &lines.hiddenCuts : nullptr));
    if (lines.visibleCuts) {
        HideSpecks(*lines.visibleCuts, camera_);
    }
}

} // namespace kxcontour
