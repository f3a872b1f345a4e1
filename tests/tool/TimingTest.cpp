// What --timing prints.
#include "Timing.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace {

TEST(Timing, PrintsALineForEachStageAndTheSum) {
    kxcontour::Timing timing;
    timing.enter("read");
    timing.enter("bake");
    std::ostringstream out;
    timing.report(out);
    const std::regex lines(
        "read +\\d+\\.\\d{3} s\nbake +\\d+\\.\\d{3} s\ntotal +\\d+\\.\\d{3} s\n");
    EXPECT_TRUE(std::regex_match(out.str(), lines)) << out.str();
}

TEST(Timing, OfNothingIsZero) {
    std::ostringstream out;
    kxcontour::Timing().report(out);
    EXPECT_EQ(out.str(), "total        0.000 s\n");
}

} // namespace
