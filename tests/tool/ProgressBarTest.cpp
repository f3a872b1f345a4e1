// The progress bar beside the clock, on models of many sizes.
//
// KXCONTOUR_MODELS=FILE:FILE... takes other models.
#include "ModelText.h"
#include "drawing/common/StagePlan.h"
#include "drawing/scene/Scene.h"
#include "options/Parsing.h"
#include "tool/jobs/DrawingJob.h"
#include "tool/jobs/RunPlan.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using kxcontour::DrawingObserver;
using kxcontour::PlannedStage;
using tool_test::TemporaryFolder;

/// Notes the time whenever the share changes.
class Recorder : public DrawingObserver {
public:
    void expect(std::vector<PlannedStage> stages) override { plan_.expect(std::move(stages)); }
    void enter(const char* stage) override {
        plan_.enter(stage);
        note(plan_.share());
    }
    bool isCanceled() const override { return false; }
    void setTotal(double steps) override {
        plan_.setTotal(steps);
        note(plan_.share());
    }
    void getRange(double& start, double& end) const override {
        start = plan_.done();
        end = plan_.total();
    }
    void advance(double steps) override {
        plan_.advance(steps);
        note(plan_.share());
    }
    void finish() { note(1.0); }

    bool neverGoesBack() const { return neverGoesBack_; }

    /// The share of the time at which the bar first is at half or over.
    double halfTime() const {
        for (const Note& entry : notes_) {
            if (entry.share >= 0.5) {
                return entry.seconds / notes_.back().seconds;
            }
        }
        return 1.0;
    }
    double seconds() const { return notes_.back().seconds; }

private:
    using Clock = std::chrono::steady_clock;
    struct Note {
        double seconds;
        double share;
    };

    void note(double share) {
        neverGoesBack_ = neverGoesBack_ && (notes_.empty() || share >= notes_.back().share);
        const std::chrono::duration<double> elapsed = Clock::now() - started_;
        notes_.push_back({elapsed.count(), share});
    }

    kxcontour::StagePlan plan_;
    Clock::time_point started_ = Clock::now();
    std::vector<Note> notes_;
    bool neverGoesBack_ = true;
};

/// Draws the model as the tool does.
Recorder Watch(const std::string& model) {
    const TemporaryFolder folder;
    const auto command =
        tool_test::ParseAs<kxcontour::DrawCommand>({model, "-o", folder.path("o.svg")});
    const kxcontour::DrawingOptions& options = command.options;
    Recorder recorder;
    recorder.expect(PlanOfRun(options));
    const kxcontour::Scene scene =
        LoadScene(options.input, [&](const char* stage) { recorder.enter(stage); });
    DrawToFile(scene, options, recorder);
    recorder.finish();
    return recorder;
}

std::vector<std::string> Models() {
    std::vector<std::string> models;
    if (const char* given = std::getenv("KXCONTOUR_MODELS")) {
        std::istringstream names(given);
        for (std::string name; std::getline(names, name, ':');) {
            models.push_back(name);
        }
        return models;
    }
    for (const char* name :
         {"glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb", "IFC/AC14-FZK-Haus.ifc"}) {
        models.push_back(std::string(ASSIMP_MODELS) + "/" + name);
    }
    return models;
}

// On a machine that does nothing else, from 0.35 to 0.65; here other tests run at the same time.
TEST(ProgressBar, IsAtHalfWhenAboutHalfOfTheTimeHasPassed) {
    for (const std::string& model : Models()) {
        const Recorder recorder = Watch(model);
        std::cout << model << ": at half after " << recorder.halfTime() << " of "
                  << recorder.seconds() << " s\n";
        EXPECT_TRUE(recorder.neverGoesBack()) << model;
        EXPECT_GT(recorder.halfTime(), 0.2) << model;
        EXPECT_LT(recorder.halfTime(), 0.8) << model;
    }
}

} // namespace
