// Detection of straight runs and circular arcs within chains.
#pragma once

#include <ctr/LineSegmentSet.h>

#include "fitting/Tolerances.h"

#include <vector>

namespace ctr {

using fit_tolerances::kLeastArcAngle;

constexpr std::uint32_t kArcKind = 1;
constexpr std::uint32_t kStraightKind = 2;

/// Splits the records of chains into runs and sets the kind of each run that was accepted.
///
/// A chain whose first segment has its flag set is searched for straight runs, any other for arcs.
/// New records are appended. The capacity of records must be one per segment, so that no record
/// moves. Linear in the number of segments.
void FitRuns(const kx::kxVertexBuffer& vertices,
             const unsigned int* indices,
             std::vector<bool>& straightLineFlags,
             std::vector<LineSegmentSet::ArcFeature>& records);

} // namespace ctr
