// How long the stages of a run take.
#pragma once

#include <chrono>
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace kxcontour {

/// A stop watch that is always in one stage.
class Timing {
public:
    /// Ends the stage before and starts the next, or goes on with one of before.
    void enter(const std::string& stage);

    /// Ends the last stage and writes one line a stage and one for the sum, in seconds.
    void report(std::ostream& out);

private:
    using Clock = std::chrono::steady_clock;

    struct Stage {
        std::string name;
        double seconds;
    };

    void leave();

    std::vector<Stage> stages_;
    std::size_t current_ = 0;
    Clock::time_point started_;
    bool running_ = false;
};

} // namespace kxcontour
