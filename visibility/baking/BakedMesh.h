// What baking and the passes over baked triangles agree on.
#pragma once

#include <ctr/BakedTriangles.h>

#include <kxSceneGraph/kxTriMesh.h>

namespace ctr {

/// Whether an entry of the mesh list takes part; all passes skip the others.
inline bool IsUsable(const kx::kxTriMesh* mesh) {
    return mesh != nullptr && mesh->GetGeometryType() == kx::kxBaseGeometry::GT_TRIMESH &&
           mesh->GetVertexBuffer() != nullptr;
}

/// Whether anything is baked that can hide or cut: without planes, a hierarchy that a caller has
/// left behind says nothing.
inline bool HasTriangles(const BakedTriangles& baked) {
    return !baked.trianglePlanes.empty() && !baked.bvh.nodes.empty();
}

/// The origin word of a clipped triangle: the number of its source triangle below, six edge-origin
/// bits above.
constexpr unsigned int kSourceTriangleBits = 26;
constexpr unsigned int kSourceTriangleMask = (1U << kSourceTriangleBits) - 1U;

} // namespace ctr
