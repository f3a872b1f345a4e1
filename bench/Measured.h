// Time and memory of an operation.
#pragma once

#include <cstddef>
#include <functional>

namespace bench {

struct Cost {
    double seconds;        ///< Of the processor, so that others on the machine count little.
    std::size_t peakBytes; ///< The most that operator new had given out beyond what it had before.
};

/// Runs the operation once. Programs that link this file get an operator new that counts bytes; for
/// single-threaded programs.
Cost Measured(const std::function<void()>& work);

/// The operation itself, without the overhead of measuring.
void Work(const std::function<void()>& work);

} // namespace bench
