// The second pass of baking: fills the arrays of vertices and triangles, whose sizes the first pass
// has counted. O(n) for n vertices and triangles.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Progress.h"

namespace ctr {

/// Quantises the vertices of all meshes and appends their triangles in view, mesh by mesh. Frees
/// the parts of `data` that it has used. Throws Cancelled.
void RunSecondPass(BakedTriangles& baked, BakedTriangles::tFirstPassData& data, ItemCounter& work);

} // namespace ctr
