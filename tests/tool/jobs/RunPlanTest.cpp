// What the stages of a drawing are expected to cost.
#include "tool/jobs/RunPlan.h"

#include "ModelText.h"
#include "import/SceneReader.h"
#include "options/Parsing.h"
#include "tool/jobs/DrawingJob.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using kxcontour::PlannedStage;
using tool_test::ParseAs;
using tool_test::TemporaryFolder;

const char* const kSquare = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n";

std::vector<std::string> NamesOf(const std::vector<PlannedStage>& plan) {
    std::vector<std::string> names;
    names.reserve(plan.size());
    for (const PlannedStage& stage : plan) {
        names.push_back(stage.name);
    }
    return names;
}

/// The stages that a drawing really has, and its last share before the end.
class Listener : public kxcontour::DrawingObserver {
public:
    void enter(const char* stage) override {
        DrawingObserver::enter(stage);
        entered.emplace_back(stage);
        shares.push_back(share());
    }

    std::vector<std::string> entered;
    std::vector<double> shares;
};

TEST(RunPlan, PlanTheStagesThatARunHas) {
    const TemporaryFolder folder;
    const auto command = ParseAs<kxcontour::DrawCommand>(
        {folder.write("a.obj", kSquare), folder.write("b.obj", kSquare), "--occluder",
         folder.write("c.obj", kSquare), "--sheet", "front,top,iso", "-o", folder.path("o.svg")});
    const std::vector<PlannedStage> plan = PlanOfRun(command.options);
    Listener listener;
    listener.expect(plan);
    const kxcontour::Scene scene =
        LoadScene(command.options.input, [&](const char* stage) { listener.enter(stage); });
    DrawToFile(scene, command.options, listener);
    EXPECT_EQ(listener.entered, NamesOf(plan));
    EXPECT_TRUE(std::is_sorted(listener.shares.begin(), listener.shares.end()));
    EXPECT_EQ(listener.shares.front(), 0.0);
    EXPECT_LT(listener.shares.back(), 1.0);
}

TEST(RunPlan, GrowWithTheFile) {
    const TemporaryFolder folder;
    const auto planOf = [&](const std::string& bytes) {
        return PlanOfRun(ParseAs<kxcontour::DrawCommand>(
                             {folder.write("m.STL", bytes), "-o", folder.path("o.svg")})
                             .options);
    };
    const std::vector<PlannedStage> small = planOf(std::string(1000, ' '));
    const std::vector<PlannedStage> large = planOf(std::string(1000000, ' '));
    ASSERT_EQ(NamesOf(small), NamesOf(large));
    for (std::size_t i = 0; i < small.size(); ++i) {
        EXPECT_LT(small[i].cost, large[i].cost) << small[i].name;
    }
}

TEST(RunPlan, AreThereForWhatCannotBeMeasured) {
    for (const PlannedStage& stage : PlanOfRun(
             ParseAs<kxcontour::DrawCommand>({"-", "--format", "obj", "-o", "o.svg"}).options)) {
        EXPECT_GT(stage.cost, 0.0) << stage.name;
    }
}

} // namespace
