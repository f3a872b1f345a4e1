// Operations on whole sets as parts of longer work.
#pragma once

#include <ctr/LineSegmentSet.h>

#include "linesets/Work.h"

#include <vector>

namespace ctr {

/// As LineSegmentSet::FuseLineSegmentSets().
LineSegmentSet* FuseLineSegmentSets(const std::vector<LineSegmentSet*>& sets, WorkCounter& work);

/// As LineSegmentSet::RemoveCommonSegments(); when cancelled, `a` is as it was.
void RemoveCommonSegments(LineSegmentSet* a, const LineSegmentSet* b, WorkCounter& work);

} // namespace ctr
