// How much of a run of several stages is done.
#include "drawing/common/StagePlan.h"

#include "support/Random.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kxcontour::PlannedStage;
using kxcontour::StagePlan;
using test_support::Random;

TEST(StagePlan, GivesEachStageItsPart) {
    StagePlan plan;
    plan.expect({{"read", 1.0}, {"bake", 1.0}, {"lines", 6.0}});
    plan.enter("read");
    EXPECT_EQ(plan.share(), 0.0);
    plan.enter("bake");
    EXPECT_EQ(plan.share(), 0.125);
    plan.setTotal(4.0);
    plan.advance(2.0);
    EXPECT_EQ(plan.share(), 0.1875);
    plan.enter("lines");
    EXPECT_EQ(plan.share(), 0.25);
    plan.setTotal(3.0);
    plan.advance(3.0);
    EXPECT_EQ(plan.share(), 1.0);
}

TEST(StagePlan, DividesWhatIsLeftWhenMoreIsKnown) {
    StagePlan plan;
    plan.expect({{"read", 1.0}, {"bake", 1.0}});
    plan.enter("read");
    plan.expect({{"bake", 1.0}, {"lines", 9.0}});
    EXPECT_EQ(plan.share(), 0.0);
    plan.enter("bake");
    EXPECT_EQ(plan.share(), 0.5);
    plan.enter("lines");
    EXPECT_EQ(plan.share(), 0.55);
}

TEST(StagePlan, RepeatsStages) {
    StagePlan plan;
    plan.expect({{"bake", 1.0}, {"lines", 3.0}, {"bake", 1.0}, {"lines", 3.0}});
    std::vector<double> shares;
    for (const char* stage : {"bake", "lines", "bake", "lines"}) {
        plan.enter(stage);
        shares.push_back(plan.share());
    }
    EXPECT_EQ(shares, (std::vector<double>{0.0, 0.125, 0.5, 0.625}));
}

TEST(StagePlan, PassesOverStagesThatDoNotCome) {
    StagePlan plan;
    plan.expect({{"read", 5.0}, {"bake", 1.0}, {"lines", 1.0}});
    plan.enter("bake");
    plan.enter("lines");
    EXPECT_EQ(plan.share(), 0.5);
}

TEST(StagePlan, GivesNothingToWhatWasNotPlanned) {
    StagePlan plan;
    plan.expect({{"bake", 1.0}, {"lines", 1.0}});
    plan.enter("bake");
    plan.enter("surprise");
    EXPECT_EQ(plan.share(), 0.5);
    plan.setTotal(2.0);
    plan.advance(1.0);
    EXPECT_EQ(plan.share(), 0.5);
    plan.enter("lines");
    EXPECT_EQ(plan.share(), 0.5);
}

TEST(StagePlan, StaysWithinItsStageWhateverIsCounted) {
    StagePlan plan;
    plan.expect({{"bake", 1.0}, {"lines", 1.0}});
    plan.enter("bake");
    plan.setTotal(2.0);
    plan.advance(7.0);
    EXPECT_EQ(plan.share(), 0.5);
    plan.enter("lines");
    plan.setTotal(0.0);
    plan.advance(1.0);
    EXPECT_EQ(plan.share(), 0.5);
}

TEST(StagePlan, DividesTheRestOfAStageAmongStepsCountedAnew) {
    StagePlan plan;
    plan.expect({{"lines", 1.0}});
    plan.enter("lines");
    plan.setTotal(2.0);
    plan.advance(1.0);
    plan.setTotal(10.0);
    EXPECT_EQ(plan.share(), 0.5);
    plan.advance(5.0);
    EXPECT_EQ(plan.share(), 0.75);
}

TEST(StagePlan, TakesStagesThatCostNothing) {
    StagePlan plan;
    plan.expect({{"read", 0.0}, {"bake", 0.0}});
    plan.enter("read");
    plan.enter("bake");
    EXPECT_EQ(plan.share(), 0.0);
}

TEST(StagePlan, NeverGoesBack) {
    Random random(1);
    const std::vector<std::string> names{"read", "bake", "lines", "export", "surprise"};
    const auto any = [&] { return names[static_cast<std::size_t>(random.below(5))]; };
    for (int round = 0; round < 1000; ++round) {
        StagePlan plan;
        double before = 0.0;
        for (int step = 0; step < 50; ++step) {
            switch (random.below(4)) {
            case 0: {
                std::vector<PlannedStage> stages;
                for (int i = random.below(5); i > 0; --i) {
                    stages.push_back({any(), static_cast<double>(random.below(100))});
                }
                plan.expect(stages);
                break;
            }
            case 1:
                plan.enter(any());
                break;
            case 2:
                plan.setTotal(static_cast<double>(random.below(10)));
                break;
            default:
                plan.advance(static_cast<double>(random.unit()));
            }
            ASSERT_GE(plan.share(), before);
            ASSERT_LE(plan.share(), 1.0);
            before = plan.share();
        }
    }
}

} // namespace
