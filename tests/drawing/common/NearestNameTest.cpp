// Spelling distances and the names they suggest.
#include "drawing/common/NearestName.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::NearestName;
using kxcontour::SpellingDistance;

TEST(SpellingDistance, CountsLetters) {
    EXPECT_EQ(SpellingDistance("", ""), 0U);
    EXPECT_EQ(SpellingDistance("page", "page"), 0U);
    EXPECT_EQ(SpellingDistance("", "page"), 4U);
    EXPECT_EQ(SpellingDistance("page", ""), 4U);
    EXPECT_EQ(SpellingDistance("pag", "page"), 1U) << "missing";
    EXPECT_EQ(SpellingDistance("ppage", "page"), 1U) << "too many";
    EXPECT_EQ(SpellingDistance("pige", "page"), 1U) << "wrong";
    EXPECT_EQ(SpellingDistance("pgae", "page"), 1U) << "swapped";
    EXPECT_EQ(SpellingDistance("PAGE", "page"), 0U) << "case";
    EXPECT_EQ(SpellingDistance("kitten", "sitting"), 3U);
    EXPECT_EQ(SpellingDistance("ca", "abc"), 3U) << "no letter is touched twice";
}

TEST(NearestName, IsTheOneSpeltMostAlike) {
    EXPECT_EQ(NearestName("vew", {"page", "view", "title"}), "view");
    EXPECT_EQ(NearestName("crease-angel", {"crease", "crease-angle", "page"}), "crease-angle");
}

TEST(NearestName, IsTheFirstOfThoseEquallyNear) {
    EXPECT_EQ(NearestName("A9", {"A0", "A1"}), "A0");
}

TEST(NearestName, IsEmptyWhereNothingComesNear) {
    EXPECT_EQ(NearestName("perspective", {"front", "back"}), "");
    EXPECT_EQ(NearestName("q", {"o", "h"}), "") << "nothing in common";
    EXPECT_EQ(NearestName("view", {}), "");
    EXPECT_EQ(NearestName("", {"view"}), "");
}

// The table of each candidate would have 4e9 entries.
TEST(NearestName, WastesNoTimeOnWordsThatAreFarTooLong) {
    std::string word;
    word.resize(200'000'000, 'v');
    EXPECT_EQ(NearestName(word, std::vector<std::string>(60, "camera-focal-point")), "");
}

} // namespace
