// Redraws at most ten times a second, so that drawing costs nothing next to the work.
#include "tool/common/Progress.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kxcontour {
namespace {

constexpr std::chrono::milliseconds kRedrawInterval(100);
/// Back to the start of the line; what follows overwrites it and clears the rest.
const char* const kLineStart = "\r";
const char* const kClearRest = "\033[K";

std::string SecondsLeft(double elapsed, double share) {
    constexpr double kTooEarlyToTell = 0.02;
    if (share < kTooEarlyToTell || share >= 1.0) {
        return "";
    }
    const double left = std::ceil(elapsed * (1.0 - share) / share);
    return ", " + std::to_string(static_cast<long>(std::min(left, 1e9))) + " s left";
}

} // namespace

Progress::Progress(std::ostream& out, bool shown) : out_(out), shown_(shown) {}

Progress::~Progress() {
    endLine();
}

void Progress::expect(std::vector<PlannedStage> stages) {
    plan_.expect(std::move(stages));
}

void Progress::enter(const std::string& stage) {
    stage_ = stage;
    plan_.enter(stage);
    draw(plan_.share());
}

void Progress::finish() {
    draw(1.0);
    endLine();
}

void Progress::endLine() {
    if (shown_ && !stage_.empty()) {
        out_ << "\n" << std::flush;
    }
    stage_.clear();
}

bool Progress::isCanceled() const {
    return false;
}

void Progress::setTotal(double steps) {
    plan_.setTotal(steps);
}

void Progress::getRange(double& start, double& end) const {
    start = plan_.done();
    end = plan_.total();
}

void Progress::advance(double steps) {
    plan_.advance(steps);
    if (shown_ && Clock::now() - drawn_ >= kRedrawInterval) {
        draw(plan_.share());
    }
}

void Progress::draw(double share) {
    if (!shown_) {
        return;
    }
    drawn_ = Clock::now();
    const double elapsed = std::chrono::duration<double>(drawn_ - started_).count();
    const long percent = static_cast<long>(std::floor(100.0 * share));
    out_ << kLineStart + std::to_string(percent) + " %, " + stage_ + SecondsLeft(elapsed, share) +
                kClearRest
         << std::flush;
}

} // namespace kxcontour
