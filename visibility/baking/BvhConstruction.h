// Builds the BVH of baked triangles, and recomputes its boxes.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Progress.h"

namespace ctr {

/// Builds baked.bvh over the triangles in world space, then computes its boxes in grid coordinates.
/// O(n log n) for n triangles. Throws Cancelled.
void BuildBvh(BakedTriangles& baked, PhasedProgress& work);

/// Computes the boxes of a subtree in grid coordinates; returns its number of nodes. O(n) for n
/// triangles below.
unsigned int ComputeBoxes(BakedTriangles& baked, unsigned int node, ItemCounter& work);

} // namespace ctr
