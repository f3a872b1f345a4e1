// Steps of a run from items of its parts.
#include "linesets/Work.h"

#include <algorithm>

namespace ctr {
namespace {

constexpr double kSteps = 1000.0;

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
    items_ = itemsLeft;
    done_ = 0.0;
}

void Work::finish() {
    tell(kSteps);
}

void Work::setTotal(double items) {
    items_ = items;
    done_ = 0.0;
}

void Work::getRange(double& done, double& items) const {
    done = done_;
    items = items_;
}

void Work::advance(double items) {
    done_ = std::min(done_ + items, items_);
    if (done_ > 0.0) {
        tell(partBegin_ + (partEnd_ - partBegin_) * (done_ / items_));
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
