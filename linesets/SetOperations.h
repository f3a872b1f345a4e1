// Operations on whole sets as parts of longer work.
#pragma once

#include <ctr/LineSegmentSet.h>

#include "linesets/Work.h"

#include <vector>

namespace ctr {

/// As LineSegmentSet::FuseLineSegmentSets().
LineSegmentSet* FuseLineSegmentSets(const std::vector<LineSegmentSet*>& sets, WorkCounter& work);

/// A set in world space with vertices of its own, those that its segments use, in their order.
/// Null, as above, when no vertex or no segment remains.
///
/// Most vertices of a mesh are on none of its lines, and there may be many meshes.
LineSegmentSet* MakeWorldSet(const LineSegmentSet* set, WorkCounter& work);

/// As LineSegmentSet::RemoveCommonSegments(); when cancelled, `a` is as it was.
void RemoveCommonSegments(LineSegmentSet* a, const LineSegmentSet* b, WorkCounter& work);

} // namespace ctr
