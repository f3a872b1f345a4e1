// A list of stages with their seconds.
#include "tool/common/Timing.h"

#include <algorithm>
#include <iomanip>
#include <locale>
#include <sstream>

namespace kxcontour {

void Timing::enter(const std::string& stage) {
    leave();
    const auto found = std::find_if(stages_.begin(), stages_.end(),
                                    [&](const Stage& known) { return known.name == stage; });
    current_ = static_cast<std::size_t>(found - stages_.begin());
    if (found == stages_.end()) {
        stages_.push_back({stage, 0.0});
    }
    started_ = Clock::now();
    running_ = true;
}

void Timing::leave() {
    if (running_) {
        stages_[current_].seconds += std::chrono::duration<double>(Clock::now() - started_).count();
        running_ = false;
    }
}

void Timing::report(std::ostream& out) {
    leave();
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(3);
    double sum = 0.0;
    const auto line = [&text](const std::string& name, double seconds) {
        text << std::left << std::setw(9) << name << std::right << std::setw(9) << seconds
             << " s\n";
    };
    for (const Stage& stage : stages_) {
        line(stage.name, stage.seconds);
        sum += stage.seconds;
    }
    line("total", sum);
    out << text.str() << std::flush;
}

} // namespace kxcontour
