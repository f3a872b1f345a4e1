// Expected costs of the stages of a drawing, for the progress bar.
#pragma once

#include "drawing/common/StagePlan.h"

#include <cstddef>
#include <vector>

namespace kxcontour {

/// The stages that draw a scene of so many triangles in a number of views (0 counts as 1). Costs in
/// rough nanoseconds.
std::vector<PlannedStage> PlanOfDrawing(double triangles, std::size_t views);

} // namespace kxcontour
