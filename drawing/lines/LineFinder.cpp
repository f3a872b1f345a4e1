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

ctr::FeaturesByMesh FindLines(const ctr::DiscreteProjectionSpace& camera,
                              const MeshList& meshes,
                              const MeshList& occluders,
                              const ctr::FeatureChoice& choice,
                              DrawingObserver& observer) {
    observer.enter("bake");
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(camera);
    generator.setContactTolerance(kContactTolerance);
    const std::vector<const kx::kxTriMesh*> hiding = Borrowed(occluders);
    generator.setSingleExportCluster(Borrowed(meshes), &hiding, observer);
    observer.rethrow();
    observer.enter("features");
    ctr::FeaturesByMesh lines;
    generator.setProgressNotifier(&observer);
    generator.computeFeaturesByMesh(lines, 0, choice);
    observer.rethrow();
    return lines;
}

} // namespace kxcontour
