// Long texts do not fill messages.
#include "tool/options/Values.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::Shortened;

TEST(Shortened, LeavesShortTextsAsTheyAre) {
    EXPECT_EQ(Shortened(""), "");
    EXPECT_EQ(Shortened(std::string(60, 'x')), std::string(60, 'x'));
}

TEST(Shortened, EndsLongOnesWithDots) {
    EXPECT_EQ(Shortened(std::string(61, 'x')), std::string(60, 'x') + "...");
    EXPECT_EQ(Shortened(std::string(1000000, 'x')).size(), 63U);
}

TEST(Shortened, CutsNoCharacter) {
    const std::string start(58, 'x');
    EXPECT_EQ(Shortened(start + "\xE2\x82\xAC" + "y"), start + "...") << "a euro sign";
    EXPECT_EQ(Shortened(std::string(57, 'x') + "\xE2\x82\xAC" + "y"),
              std::string(57, 'x') + "\xE2\x82\xAC" + "...");
    EXPECT_EQ(Shortened(std::string(100, '\x80')), "...") << "no character begins";
}

} // namespace
