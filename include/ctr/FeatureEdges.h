// Feature edges of a mesh by the angles between its faces: sharp edges and boundary edges.
#pragma once

#include <ctr/Export.h>
#include <ctr/Surface.h>

#include <kxSceneGraph/kxOutlineMetadata.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxPointer.h>

namespace ctr {

/// Which edges are feature edges.
struct FeatureEdgeOptions {
    double angleInDegrees = 30.0; ///< Edges with a larger angle between face normals; 0 to 180.
    Welding welding;              ///< Cracks and T-junctions to be treated as closed.
};

/// Finds the feature edges of a mesh by the angles between its faces, as an outline to add to it:
///
///     mesh->AddMetadata(ctr::FindFeatureEdges(*mesh).get());
///
/// The generator then uses these edges instead of detecting creases from vertex normals, so the
/// mesh may have positions only, split vertices, or smooth normals. Every edge is listed once. This
/// combines Surface::repair() and Surface::featureEdges(), which define the edges: cracks up to the
/// weld distance and T-junctions are treated as closed, and angles are measured in world space (the
/// world transformation may later change by a translation, rotation or uniform scale without
/// another call).
///
/// The mesh is not modified, and indices refer to its own vertices: where the rims of a crack are
/// joined, to the vertex with the lowest index there. Triangles that are not clean, see
/// CleanTriangles(), are ignored. Silhouettes and intersections are still found on the mesh as it
/// is; for those of a cracked mesh, draw the buffers of a repaired Surface instead.
///
/// Returns null only for a mesh without a vertex buffer, position channels or an index buffer; an
/// outline without lines if there are no feature edges. Throws nothing but std::bad_alloc. Several
/// threads may read one mesh at once. O(n log n) in the number of triangles.
CTR_EXPORT kx::kxPointer<kx::kxOutlineMetadata>
FindFeatureEdges(const kx::kxTriMesh& mesh, const FeatureEdgeOptions& options = {});

} // namespace ctr
