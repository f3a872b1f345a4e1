// The library's operations on a scene.
#include "drawing/lines/LineFinder.h"

namespace kxcontour {
namespace {

std::vector<const kx::kxTriMesh*> Borrowed(const MeshList& meshes) {
    std::vector<const kx::kxTriMesh*> pointers;
    pointers.reserve(meshes.size());
    for (const kx::kxPointer<kx::kxTriMesh>& mesh : meshes) {
        pointers.push_back(mesh.get());
    }
    return pointers;
}

} // namespace

LineFinder::LineFinder(const ctr::DiscreteProjectionSpace& camera) {
    generator_.setProjectionSpace(camera);
    generator_.setContactTolerance(kContactTolerance);
}

void LineFinder::bake(const MeshList& meshes,
                      const MeshList& occluders,
                      kx::kxProgressNotifierInterface& progress) {
    const std::vector<const kx::kxTriMesh*> hiding = Borrowed(occluders);
    generator_.setSingleExportCluster(Borrowed(meshes), &hiding, progress);
}

ctr::FeaturesByMesh LineFinder::find(const ctr::FeatureChoice& choice,
                                     kx::kxProgressNotifierInterface& progress) {
    ctr::FeaturesByMesh lines;
    generator_.setProgressNotifier(&progress);
    generator_.computeFeaturesByMesh(lines, 0, choice);
    generator_.setProgressNotifier(nullptr);
    return lines;
}

} // namespace kxcontour
