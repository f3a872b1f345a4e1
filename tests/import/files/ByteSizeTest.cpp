// Sizes of files as text.
#include "import/files/ByteSize.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using kxcontour::ByteSizeText;
using kxcontour::ReadByteSize;

TEST(ByteSize, IsReadInEveryUnit) {
    EXPECT_EQ(ReadByteSize("4096"), 4096U);
    EXPECT_EQ(ReadByteSize("7B"), 7U);
    EXPECT_EQ(ReadByteSize("3kB"), 3000U);
    EXPECT_EQ(ReadByteSize("500MB"), 500'000'000U);
    EXPECT_EQ(ReadByteSize("2 gb"), 2'000'000'000U);
    EXPECT_EQ(ReadByteSize("1.5TB"), 1'500'000'000'000U);
    EXPECT_EQ(ReadByteSize("0.0019kB"), 1U) << "rounded down";
    EXPECT_EQ(ReadByteSize("1000000TB"), 1'000'000'000'000'000'000U);
}

TEST(ByteSize, IsNotReadFromOtherText) {
    for (const char* text : {"", "B", "MB", "-1", "0", "0.5", "2GiB", "2  GB", " 2GB", "2GB ",
                             "nan", "inf", "1e19", "0x10", "1,5GB", "2 G B"}) {
        EXPECT_EQ(ReadByteSize(text), std::nullopt) << text;
    }
}

TEST(ByteSize, IsWrittenInItsLargestUnit) {
    EXPECT_EQ(ByteSizeText(0), "0 B");
    EXPECT_EQ(ByteSizeText(999), "999 B");
    EXPECT_EQ(ByteSizeText(1000), "1 kB");
    EXPECT_EQ(ByteSizeText(1500), "1.5 kB");
    EXPECT_EQ(ByteSizeText(2'000'000'000), "2 GB");
    EXPECT_EQ(ByteSizeText(5'000'000'000'000'000), "5000 TB");
}

} // namespace
