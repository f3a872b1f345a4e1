// Words, numbers and lines of a text.
#include "import/formats/TextScanner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>

namespace {

using kxcontour::TextScanner;

std::optional<double> NumberIn(const std::string& text) {
    TextScanner scanner(text);
    double value = 0.0;
    return scanner.number(value) ? std::optional<double>(value) : std::nullopt;
}

TEST(TextScanner, ReadsNumbersToTheLastBit) {
    EXPECT_EQ(NumberIn("0.1"), 0.1);
    EXPECT_EQ(NumberIn("+5335000.123456789\n"), 5335000.123456789);
    EXPECT_EQ(NumberIn("-1.e-3 "), -0.001);
    EXPECT_EQ(NumberIn(".5\\\n"), 0.5);
    EXPECT_EQ(NumberIn("1E+2\r"), 100.0);
    EXPECT_EQ(NumberIn("9007199254740993"), 9007199254740992.0);
    EXPECT_EQ(NumberIn("1e400"), INFINITY);
    EXPECT_EQ(NumberIn("1e-400"), 0.0);
}

TEST(TextScanner, ReadsWhatIsNoNumberByItsNames) {
    for (const char* text : {"nan", "NaN", "-nan", "nan(ind)", "-1.#IND", "1.#QNAN00"}) {
        const std::optional<double> value = NumberIn(text);
        ASSERT_TRUE(value) << text;
        EXPECT_TRUE(std::isnan(*value)) << text;
    }
    EXPECT_EQ(NumberIn("inf"), INFINITY);
    EXPECT_EQ(NumberIn("-Infinity"), -INFINITY);
}

TEST(TextScanner, TakesNothingElseForANumber) {
    for (const char* text : {"", " ", "x", "1,5", "1.5mm", "+-1", "++1", "+", "-", ".", "0x10",
                             "1e", "3.1+e2", "1/2"}) {
        TextScanner scanner(text);
        double value = 7.0;
        EXPECT_FALSE(scanner.number(value)) << text;
        EXPECT_EQ(scanner.leftText(), text);
    }
}

TEST(TextScanner, ReadsWholeNumbersUpToWhatFollows) {
    std::int64_t value = 0;
    TextScanner scanner("12/-7/99999999999999999999x");
    ASSERT_TRUE(scanner.integer(value));
    EXPECT_EQ(value, 12);
    EXPECT_FALSE(scanner.integer(value));
    scanner.advance();
    ASSERT_TRUE(scanner.integer(value));
    EXPECT_EQ(value, -7);
    scanner.advance();
    ASSERT_TRUE(scanner.integer(value));
    EXPECT_EQ(value, 1000000000000000000);
    EXPECT_EQ(scanner.peek(), 'x');
}

TEST(TextScanner, EndsLinesInThreeWays) {
    TextScanner scanner("a\rb\r\nc\n\nd");
    for (const char* word : {"a", "b", "c", "", "d"}) {
        scanner.toNextInLine();
        EXPECT_EQ(scanner.word(), word);
        EXPECT_FALSE(scanner.toNextInLine());
        scanner.skipLine();
    }
    EXPECT_TRUE(scanner.atEnd());
}

TEST(TextScanner, GoesOnBehindABackslash) {
    TextScanner scanner("a \\\r\n b\\c \\\n\\\nd\ne");
    for (const char* word : {"a", "b\\c", "d"}) {
        ASSERT_TRUE(scanner.toNextInLine()) << word;
        EXPECT_EQ(scanner.word(), word);
    }
    EXPECT_FALSE(scanner.toNextInLine());
    TextScanner skipped("a \\\nb\nc");
    skipped.skipLine();
    EXPECT_EQ(skipped.leftText(), "c");
}

TEST(TextScanner, GivesTheRestOfALineWithoutBlanksAround) {
    TextScanner scanner("  a b\t \\ \r\nc");
    EXPECT_EQ(scanner.rest(), "a b\t \\");
    scanner.skipLine();
    EXPECT_EQ(scanner.rest(), "c");
    EXPECT_EQ(scanner.rest(), "");
}

TEST(TextScanner, CountsLinesFromOne) {
    TextScanner scanner("a\r\nb\rc\nd");
    EXPECT_EQ(scanner.place(), "line 1");
    for (int i = 0; i < 3; ++i) {
        scanner.skipLine();
    }
    EXPECT_EQ(scanner.place(), "line 4");
}

} // namespace
