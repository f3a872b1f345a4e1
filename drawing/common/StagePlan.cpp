// The rest of the whole is divided at each start of a stage.
#include "drawing/common/StagePlan.h"

#include <algorithm>
#include <numeric>

namespace kxcontour {

void StagePlan::enter(const std::string& name) {
    start_ = end_;
    done_ = 0.0;
    total_ = 0.0;
    const auto found = std::find_if(coming_.begin(), coming_.end(),
                                    [&](const PlannedStage& stage) { return stage.name == name; });
    if (found == coming_.end()) {
        return;
    }
    const double left =
        std::accumulate(found, coming_.end(), 0.0,
                        [](double sum, const PlannedStage& stage) { return sum + stage.cost; });
    if (left > 0.0) {
        end_ = std::min(start_ + (1.0 - start_) * (found->cost / left), 1.0);
    }
    coming_.erase(coming_.begin(), found + 1);
}

void StagePlan::setTotal(double steps) {
    start_ = share();
    done_ = 0.0;
    total_ = steps;
}

double StagePlan::share() const {
    if (!(total_ > 0.0)) {
        return start_;
    }
    return start_ + (end_ - start_) * std::clamp(done_ / total_, 0.0, 1.0);
}

} // namespace kxcontour
