// An observer of drawings that nobody looks at.
#pragma once

#include "drawing/Drawing.h"

namespace tool_test {

/// Lets everything pass.
class Unwatched : public kxcontour::DrawingObserver {
public:
    void expect(std::vector<kxcontour::PlannedStage>) override {}
    void enter(const char*) override {}
    bool isCanceled() const override { return false; }
    void setTotal(double) override {}
    void getRange(double& start, double& end) const override {
        start = 0.0;
        end = 1.0;
    }
    void advance(double) override {}
};

} // namespace tool_test
