// When what a hierarchy tells may be found without it.
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/bvh/OccluderBvh.h"

#include <vector>

namespace ctr {

/// Whether a crowd may be searched by other means than its hierarchy: a walk of that would leave
/// out no triangle, as it may where a caller has changed it; planes are those of the triangles, all
/// of which face the eye; coordinates are at most 2^24; and plane values, within the box of all
/// triangles, are below 2^63. The triangles are those of the hierarchy, slot by slot. O(n).
bool MayLeaveHierarchy(const BakedTriangles& baked, const SlotTriangles& triangles);

/// Whether that holds of plane values in a box of grid points, and of so many times of them.
bool PlaneValuesFit(const kx::kxBBox& box, double times = 1.0);

/// The box of grid points, as floats hold it.
kx::kxBBox BoxOfCorners(const OccluderTree::Triangle& triangle);

} // namespace ctr
