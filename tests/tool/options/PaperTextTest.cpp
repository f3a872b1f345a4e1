// Sheets by name and by measures.
#include "tool/options/PaperText.h"

#include "ShapeBuilders.h"
#include "drawing/Drawing.h"

#include <gtest/gtest.h>

#include <locale>

namespace {

using kxcontour::PageSize;
using kxcontour::ParsePageSize;
using kxcontour::ReadPaperLength;
using tool_test::FailureOf;
using tool_test::Holds;

void ExpectPage(const std::string& text, double width, double height) {
    const PageSize page = ParsePageSize(text);
    EXPECT_EQ(page.width, width) << text;
    EXPECT_EQ(page.height, height) << text;
}

TEST(ParsePageSize, KnowsTheNamedSheets) {
    ExpectPage("A0", 841, 1189);
    ExpectPage("A1", 594, 841);
    ExpectPage("A2", 420, 594);
    ExpectPage("A3", 297, 420);
    ExpectPage("A4", 210, 297);
    ExpectPage("A5", 148, 210);
    ExpectPage("A6", 105, 148);
    ExpectPage("letter", 215.9, 279.4);
    ExpectPage("legal", 215.9, 355.6);
}

TEST(ParsePageSize, DoesNotCareAboutCase) {
    ExpectPage("a4", 210, 297);
    ExpectPage("Letter", 215.9, 279.4);
    ExpectPage("LEGAL", 215.9, 355.6);
}

TEST(ParsePageSize, ReadsMeasuresInMillimetres) {
    ExpectPage("100x200", 100, 200);
    ExpectPage("300X100", 300, 100);
    ExpectPage("100.5x20.25", 100.5, 20.25);
    ExpectPage("100000x100000", 100000, 100000);
}

TEST(ParsePageSize, RefusesWhatIsNoSheet) {
    for (const char* text :
         {"",         "A7",          "A",       "4",          "x",         "100x",    "x100",
          "100",      "100x200x300", "1e3x1e3", "-100x200",   "100x-200",  "nanx100", "infx100",
          "100 x200", "100x200km",   "0x0",     "+100x200",   "100,5x200", "A4 ",     "mm",
          "xmm",      "100mm",       "100xmm",  "100x200 mm", "1inx2in"}) {
        const std::string message =
            FailureOf<kxdrawing::InvalidArgument>([&] { ParsePageSize(text); });
        EXPECT_TRUE(Holds(message, "'" + std::string(text) + "'")) << message;
    }
}

TEST(ParsePageSize, NamesTheNearestSheet) {
    EXPECT_TRUE(
        Holds(FailureOf<kxdrawing::InvalidArgument>([] { ParsePageSize("leter"); }), "'letter'?"));
}

TEST(ParsePageSize, ReadsMeasuresWithOneUnitForBoth) {
    ExpectPage("100x200mm", 100, 200);
    ExpectPage("10x20cm", 100, 200);
    ExpectPage("2x1in", 50.8, 25.4);
    const PageSize points = ParsePageSize("612x792pt");
    EXPECT_DOUBLE_EQ(points.width, 215.9);
    EXPECT_DOUBLE_EQ(points.height, 279.4);
}

TEST(ParsePageSize, RefusesSheetsOfUnder1Millimetre) {
    EXPECT_TRUE(Holds(FailureOf<kxdrawing::InvalidArgument>([] { ParsePageSize("0.9x100"); }),
                      "too small"));
    EXPECT_TRUE(
        Holds(FailureOf<kxdrawing::InvalidArgument>([] { ParsePageSize("100x-5"); }), "too small"));
    ExpectPage("1x1", 1, 1);
}

TEST(ReadPaperLength, KnowsTheUnitsOfPaper) {
    EXPECT_EQ(ReadPaperLength("2"), 2.0);
    EXPECT_EQ(ReadPaperLength("2.5mm"), 2.5);
    EXPECT_EQ(ReadPaperLength("-2cm"), -20.0);
    EXPECT_EQ(ReadPaperLength("1in"), 25.4);
    EXPECT_DOUBLE_EQ(*ReadPaperLength("72pt"), 25.4);
    for (const char* text : {"", "mm", "2 mm", "2m", "1e3", "nan", "inf", "2,5", "2mmm", "+2"}) {
        EXPECT_EQ(ReadPaperLength(text), std::nullopt) << text;
    }
}

TEST(ParsePageSize, RefusesSheetsOfOver100Metres) {
    EXPECT_TRUE(Holds(FailureOf<kxdrawing::InvalidArgument>([] { ParsePageSize("100001x50"); }),
                      "too large"));
}

/// Writes decimals with a comma and thousands with a dot, as many locales do.
class CommaNumbers : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(Describe, WritesTheSameInEveryLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaNumbers));
    const std::string text = kxcontour::Describe(PageSize{215.9, 1279.4});
    const PageSize read = ParsePageSize("215.9x279.4");
    std::locale::global(before);
    EXPECT_EQ(text, "215.9 x 1279.4 mm");
    EXPECT_EQ(read.width, 215.9);
}

} // namespace
