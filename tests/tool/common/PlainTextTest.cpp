// What is shown of names that want to be more than names.
#include "tool/common/PlainText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kxcontour::PlainText;

TEST(PlainText, KeepsWhatIsPrinted) {
    EXPECT_EQ(PlainText(""), "");
    EXPECT_EQ(PlainText(R"(C:\new\x1b "part" 2~)"), R"(C:\new\x1b "part" 2~)");
    const std::string words = "Gr\u00f6\u00dfe \u00a0\u20ac \u05d0\u0628 \U0001f69a";
    EXPECT_EQ(PlainText(words), words) << "letters of any direction";
}

TEST(PlainText, EscapesControlCharacters) {
    for (int code = 0; code < 0x20; ++code) {
        const std::string text = std::string("a") + static_cast<char>(code) + "b";
        EXPECT_EQ(PlainText(text)[1], '\\') << code;
    }
    EXPECT_EQ(PlainText("a\nb\rc\td"), R"(a\nb\rc\td)");
    EXPECT_EQ(PlainText("\x1b]0;title\x07\x7f"), R"(\x1b]0;title\x07\x7f)");
    EXPECT_EQ(PlainText(std::string(1, '\0')), R"(\x00)");
}

TEST(PlainText, EscapesControlCharactersOfTheUpperHalf) {
    EXPECT_EQ(PlainText("\u0080\u009b31m\u009f"), R"(\u0080\u009b31m\u009f)");
    EXPECT_EQ(PlainText("a\x9b"
                        "31m"),
              R"(a\x9b31m)")
        << "as one byte, which terminals in 8-bit mode obey";
}

TEST(PlainText, EscapesMarksOfDirectionAndSeparatorsOfLines) {
    EXPECT_EQ(PlainText("\u061c\u200e\u200f"), R"(\u061c\u200e\u200f)");
    EXPECT_EQ(PlainText("\u202a\u202b\u202c\u202d\u202e"), R"(\u202a\u202b\u202c\u202d\u202e)");
    EXPECT_EQ(PlainText("\u2066\u2067\u2068\u2069"), R"(\u2066\u2067\u2068\u2069)");
    EXPECT_EQ(PlainText("\u2028\u2029"), R"(\u2028\u2029)");
    EXPECT_EQ(PlainText("\u200d\u2010\u202f\u2065\u206a"), "\u200d\u2010\u202f\u2065\u206a")
        << "their neighbours";
}

TEST(PlainText, EscapesBytesThatAreNoUtf8) {
    EXPECT_EQ(PlainText("a\xff\xc3"), R"(a\xff\xc3)");
    EXPECT_EQ(PlainText("\xc0\x8a"), R"(\xc0\x8a)") << "a line feed written too long";
    EXPECT_EQ(PlainText("\xe2\x80\n"), R"(\xe2\x80\n)") << "cut short";
}

} // namespace
