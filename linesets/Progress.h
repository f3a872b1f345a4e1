// Progress of long operations, and their cancellation.
#pragma once

#include <kxSystem/kxProgressNotifierInterface.h>

#include "linesets/Tuning.h"

#include <algorithm>
#include <cstddef>

namespace ctr {

/// Thrown to unwind a cancelled operation. It leaves no public operation.
struct Cancelled {};

/// Counts the items of inner loops and polls for cancellation about once per millisecond.
class ItemCounter {
public:
    /// The interface is borrowed; null for an operation that cannot be cancelled.
    explicit ItemCounter(const kx::kxCancelInterfaceReadOnly* cancel = nullptr) : cancel_(cancel) {}
    virtual ~ItemCounter() = default;
    ItemCounter(const ItemCounter&) = delete;
    ItemCounter& operator=(const ItemCounter&) = delete;

    /// Counts items, each of which should take some tens of nanoseconds; throws Cancelled.
    void count(std::size_t items) {
        counted_ += items;
        if (counted_ >= LineTuning::kItemsPerPoll) {
            poll();
        }
    }
    /// Polls now; throws Cancelled.
    virtual void poll();

protected:
    /// Final once true, even if the interface returns false later.
    bool isGivenUp() const {
        givenUp_ = givenUp_ || (cancel_ != nullptr && cancel_->isCanceled());
        return givenUp_;
    }
    /// Called before each poll with the items counted since the last one.
    virtual void report(double items);

private:
    const kx::kxCancelInterfaceReadOnly* cancel_;
    std::size_t counted_ = 0;
    mutable bool givenUp_ = false;
};

/// Calls body(i) for i from 0 to count - 1. Counts in blocks, at no measurable cost.
template <class Body> void ForEachCounted(std::size_t count, ItemCounter& work, Body body) {
    constexpr std::size_t kBlock = LineTuning::kItemsPerCount;
    for (std::size_t begin = 0; begin < count; begin += kBlock) {
        const std::size_t end = std::min(begin + kBlock, count);
        for (std::size_t i = begin; i < end; ++i) {
            body(i);
        }
        work.count(end - begin);
    }
}

/// Reports an operation of several phases to the host's notifier as a single run of steps.
///
/// Each phase gets the share of the remaining steps that its cost has in the remaining cost. So
/// estimates may be corrected from phase to phase, and the run never goes backwards. An operation
/// that reports to a notifier can be given this object for the current phase.
class PhasedProgress : public ItemCounter, public kx::kxProgressNotifierInterface {
public:
    /// Starts a run of the host's notifier, which is borrowed; null for none.
    explicit PhasedProgress(kx::kxProgressNotifierInterface* host);

    /// Ends the current phase and begins one of the given number of items. Costs may be in any
    /// unit.
    void begin(double items, double cost, double costAfterwards);
    /// Replaces the estimates for the rest of the current phase.
    void correct(double itemsLeft, double cost, double costAfterwards);
    /// Ends the last phase, and the run exactly at its total.
    void finish();

    bool isCanceled() const override { return isGivenUp(); }
    void setTotal(double items) override;
    void getRange(double& done, double& items) const override;
    void advance(double items) override;

private:
    void report(double items) override { advance(items); }
    void advanceTo(double steps);

    kx::kxProgressNotifierInterface* host_;
    double reported_ = 0.0;   ///< Steps of the run so far.
    double phaseBegin_ = 0.0; ///< Steps of the run before the phase, and after it.
    double phaseEnd_ = 0.0;
    double items_ = 0.0; ///< Of the phase.
    double done_ = 0.0;
    double stepsPerItem_ = 0.0;
};

} // namespace ctr
