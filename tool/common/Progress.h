// The progress bar on a terminal.
#pragma once

#include "drawing/common/Observer.h"

#include <chrono>
#include <ostream>
#include <string>
#include <vector>

namespace kxcontour {

/// Shows one line that is written over and over: how much of the whole run is done, the stage, and
/// how long the rest will take. Never asks to cancel: an interrupt ends the whole process
/// (Interrupt.h).
class Progress : public DrawingObserver {
public:
    /// Writes to out, or nothing at all unless shown.
    Progress(std::ostream& out, bool shown) : out_(out), shown_(shown) {}

    /// Ends the line that a failure has left unfinished.
    ~Progress() override { endLine(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void enter(const char* stage) override;
    void advance(double steps) override;

    /// Ends the last stage, at 100 %, and the line.
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    void draw(double share);
    void endLine();

    std::ostream& out_;
    bool shown_;
    std::string stage_;
    Clock::time_point started_ = Clock::now();
    Clock::time_point drawn_;
};

} // namespace kxcontour
