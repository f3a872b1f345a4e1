// Redraws at most ten times a second, so that drawing costs nothing next to the work.
#include "tool/common/Progress.h"

#include <algorithm>
#include <cmath>

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

void Progress::enter(const char* stage) {
    stage_ = stage;
    DrawingObserver::enter(stage);
    draw(share());
}

void Progress::advance(double steps) {
    DrawingObserver::advance(steps);
    if (shown_ && Clock::now() - drawn_ >= kRedrawInterval) {
        draw(share());
    }
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
