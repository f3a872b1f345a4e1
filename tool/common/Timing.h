// How long the stages of a run take.
#pragma once

#include <chrono>
#include <ostream>
#include <string>
#include <vector>

namespace kxcontour {

/// A stop watch that is always in one stage.
class Timing {
public:
    /// Ends the stage before and starts the next, or goes on with one of before.
    void enter(const std::string& stage);

    /// Ends the last stage and writes one line per stage and one for the sum, in seconds.
    void report(std::ostream& out);

private:
    struct Stage {
        std::string name;
        std::chrono::duration<double> time;
    };

    /// Adds the time since the stage was entered, if there is one.
    void leave();

    std::vector<Stage> stages_;
    std::string current_; ///< Empty: none.
    std::chrono::steady_clock::time_point started_;
};

} // namespace kxcontour
