// Brings a file's vertex normals into the form that the crease test needs.
#pragma once

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>

namespace kxcontour {

/// Scales the normals to unit length, in place.
///
/// A normal that is zero or not finite becomes the mean of the unit normals of its triangles, which
/// keeps it from looking like a crease on all sides. Returns false, having changed nothing that
/// matters, when no vertex of a triangle has a usable normal: the mesh is then one without normals.
/// All indices must be in range. Linear time.
bool RepairNormals(kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles);

} // namespace kxcontour
