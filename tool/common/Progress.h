// The progress bar on a terminal.
#pragma once

#include <kxSystem/kxProgressNotifierInterface.h>

#include "drawing/common/StagePlan.h"

#include <chrono>
#include <ostream>
#include <string>
#include <vector>

namespace kxcontour {

/// Shows one line that is written over and over: how much of the whole run is done, the stage, and
/// how long the rest will take. Never asks to cancel: an interrupt ends the whole process
/// (Interrupt.h).
class Progress : public kx::kxProgressNotifierInterface {
public:
    /// Writes to out, or nothing at all unless shown.
    Progress(std::ostream& out, bool shown);

    /// Ends the line that a failure has left unfinished.
    ~Progress() override;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Replaces the stages that are expected after the current one.
    void expect(std::vector<PlannedStage> stages);

    /// Ends the stage before and starts another.
    void enter(const std::string& stage);

    /// Ends the last stage, at 100 %, and the line.
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
    StagePlan plan_;
    Clock::time_point started_ = Clock::now();
    Clock::time_point drawn_;
};

} // namespace kxcontour
