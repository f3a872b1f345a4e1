// Baking: meshes become integer triangles with exact planes under a bounding volume hierarchy
// (BVH).
//
// Two passes clip, quantise and orient the triangles (FirstPass, SecondPass), then the BVH is built
// over them (BvhConstruction). Planes are computed last, because they take as much memory as the
// builder frees. O(n log n) for n triangles.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Progress.h"

#include <vector>

namespace ctr {

/// An estimate of the number of items that Bake() counts for these meshes, which is also their
/// cost.
double BakingCost(const std::vector<const kx::kxTriMesh*>& meshes);

/// As BakedTriangles::initialize(). An exception, Cancelled among them, leaves nothing baked.
void Bake(BakedTriangles& baked, PhasedProgress& work);

} // namespace ctr
