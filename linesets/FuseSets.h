// Line sets gathered into one, in world space, as parts of longer operations.
#pragma once

#include <ctr/LineSegmentSet.h>

#include "linesets/Progress.h"

#include <vector>

namespace ctr {

/// As LineSegmentSet::FuseLineSegmentSets(). Throws Cancelled.
LineSegmentSet* FuseLineSegmentSets(const std::vector<LineSegmentSet*>& sets, ItemCounter& work);

/// A set in world space with a vertex buffer of its own that holds only the vertices its segments
/// use, in their order. Null, as above, if no vertex or no segment remains. Throws Cancelled.
///
/// Most vertices of a mesh are on none of its lines, and a scene may have many meshes.
LineSegmentSet* MakeWorldSet(const LineSegmentSet* set, ItemCounter& work);

} // namespace ctr
