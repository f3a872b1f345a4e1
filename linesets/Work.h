// How long work tells how far it has come, and learns that it is no longer wanted.
#pragma once

#include <kxSystem/kxProgressNotifierInterface.h>

#include <algorithm>
#include <cstddef>

namespace ctr {

/// Thrown where work is given up. It leaves no public operation.
struct Cancelled {};

/// What inner loops count their items in. About once a millisecond it asks whether to go on.
class WorkCounter {
public:
    /// The interface is borrowed; null where nobody cancels.
    explicit WorkCounter(const kx::kxCancelInterfaceReadOnly* cancel = nullptr) : cancel_(cancel) {}
    virtual ~WorkCounter() = default;
    WorkCounter(const WorkCounter&) = delete;
    WorkCounter& operator=(const WorkCounter&) = delete;

    /// Takes note of items, each meant to take some tens of nanoseconds; throws Cancelled.
    void count(std::size_t items) {
        counted_ += items;
        if (counted_ >= kItemsPerLook) {
            look();
        }
    }
    /// Asks now; throws Cancelled.
    virtual void look();

protected:
    /// A yes is final, even should the interface change its mind.
    bool isGivenUp() const {
        givenUp_ = givenUp_ || (cancel_ != nullptr && cancel_->isCanceled());
        return givenUp_;
    }
    /// Called before asking, with what has been counted since.
    virtual void goOn(double items);

private:
    static constexpr std::size_t kItemsPerLook = 16384;

    const kx::kxCancelInterfaceReadOnly* cancel_;
    std::size_t counted_ = 0;
    mutable bool givenUp_ = false;
};

/// Calls body(i) for i from 0 to count - 1. Counts in blocks, which costs the loop nothing.
template <class Body> void ForEachCounted(std::size_t count, WorkCounter& work, Body body) {
    constexpr std::size_t kBlock = 1024;
    for (std::size_t begin = 0; begin < count; begin += kBlock) {
        const std::size_t end = std::min(begin + kBlock, count);
        for (std::size_t i = begin; i < end; ++i) {
            body(i);
        }
        work.count(end - begin);
    }
}

/// The work of one operation as a host's notifier sees it: a single run of steps.
///
/// The operation divides its work into parts, and every part takes as large a share of the steps
/// that are left as its cost is of the cost that is left. So estimates may be corrected from part
/// to part, and the run never goes back. To a pass that reports to a notifier, the current part
/// appears as that notifier.
class Work : public WorkCounter, public kx::kxProgressNotifierInterface {
public:
    /// Starts a run of the host's notifier, which is borrowed; null for none.
    explicit Work(kx::kxProgressNotifierInterface* host);

    /// Ends the current part and begins one of so many items. The unit of both costs is open.
    void begin(double items, double cost, double costAfterwards);
    /// The same for what is left of the current part, which goes on.
    void correct(double itemsLeft, double cost, double costAfterwards);
    /// Ends the last part, and with it the run, exactly at its total.
    void finish();

    bool isCanceled() const override { return isGivenUp(); }
    void setTotal(double items) override;
    void getRange(double& done, double& items) const override;
    void advance(double items) override;

private:
    void goOn(double items) override { advance(items); }
    void tell(double steps);

    kx::kxProgressNotifierInterface* host_;
    double told_ = 0.0;      ///< Steps of the run so far.
    double partBegin_ = 0.0; ///< Steps of the run before the part, and after it.
    double partEnd_ = 0.0;
    double items_ = 0.0; ///< Of the part.
    double done_ = 0.0;
    double stepsPerItem_ = 0.0;
};

} // namespace ctr
