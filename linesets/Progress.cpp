// Steps of a run from the items of its phases. The run ends exactly at its total; between phases,
// rounding only shifts steps. Constant time per report.
#include "linesets/Progress.h"

#include <algorithm>

namespace ctr {

void ItemCounter::poll() {
    const std::size_t counted = counted_;
    counted_ = 0;
    report(static_cast<double>(counted));
    if (isGivenUp()) {
        throw Cancelled();
    }
}

void ItemCounter::report(double) {}

PhasedProgress::PhasedProgress(kx::kxProgressNotifierInterface* host)
    : ItemCounter(host), host_(host) {
    if (host_ != nullptr) {
        host_->setTotal(LineTuning::kSteps);
    }
}

void PhasedProgress::begin(double items, double cost, double costAfterwards) {
    poll();
    advanceTo(phaseEnd_);
    correct(items, cost, costAfterwards);
}

void PhasedProgress::correct(double itemsLeft, double cost, double costAfterwards) {
    const double share = cost > 0.0 ? cost / (cost + costAfterwards) : 0.0;
    phaseBegin_ = reported_;
    phaseEnd_ = std::min(LineTuning::kSteps, reported_ + share * (LineTuning::kSteps - reported_));
    setTotal(itemsLeft);
}

void PhasedProgress::finish() {
    advanceTo(LineTuning::kSteps);
}

void PhasedProgress::setTotal(double items) {
    items_ = items;
    done_ = 0.0;
    stepsPerItem_ = items > 0.0 ? (phaseEnd_ - phaseBegin_) / items : 0.0;
}

void PhasedProgress::getRange(double& done, double& items) const {
    done = done_;
    items = items_;
}

void PhasedProgress::advance(double items) {
    done_ = std::min(done_ + items, items_);
    const double steps = phaseBegin_ + stepsPerItem_ * done_;
    if (steps - reported_ >= LineTuning::kLeastReported) {
        advanceTo(steps);
    }
}

/// Advances the run to a step unless it is there already.
void PhasedProgress::advanceTo(double steps) {
    if (steps > reported_) {
        const double more = steps - reported_;
        reported_ += more;
        if (host_ != nullptr) {
            host_->advance(more);
        }
    }
}

} // namespace ctr
