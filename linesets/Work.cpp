// Steps of a run from items of its parts.
#include "linesets/Work.h"

#include <algorithm>

namespace ctr {
namespace {

constexpr double kSteps = 1000.0;
/// Fewer are not worth a call.
constexpr double kLeastTold = 0.1;

} // namespace

void WorkCounter::look() {
    const std::size_t counted = counted_;
    counted_ = 0;
    goOn(static_cast<double>(counted));
    if (isGivenUp()) {
        throw Cancelled();
    }
}

void WorkCounter::goOn(double) {}

Work::Work(kx::kxProgressNotifierInterface* host) : WorkCounter(host), host_(host) {
    if (host_ != nullptr) {
        host_->setTotal(kSteps);
    }
}

void Work::begin(double items, double cost, double costAfterwards) {
    look();
    tell(partEnd_);
    correct(items, cost, costAfterwards);
}

void Work::correct(double itemsLeft, double cost, double costAfterwards) {
    const double share = cost > 0.0 ? cost / (cost + costAfterwards) : 0.0;
    partBegin_ = told_;
    partEnd_ = std::min(kSteps, told_ + share * (kSteps - told_));
    setTotal(itemsLeft);
}

void Work::finish() {
    tell(kSteps);
}

void Work::setTotal(double items) {
    items_ = items;
    done_ = 0.0;
    stepsPerItem_ = items > 0.0 ? (partEnd_ - partBegin_) / items : 0.0;
}

void Work::getRange(double& done, double& items) const {
    done = done_;
    items = items_;
}

void Work::advance(double items) {
    done_ = std::min(done_ + items, items_);
    const double steps = partBegin_ + stepsPerItem_ * done_;
    if (steps - told_ >= kLeastTold) {
        tell(steps);
    }
}

/// The run goes on to a step, if it is not there yet.
void Work::tell(double steps) {
    if (steps > told_) {
        const double more = steps - told_;
        told_ += more;
        if (host_ != nullptr) {
            host_->advance(more);
        }
    }
}

} // namespace ctr
