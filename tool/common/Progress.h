// Progress of runs, and the bar that shows it on a terminal.
#pragma once

#include "drawing/Observer.h"

#include <chrono>
#include <ostream>
#include <string>
#include <vector>

namespace kxcontour {

/// Follows the stages of a run and the steps within them. Never asks to cancel: an interrupt ends
/// the whole process (Interrupt.h).
class StageFollower : public DrawingObserver {
public:
    void expect(std::vector<PlannedStage> stages) override { plan_.expect(std::move(stages)); }
    void enter(const char* stage) override { plan_.enter(stage); }
    bool isCanceled() const override { return false; }
    void setTotal(double steps) override { plan_.setTotal(steps); }
    void getRange(double& start, double& end) const override {
        start = plan_.done();
        end = plan_.total();
    }
    void advance(double steps) override { plan_.advance(steps); }

protected:
    /// Of the whole run, from 0 to 1.
    double share() const { return plan_.share(); }

private:
    StagePlan plan_;
};

/// Shows one line that is written over and over: how much of the whole run is done, the stage, and
/// how long the rest will take.
class Progress : public StageFollower {
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
