// What a piece of work costs.
#pragma once

#include <cstddef>
#include <functional>

namespace bench {

struct Cost {
    double seconds;        ///< Of the processor, so that others on the machine count little.
    std::size_t peakBytes; ///< The most that operator new had given out beyond what it had before.
};

/// Does the work once. Whoever uses this file gets an operator new that counts; for programs of one
/// thread.
Cost Measured(const std::function<void()>& work);

/// The work itself, without what measuring costs.
void Work(const std::function<void()>& work);

} // namespace bench
