// When a search may bypass the BVH without changing its result.
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/bvh/SlotTriangles.h"

#include <vector>

namespace ctr {

/// Whether triangles may be searched by other means than their BVH: a traversal would miss no
/// triangle, as it may where a caller has changed the nodes; planes are those of the triangles, all
/// of which face the eye; coordinates are at most 2^24; and plane values, within the box of all
/// triangles, are below 2^63. The triangles are those of the BVH, slot by slot. O(n).
bool MayBypassBvh(const BakedTriangles& baked, const SlotTriangles& triangles);

/// Whether plane values in a box of grid points, times a factor, are below 2^63 and coordinates at
/// most 2^24.
bool PlaneValuesFit(const kx::kxBBox& box, double factor = 1.0);

/// The box of a triangle in floats.
kx::kxBBox BoxOfCorners(const SlotTriangle& triangle);

} // namespace ctr
