// Time and memory of an operation.
#pragma once

#include <cstddef>
#include <functional>

namespace bench {

struct Cost {
    double seconds;        ///< Processor time, on which other processes have little influence.
    std::size_t peakBytes; ///< The largest number of bytes allocated on top of those before.
};

/// Runs the operation once. Programs that link this file get an operator new that counts bytes; for
/// single-threaded programs.
Cost Measured(const std::function<void()>& work);

/// The operation itself, without the overhead of measuring.
void Work(const std::function<void()>& work);

} // namespace bench
