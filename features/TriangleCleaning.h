// Clean triangles: indices in range, finite corners, non-zero area.
#pragma once

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>

namespace ctr {

/// Whether CleanTriangles() would drop nothing, not even an incomplete last triangle.
bool AreClean(const kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles);

} // namespace ctr
