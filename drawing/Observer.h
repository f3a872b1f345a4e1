// Receives the progress of a drawing.
#pragma once

#include <kxSystem/kxProgressNotifierInterface.h>

#include "drawing/common/StagePlan.h"

#include <vector>

namespace kxcontour {

/// Receives every stage as it begins, the steps inside the longest of them, and the stages that are
/// expected to come, whenever more is known about them.
class DrawingObserver : public kx::kxProgressNotifierInterface {
public:
    /// The stages after the current one, in order.
    virtual void expect(std::vector<PlannedStage> stages) = 0;

    virtual void enter(const char* stage) = 0;

    /// Throws what made isCanceled() true, if anything did; called after each long operation.
    virtual void rethrow() {}
};

} // namespace kxcontour
