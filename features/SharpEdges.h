// Feature edges of a surface: sharp edges, boundary edges and non-manifold edges.
#pragma once

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxPointer.h>

#include "features/HalfEdges.h"

namespace ctr {

/// Finds each edge whose dihedral angle differs from flat by more than an angle, each boundary edge
/// (one face) and each non-manifold edge (three faces or more), once, as a line list of points.
///
/// The angle is that between the two face normals, in degrees: 0 on a plane, 90 at the edge of a
/// cube. It is measured in world space, whose axes are given by the upper three rows of toWorld. If
/// the two faces are oriented inconsistently, one normal is flipped, so that the result does not
/// depend on the orientation of triangles. Angles up to 0.01 degrees above the limit are not sharp,
/// since positions are rounded. Triangles with the same three corners are one face, in either
/// orientation, so a surface modelled twice, once for each side, has no additional edges. Faces
/// that coincide on one side of an edge within 0.1 degrees count as one there, so that the surface
/// continues where parts of one object overlap with flush faces.
///
/// The lines are sorted by position (x, then y, then z of the smaller end, then of the larger one);
/// the result depends on nothing else. Never null. O(n log n) in the number of triangles.
kx::kxPointer<kx::kxIndexBuffer> FindSharpEdges(const kx::kxVertexBuffer& vertices,
                                                const kx::kxIndexBuffer& triangles,
                                                const HalfEdges& halfEdges,
                                                double angleInDegrees,
                                                const Wm4::Matrix4<double>& toWorld);

} // namespace ctr
