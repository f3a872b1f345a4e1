// The numbers and strings that say which build of the library is loaded.
#include <ctr/Version.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using kxContouringLib::Version;

TEST(Version, ReportsItsNumbers) {
    EXPECT_EQ(Version::GetMajor(), 1);
    EXPECT_EQ(Version::GetMinor(), 0);
    EXPECT_EQ(Version::GetRelease(), 0);
    EXPECT_EQ(Version::GetRevision(), 1226);
    EXPECT_EQ(Version::GetYear(), 2025);
    EXPECT_EQ(Version::GetMonth(), 12);
}

// The library has its numbers from the build, the headers have their own.
TEST(Version, HeadersAreOfTheSameVersion) {
    EXPECT_EQ(CTR_VERSION_MAJOR, Version::GetMajor());
    EXPECT_EQ(CTR_VERSION_MINOR, Version::GetMinor());
    EXPECT_EQ(CTR_VERSION_RELEASE, Version::GetRelease());
}

TEST(Version, ThePreprocessorComparesVersions) {
#if CTR_VERSION >= CTR_MAKE_VERSION(1, 0, 0) && CTR_VERSION < CTR_MAKE_VERSION(1000, 0, 0)
    EXPECT_LT(CTR_MAKE_VERSION(1, 2, 999), CTR_MAKE_VERSION(1, 3, 0));
    EXPECT_LT(CTR_MAKE_VERSION(1, 999, 999), CTR_MAKE_VERSION(2, 0, 0));
    EXPECT_LT(CTR_MAKE_VERSION(1, 3, 0), CTR_MAKE_VERSION(1, 3, 1));
#else
    ADD_FAILURE() << "the version of the headers is no number";
#endif
}

TEST(Version, ReportsItsCommit) {
    EXPECT_STREQ(Version::GetCommitId(), "0f14611422dbde61");
}

TEST(Version, CommitIdIsWhatFollowsTheHashInTheDescription) {
    const std::string description = Version::GetDescStringMajorMinorReleaseRevision(false, true);
    const std::size_t hash = description.find('#');
    ASSERT_NE(hash, std::string::npos);
    EXPECT_EQ(description.substr(hash + 1), Version::GetCommitId());
    EXPECT_EQ(description.size() - hash - 1, 16U);
}

TEST(Version, ShortDescriptionsIgnoreTheirArgument) {
    for (const bool ignored : {false, true}) {
        EXPECT_STREQ(Version::GetDescStringMajorMinor(ignored), "1.0");
        EXPECT_STREQ(Version::GetDescStringMajorMinorRelease(ignored), "1.0.0");
    }
}

TEST(Version, OnlyTheSecondArgumentDecidesAboutTheCommit) {
    for (const bool ignored : {false, true}) {
        EXPECT_STREQ(Version::GetDescStringMajorMinorReleaseRevision(ignored, false), "1.0.0.1226");
        EXPECT_STREQ(Version::GetDescStringMajorMinorReleaseRevision(ignored, true),
                     "1.0.0.1226 #0f14611422dbde61");
    }
}

TEST(Version, LongestDescriptionEndsWithTheDate) {
    EXPECT_STREQ(Version::GetDescStringMajorMinorReleaseRevisionDate(),
                 "1.0.0.1226 #0f14611422dbde61 2025-12");
}

TEST(Version, StringsAreStatic) {
    EXPECT_EQ(Version::GetCommitId(), Version::GetCommitId());
    EXPECT_EQ(Version::GetDescStringMajorMinorReleaseRevisionDate(),
              Version::GetDescStringMajorMinorReleaseRevisionDate());
}

TEST(Version, IsNeitherBetaNorDebugNorDevelopment) {
    EXPECT_FALSE(Version::IsBeta());
    EXPECT_FALSE(Version::IsDebug());
    EXPECT_FALSE(Version::IsDev());
}

} // namespace
