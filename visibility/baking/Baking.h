// Baking as a part of longer work.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Progress.h"

#include <vector>

namespace ctr {

/// About how many items Bake() counts for these meshes; it is their cost, too.
double BakingCost(const std::vector<const kx::kxTriMesh*>& meshes);

/// As BakedTriangles::initialize(), which leaves nothing baked when it is cancelled.
void Bake(BakedTriangles& baked, PhasedProgress& work);

} // namespace ctr
