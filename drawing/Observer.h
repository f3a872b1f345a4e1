// Who is told how a drawing gets on.
#pragma once

#include <kxSystem/kxProgressNotifierInterface.h>

#include "drawing/common/StagePlan.h"

#include <vector>

namespace kxcontour {

/// Told of every stage as it begins, of the steps inside the longest of them, and of what is
/// expected to come whenever more is known about it.
class DrawingObserver : public kx::kxProgressNotifierInterface {
public:
    /// The stages after the current one, in order.
    virtual void expect(std::vector<PlannedStage> stages) = 0;

    virtual void enter(const char* stage) = 0;
};

} // namespace kxcontour
