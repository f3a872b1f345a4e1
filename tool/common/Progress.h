// The progress bar on a terminal.
#pragma once

#include <kxSystem/kxProgressNotifierInterface.h>

#include <chrono>
#include <ostream>
#include <string>

namespace kxcontour {

/// Shows one line that is written over and over: the stage, how much of it is done and how long it
/// still takes. Never asks to cancel: an interrupt ends the whole process (Interrupt.h).
class Progress : public kx::kxProgressNotifierInterface {
public:
    /// Writes to out, or nothing at all unless shown.
    Progress(std::ostream& out, bool shown);

    /// Ends the line that a failure has left unfinished.
    ~Progress() override;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Ends the stage before, at 100 %, and starts the next.
    void enter(const std::string& stage);

    /// Ends the last stage, and the line.
    void finish();

    bool isCanceled() const override;
    void setTotal(double steps) override;
    void getRange(double& start, double& end) const override;
    void advance(double steps) override;

private:
    using Clock = std::chrono::steady_clock;

    void draw(double share);
    void endLine();

    std::ostream& out_;
    bool shown_;
    std::string stage_;
    double done_ = 0.0;
    double total_ = 0.0;
    Clock::time_point started_;
    Clock::time_point drawn_;
};

} // namespace kxcontour
