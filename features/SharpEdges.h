// The edges of a surface that a drawing shows: sharp ones, borders, and where several sheets meet.
#pragma once

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxPointer.h>

#include "features/Sides.h"

namespace ctr {

/// Finds every edge whose two faces bend by more than an angle, every edge of one face, and every
/// edge of three or more, each once, as a line list over the places of the sides.
///
/// The bend is the angle between the two face normals, in degrees: 0 on a plane, 90 at the edge of
/// a cube. It is measured in the world, whose axes the upper three rows of toWorld give. Where both
/// faces run along the edge the same way, one of them is turned inside out; the bend is then
/// measured as if it were not, for the shape of the surface does not depend on how its triangles
/// are listed. A hundredth of a degree over the angle counts as the angle, since positions are
/// rounded. Triangles with the same three corners are one face, whichever way round: surfaces given
/// twice, once for each side, have no more edges than once. Faces that lie on each other on one
/// side of an edge, to a tenth of a degree, count as one there: where parts of one object overlap
/// with flush faces, the surface goes on.
///
/// The lines come in the order of their positions (x, then y, then z of the smaller end, then of
/// the larger); equal input gives equal output. Never null. O(n log n) in the number of triangles.
kx::kxPointer<kx::kxIndexBuffer> FindSharpEdges(const kx::kxVertexBuffer& vertices,
                                                const kx::kxIndexBuffer& triangles,
                                                const Sides& sides,
                                                double angleInDegrees,
                                                const Wm4::Matrix4<double>& toWorld);

} // namespace ctr
