// Baking as a part of longer work.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Work.h"

#include <vector>

namespace ctr {

/// About how many items Bake() counts for these meshes; it is their cost, too.
double BakingCost(const std::vector<const kx::kxTriMesh*>& meshes);

/// As BakedTriangles::initialize(), which leaves nothing baked when it is cancelled.
void Bake(BakedTriangles& baked, Work& work);

} // namespace ctr
