// How much of a run of several stages is done.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kxcontour {

struct PlannedStage {
    std::string name;
    double cost = 0.0; ///< In any unit that all stages share; 0 or more.
};

/// One share over all stages of a run, which never goes back, whatever is planned.
///
/// A stage gets what is left of the whole in proportion to its cost among all that are still to
/// come, so plans may be made again whenever more is known. Within a stage the share follows its
/// steps; where it starts to count anew, what is left of the stage is divided among the new steps.
class StagePlan {
public:
    /// Replaces the stages that come after the current one, in order.
    void expect(std::vector<PlannedStage> stages) { coming_ = std::move(stages); }

    /// Ends the current stage and starts another. Planned stages before it are passed over; one
    /// that was not planned has no part in the whole.
    void enter(const std::string& name);

    void setTotal(double steps);
    void advance(double steps) { done_ += steps; }
    double done() const { return done_; }
    double total() const { return total_; }

    /// From 0 to 1.
    double share() const;

private:
    std::vector<PlannedStage> coming_;
    double start_ = 0.0; ///< The share when the steps of the stage started to count.
    double end_ = 0.0;   ///< The share at the end of the stage.
    double done_ = 0.0;
    double total_ = 0.0;
};

} // namespace kxcontour
