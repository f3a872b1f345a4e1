// What --timing prints.
#include "tool/common/Timing.h"

#include "ModelText.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

TEST(Timing, PrintsALineForEachStageAndTheSum) {
    kxcontour::Timing timing;
    timing.enter("read");
    timing.enter("bake");
    std::ostringstream out;
    timing.report(out);
    EXPECT_TRUE(tool_test::Matches(out.str(), "read         *.* s\nbake         *.* s\n"
                                              "total        *.* s\n"))
        << out.str();
}

TEST(Timing, AddsUpStagesThatComeBack) {
    kxcontour::Timing timing;
    for (const char* stage : {"bake", "features", "bake", "features"}) {
        timing.enter(stage);
    }
    std::ostringstream out;
    timing.report(out);
    EXPECT_TRUE(tool_test::Matches(out.str(), "bake         *.* s\nfeatures     *.* s\n"
                                              "total        *.* s\n"))
        << out.str();
}

TEST(Timing, OfNothingIsZero) {
    std::ostringstream out;
    kxcontour::Timing().report(out);
    EXPECT_EQ(out.str(), "total        0.000 s\n");
}

} // namespace
