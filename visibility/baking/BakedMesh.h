// Conventions of baking and of the passes over baked triangles.
#pragma once

#include <ctr/BakedTriangles.h>

#include <kxSceneGraph/kxTriMesh.h>

namespace ctr {

/// Whether an entry of the mesh list is used; all passes skip the others.
inline bool IsUsable(const kx::kxTriMesh* mesh) {
    return mesh != nullptr && mesh->GetGeometryType() == kx::kxBaseGeometry::GT_TRIMESH &&
           mesh->GetVertexBuffer() != nullptr;
}

/// Whether there are triangles that can occlude or intersect. A hierarchy without planes, which a
/// caller may leave behind, does not count.
inline bool HasTriangles(const BakedTriangles& baked) {
    return !baked.trianglePlanes.empty() && !baked.bvh.nodes.empty();
}

/// The origin word of a clipped triangle: the number of its source triangle in the lower bits, six
/// edge-origin bits in the upper ones.
constexpr unsigned int kSourceTriangleBits = 26;
constexpr unsigned int kSourceTriangleMask = (1U << kSourceTriangleBits) - 1U;

} // namespace ctr
