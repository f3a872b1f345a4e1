// What the stages of a drawing are expected to cost, for the progress bar.
#pragma once

#include "common/StagePlan.h"
#include "options/Options.h"

#include <cstddef>
#include <vector>

namespace kxcontour {

/// All stages of a run, from reading on, as far as the sizes of its files tell. Costs in rough
/// nanoseconds.
std::vector<PlannedStage> PlanOfRun(const DrawingOptions& options);

/// The stages that draw a scene of so many triangles. Costs as above.
std::vector<PlannedStage> PlanOfDrawing(std::size_t triangles, const DrawingOptions& options);

} // namespace kxcontour
