// Values of options: colours and styles; the others are tested by their options.
#include "tool/options/Values.h"

#include "ShapeBuilders.h"
#include "tool/options/PaperText.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::ApplyStyles;
using kxcontour::ParseColor;
using kxcontour::StyleSheet;
using tool_test::FailureOf;
using tool_test::Holds;

using Rgb = std::array<std::uint8_t, 3>;

TEST(ParseColor, ReadsDigitsAndNames) {
    EXPECT_EQ(ParseColor("#333"), (Rgb{0x33, 0x33, 0x33}));
    EXPECT_EQ(ParseColor("#1aF"), (Rgb{0x11, 0xAA, 0xFF}));
    EXPECT_EQ(ParseColor("#102aFe"), (Rgb{0x10, 0x2A, 0xFE}));
    EXPECT_EQ(ParseColor("navy"), (Rgb{0, 0, 128}));
    EXPECT_EQ(ParseColor("Red"), (Rgb{255, 0, 0}));
    for (const std::string& name : kxcontour::ColorNames()) {
        EXPECT_NO_THROW(ParseColor(name)) << name;
    }
}

TEST(ParseColor, RefusesOtherTexts) {
    for (const char* text : {"", "#", "#12", "#1234", "#12345", "#1234567", "#ggg", "123456",
                             "#-12", "#+1+2+3", "rgb(0,0,0)"}) {
        const std::string message =
            FailureOf<kxdrawing::InvalidArgument>([&] { ParseColor(text); });
        EXPECT_TRUE(Holds(message, "'" + std::string(text) + "'")) << message;
    }
    EXPECT_TRUE(Holds(FailureOf<kxdrawing::InvalidArgument>([] { ParseColor("nvy"); }), "'navy'?"));
}

TEST(NumberText, ReadsAsTheSameNumber) {
    for (const double value : {0.1, -1.0 / 3.0, 1e-300, 210.0, 25.4 / 72.0}) {
        EXPECT_EQ(kxcontour::ReadNumber(kxcontour::NumberText(value)), value);
    }
    EXPECT_EQ(kxcontour::NumberText(210.0), "210");
}

TEST(ApplyStyles, ChangesWhatIsNamed) {
    StyleSheet styles;
    const StyleSheet before = styles;
    ApplyStyles("crease.width=0.25mm,crease.color=#333,hidden.dash=1/0.5,silhouette.color=navy",
                styles);
    EXPECT_EQ(styles.crease.width, 0.25);
    EXPECT_EQ(styles.crease.color, (Rgb{0x33, 0x33, 0x33}));
    EXPECT_EQ(styles.hidden.dashes, (std::vector<double>{1.0, 0.5}));
    EXPECT_EQ(styles.hidden.width, before.hidden.width);
    EXPECT_EQ(styles.silhouette.color, (Rgb{0, 0, 128}));
    EXPECT_EQ(styles.intersection, before.intersection);
}

TEST(ApplyStyles, ChangesAllFamiliesAtOnceAndLaterOnesWin) {
    StyleSheet styles;
    ApplyStyles("all.width=1cm,all.dash=none,crease.width=1pt", styles);
    EXPECT_DOUBLE_EQ(styles.crease.width, 25.4 / 72.0);
    EXPECT_EQ(styles.silhouette.width, 10.0);
    EXPECT_EQ(styles.intersection.width, 10.0);
    EXPECT_EQ(styles.hidden.width, 10.0);
    EXPECT_TRUE(styles.hidden.dashes.empty());
}

TEST(ApplyStyles, RepeatsAnOddNumberOfDashes) {
    StyleSheet styles;
    ApplyStyles("hidden.dash=3mm,crease.dash=1/2/3", styles);
    EXPECT_EQ(styles.hidden.dashes, (std::vector<double>{3.0, 3.0}));
    EXPECT_EQ(styles.crease.dashes, (std::vector<double>{1.0, 2.0, 3.0, 1.0, 2.0, 3.0}));
}

TEST(ApplyStyles, RefusesWhatIsNoStyle) {
    StyleSheet styles;
    for (const char* text : {"",
                             "crease",
                             "crease.width",
                             "width=1",
                             "crease=1",
                             "crease.width=0",
                             "crease.width=101",
                             "crease.width=-1",
                             "crease.width=",
                             "crease.width=nan",
                             "crease.color=",
                             "crease.dash=",
                             "crease.dash=1/",
                             "crease.dash=0",
                             "crease.dash=1/-1",
                             "crease.dash=1//2",
                             "a.b=c",
                             "crease.width=1,",
                             "crease.width=1,,crease.width=1",
                             ".width=1",
                             "crease.=1"}) {
        EXPECT_NE(FailureOf<kxdrawing::InvalidArgument>([&] { ApplyStyles(text, styles); }), "")
            << text;
    }
}

TEST(ApplyStyles, NamesTheNearestFamilyAndKey) {
    StyleSheet styles;
    EXPECT_TRUE(
        Holds(FailureOf<kxdrawing::InvalidArgument>([&] { ApplyStyles("hiden.width=1", styles); }),
              "did you mean 'hidden'?"));
    EXPECT_TRUE(Holds(
        FailureOf<kxdrawing::InvalidArgument>([&] { ApplyStyles("crease.colour=red", styles); }),
        "did you mean 'color'?"));
}

} // namespace
