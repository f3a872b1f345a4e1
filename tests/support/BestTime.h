// Time measurement on a machine with other load.
#pragma once

#include <algorithm>
#include <ctime>
#include <limits>

namespace test_support {

/// The processor time that this thread has used, in seconds.
inline double ProcessorSeconds() {
    std::timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The best of three, in seconds of the processor: waiting for it does not count, and a busy
/// machine makes none of them shorter. Work is done by the calling thread.
template <class Work> double SecondsOf(Work work) {
    double best = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 3; ++i) {
        const double start = ProcessorSeconds();
        work();
        best = std::min(best, ProcessorSeconds() - start);
    }
    return best;
}

} // namespace test_support
