// A list of stages with their times.
#include "tool/common/Timing.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace kxcontour {

void Timing::enter(const std::string& stage) {
    leave();
    current_ = stage;
    started_ = std::chrono::steady_clock::now();
}

void Timing::leave() {
    const std::string stage = std::exchange(current_, {});
    if (stage.empty()) {
        return;
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - started_;
    const auto found = std::find_if(stages_.begin(), stages_.end(),
                                    [&](const Stage& known) { return known.name == stage; });
    if (found == stages_.end()) {
        stages_.push_back({stage, time});
    } else {
        found->time += time;
    }
}

void Timing::report(std::ostream& out) {
    leave();
    Stage sum{"total", {}};
    for (const Stage& stage : stages_) {
        sum.time += stage.time;
    }
    stages_.push_back(sum);
    std::string text;
    for (const Stage& stage : stages_) {
        text += fmt::format("{:<9}{:>9.3f} s\n", stage.name, stage.time.count());
    }
    out << text << std::flush;
}

} // namespace kxcontour
