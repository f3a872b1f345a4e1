// The lines of a mesh that its faces show, whatever its normals: sharp edges and borders.
#pragma once

#include <ctr/Export.h>
#include <ctr/Surface.h>

#include <kxSceneGraph/kxOutlineMetadata.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxPointer.h>

namespace ctr {

/// What counts as a feature edge.
struct FeatureEdgeOptions {
    double angleInDegrees = 30.0; ///< Edges that bend by more are listed; 0 to 180.
    Welding welding;              ///< Cracks and T-junctions that count as closed.
};

/// Finds the feature edges of a mesh by the angles of its faces, as an outline to be added to it:
///
///     mesh->AddMetadata(ctr::FindFeatureEdges(*mesh).get());
///
/// The generator then takes them as the mesh's creases and looks at no vertex normals, so the mesh
/// may have positions alone, a vertex for each face, or smooth normals. Every edge is listed once.
/// What counts as an edge is defined by Surface::repair() and Surface::featureEdges(), of which
/// this is the combination: cracks up to the weld distance and T-junctions count as closed, and
/// bends are measured where the mesh's world transformation puts it (one that only moves, turns and
/// scales the mesh as a whole may change afterwards without another call).
///
/// The mesh itself stays as it is, and the indices are those of its own vertices: where rims of a
/// crack count as one, of the lowest-numbered vertex there. Triangles that are not clean, see
/// CleanTriangles(), do not count. Silhouettes and intersections are found on the mesh as it is:
/// for those of a cracked mesh, draw the buffers of a repaired Surface instead.
///
/// Never null, except for a mesh without a vertex buffer, position channels or an index buffer;
/// without lines where there are none. Throws nothing but std::bad_alloc. Threads may look at one
/// mesh at once. O(n log n) in the number of triangles.
CTR_EXPORT kx::kxPointer<kx::kxOutlineMetadata>
FindFeatureEdges(const kx::kxTriMesh& mesh, const FeatureEdgeOptions& options = {});

} // namespace ctr
