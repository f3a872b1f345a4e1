// What the progress bar writes.
#include "tool/common/Progress.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

std::string LastUpdate(const std::string& written) {
    return written.substr(written.rfind('\r') + 1);
}

TEST(Progress, WritesNothingUnlessShown) {
    std::ostringstream out;
    kxcontour::Progress progress(out, false);
    progress.enter("features");
    progress.setTotal(2.0);
    progress.advance(1.0);
    progress.finish();
    EXPECT_EQ(out.str(), "");
}

TEST(Progress, IsOneBarOverAllStages) {
    std::ostringstream out;
    kxcontour::Progress progress(out, true);
    progress.expect({{"bake", 1.0}, {"features", 3.0}});
    progress.enter("bake");
    EXPECT_EQ(LastUpdate(out.str()), "0 %, bake\033[K");
    progress.enter("features");
    EXPECT_EQ(LastUpdate(out.str()).rfind("25 %, features, ", 0), 0U) << out.str();
    progress.setTotal(8.0);
    progress.advance(1.0);
    progress.finish();
    EXPECT_EQ(LastUpdate(out.str()), "100 %, features\033[K\n");
}

TEST(Progress, ReportsTheStepsDoneAndTheirTotal) {
    std::ostringstream out;
    kxcontour::Progress progress(out, false);
    progress.setTotal(8.0);
    progress.advance(2.5);
    double done = -1.0;
    double total = -1.0;
    progress.getRange(done, total);
    EXPECT_EQ(done, 2.5);
    EXPECT_EQ(total, 8.0);
    progress.setTotal(3.0);
    progress.getRange(done, total);
    EXPECT_EQ(done, 0.0);
    EXPECT_EQ(total, 3.0);
}

TEST(Progress, EndsItsLineWhenAStageIsLeftUnfinished) {
    std::ostringstream out;
    {
        kxcontour::Progress progress(out, true);
        progress.enter("bake");
    }
    EXPECT_EQ(LastUpdate(out.str()), "0 %, bake\033[K\n");
}

} // namespace
