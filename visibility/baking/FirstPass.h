// The first pass of baking: projects every vertex once, clips the triangles that cross the view
// frustum and counts the output of the second pass. O(n) for n vertices and triangles.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Progress.h"

namespace ctr {

/// As BakedTriangles::initializeFirstPass(). Throws std::length_error for too many vertices or
/// triangles, and Cancelled.
void RunFirstPass(const BakedTriangles& baked,
                  BakedTriangles::tFirstPassData& data,
                  ItemCounter& work);

} // namespace ctr
