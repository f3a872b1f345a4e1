// Bakes meshes for a test in one call.
#pragma once

#include <ctr/BakedTriangles.h>

#include "support/RandomScenes.h"
#include "support/Scenes.h"

#include <vector>

namespace test_support {

/// The baked meshes, which stay borrowed, as does the view.
inline ctr::BakedTriangles Bake(const ctr::DiscreteProjectionSpace& space,
                                const std::vector<const kx::kxTriMesh*>& meshes) {
    ctr::BakedTriangles baked;
    baked.setProjectionSpace(&space);
    baked.setMeshes(meshes);
    baked.initialize();
    return baked;
}

/// Meshes that are baked and live together, seen through a lattice view of 4 bits on each axis
/// unless another is given: whole coordinates from 0 to 14 are grid points as they are.
struct BakedMeshes {
    explicit BakedMeshes(const std::vector<MeshData>& data,
                         const ctr::DiscreteProjectionSpace& view = LatticeSpace(4, 4))
        : space(view) {
        for (const MeshData& mesh : data) {
            meshes.push_back(MakeMesh(mesh));
        }
        baked = Bake(space, MeshList(meshes));
    }
    BakedMeshes(const BakedMeshes&) = delete;
    BakedMeshes& operator=(const BakedMeshes&) = delete;
    ~BakedMeshes() = default;

    ctr::DiscreteProjectionSpace space;
    std::vector<kx::kxPointer<kx::kxTriMesh>> meshes;
    ctr::BakedTriangles baked;
};

} // namespace test_support
