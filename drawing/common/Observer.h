// Receives the progress of a drawing.
#pragma once

#include <kxSystem/kxProgressNotifierInterface.h>

#include "drawing/common/StagePlan.h"

#include <utility>
#include <vector>

namespace kxcontour {

/// Follows the stages of a run and the steps inside them. Never cancels by itself.
class DrawingObserver : public kx::kxProgressNotifierInterface {
public:
    /// The stages after the current one, in order, whenever more is known about them.
    virtual void expect(std::vector<PlannedStage> stages) { plan_.expect(std::move(stages)); }

    virtual void enter(const char* stage) { plan_.enter(stage); }

    /// Throws what made isCanceled() true, if anything did; called after each long operation.
    virtual void rethrow() {}

    bool isCanceled() const override { return false; }
    void setTotal(double steps) override { plan_.setTotal(steps); }
    void getRange(double& start, double& end) const override {
        start = plan_.done();
        end = plan_.total();
    }
    void advance(double steps) override { plan_.advance(steps); }

protected:
    /// Of the whole run, from 0 to 1.
    double share() const { return plan_.share(); }

private:
    StagePlan plan_;
};

} // namespace kxcontour
