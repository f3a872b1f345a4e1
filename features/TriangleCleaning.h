// Whether triangles are such that lines can be drawn from them.
#pragma once

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>

namespace ctr {

/// Whether CleanTriangles() would drop none, nor an incomplete one.
bool AreClean(const kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles);

} // namespace ctr
