// Expected costs of the stages of a run, for the progress bar.
#pragma once

#include "drawing/common/StagePlan.h"
#include "tool/options/Options.h"

#include <vector>

namespace kxcontour {

/// All stages of a run from reading on, estimated from the sizes of its files. Costs as those of
/// PlanOfDrawing().
std::vector<PlannedStage> PlanOfRun(const DrawingOptions& options);

} // namespace kxcontour
