// The silhouette edges of baked triangles. O(n log n) in the number of triangles.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Progress.h"

#include <vector>

namespace ctr {

/// As BakedTriangles::computeSilhouetteEdges(), for a list of sets that need not be empty. Counts
/// some items per vertex and triangle. When cancelled, the sets made so far are in the list.
void FindSilhouettes(const BakedTriangles& baked,
                     std::vector<LineSegmentSet*>& sets,
                     ItemCounter& work);

} // namespace ctr
