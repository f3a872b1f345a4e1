// Removal of common segments as part of a longer operation.
#pragma once

#include <ctr/LineSegmentSet.h>

#include "linesets/Progress.h"

namespace ctr {

/// As LineSegmentSet::RemoveCommonSegments(). Throws Cancelled, which leaves `a` as it was.
void RemoveCommonSegments(LineSegmentSet* a, const LineSegmentSet* b, ItemCounter& work);

} // namespace ctr
