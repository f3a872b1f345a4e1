// How long something takes on a machine that others use, too.
#pragma once

#include <algorithm>
#include <chrono>
#include <limits>

namespace test_support {

/// The best of three, seconds: a busy machine makes none of them shorter.
template <class Work> double SecondsOf(Work work) {
    double best = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 3; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        best = std::min(
            best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

} // namespace test_support
