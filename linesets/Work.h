// How long work tells how far it has come, and learns that it is no longer wanted.
#pragma once

#include <kxSystem/kxProgressNotifierInterface.h>

#include <cstddef>

namespace ctr {

/// Thrown where work is given up. It leaves no public operation.
struct Cancelled {};

/// The work of one operation as a host's notifier sees it: a single run of steps.
///
/// The operation divides its work into parts, and every part takes as large a share of the steps
/// that are left as its cost is of the cost that is left. So estimates may be corrected from part
/// to part, and the run never goes back. To a pass that reports to a notifier, the current part
/// appears as that notifier.
class Work : public kx::kxProgressNotifierInterface {
public:
    /// Nobody is told, and nobody cancels.
    Work() = default;
    /// Starts a run of the host's notifier, which is borrowed; null for none.
    explicit Work(kx::kxProgressNotifierInterface* host);
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    /// Ends the current part and begins one of so many items. The unit of both costs is open.
    void begin(double items, double cost, double costAfterwards);
    /// Ends the last part, and with it the run, exactly at its total.
    void finish();

    /// Takes note of items that are done, about once a millisecond; throws Cancelled. An item is
    /// meant to take some tens of nanoseconds.
    void count(std::size_t items) {
        counted_ += items;
        if (counted_ >= kItemsPerLook) {
            look();
        }
    }
    /// Takes note of all that has been counted; throws Cancelled.
    void look();

    bool isCanceled() const override;
    void setTotal(double items) override;
    void getRange(double& done, double& items) const override;
    void advance(double items) override;

private:
    static constexpr std::size_t kItemsPerLook = 16384;

    void tell(double steps);

    kx::kxProgressNotifierInterface* host_ = nullptr;
    double told_ = 0.0;     ///< Steps of the run so far.
    double partEnd_ = 0.0;  ///< Steps of the run when the part is done.
    double partBegin_ = 0.0;
    double items_ = 0.0;
    double done_ = 0.0;
    std::size_t counted_ = 0;
    mutable bool cancelled_ = false;
};

} // namespace ctr
