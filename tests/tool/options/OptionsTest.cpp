// The command line: what is understood, what is refused and how.
#include "options/Options.h"

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using kxcontour::ExitCode;
using kxcontour::Options;
using kxcontour::ParseOptions;
using kxcontour::View;
using tool_test::FailureOf;
using tool_test::Holds;

using Arguments = std::vector<std::string>;

Options Parse(const Arguments& arguments) {
    std::ostringstream out;
    const std::optional<Options> options = ParseOptions(arguments, out);
    EXPECT_EQ(out.str(), "");
    EXPECT_TRUE(options.has_value());
    return options.value_or(Options());
}

/// The message with which the arguments are refused; it is one line.
std::string Refusal(const Arguments& arguments) {
    std::ostringstream out;
    std::string message = FailureOf(ExitCode::Usage, [&] { ParseOptions(arguments, out); });
    EXPECT_FALSE(Holds(message, "\n")) << message;
    EXPECT_EQ(out.str(), "");
    return message;
}

TEST(ParseOptions, NeedsTwoFilesAndHasDefaultsForTheRest) {
    const Options options = Parse({"m.obj", "-o", "o.svg"});
    EXPECT_EQ(options.model, "m.obj");
    EXPECT_EQ(options.output, "o.svg");
    EXPECT_TRUE(options.occluders.empty());
    EXPECT_EQ(options.view, View::Iso);
    EXPECT_EQ(options.page.width, 210.0);
    EXPECT_EQ(options.page.height, 297.0);
    EXPECT_FALSE(options.creaseAngle.has_value());
    EXPECT_FALSE(options.title.has_value());
    EXPECT_FALSE(options.description.has_value());
    EXPECT_FALSE(options.timing);
}

TEST(ParseOptions, ReadsEveryOption) {
    const Options options =
        Parse({"--view", "top", "--page", "A3", "--landscape", "--title", "T", "--description",
               "D & E", "--crease-angle", "12.5", "--timing", "--output", "o.svg", "m.obj"});
    EXPECT_EQ(options.view, View::Top);
    EXPECT_EQ(options.page.width, 420.0);
    EXPECT_EQ(options.page.height, 297.0);
    EXPECT_EQ(options.title, "T");
    EXPECT_EQ(options.description, "D & E");
    EXPECT_EQ(options.creaseAngle, 12.5);
    EXPECT_TRUE(options.timing);
}

TEST(ParseOptions, TakesOneFileForEachOccluder) {
    const Options options =
        Parse({"--occluder", "a.stl", "m.obj", "--occluder=b.stl", "-o", "o.svg"});
    EXPECT_EQ(options.occluders, (Arguments{"a.stl", "b.stl"}));
    EXPECT_EQ(options.model, "m.obj");
}

TEST(ParseOptions, TakesAnEmptyTitleForOne) {
    const Options options = Parse({"m.obj", "-o", "o.svg", "--title", ""});
    EXPECT_EQ(options.title, "");
}

TEST(ParseOptions, TakesFilesWithOddNames) {
    EXPECT_EQ(Parse({"-o", "o.svg", "--", "--view"}).model, "--view");
    EXPECT_EQ(Parse({"two words.obj", "-o", "o.svg"}).model, "two words.obj");
}

TEST(ParseOptions, PrintsHelpWithOptionsAndExitCodes) {
    for (const Arguments& arguments : {Arguments{"--help"}, Arguments{"-h", "m.obj"}}) {
        std::ostringstream out;
        EXPECT_FALSE(ParseOptions(arguments, out).has_value());
        for (const char* part :
             {"MODEL -o OUT.svg", "--occluder", "--view", "--page", "--landscape", "--title",
              "--description", "--crease-angle", "--timing", "--version", "Exit codes:", "0  drawn",
              "1  internal error", "2  wrong usage", "3  a model cannot be read",
              "4  nothing to draw", "5  the drawing cannot be written"}) {
            EXPECT_TRUE(Holds(out.str(), part)) << part;
        }
    }
}

TEST(ParseOptions, PrintsTheVersion) {
    std::ostringstream out;
    EXPECT_FALSE(ParseOptions({"--version"}, out).has_value());
    EXPECT_EQ(out.str().rfind("kxcontour ", 0), 0U) << out.str();
}

TEST(ParseOptions, SaysWhichFileIsMissing) {
    EXPECT_TRUE(Holds(Refusal({}), "no model"));
    EXPECT_TRUE(Holds(Refusal({"m.obj"}), "-o"));
    EXPECT_TRUE(Holds(Refusal({"-o", "o.svg"}), "no model"));
    EXPECT_TRUE(Holds(Refusal({"", "-o", "o.svg"}), "no model"));
    EXPECT_TRUE(Holds(Refusal({"m.obj", "-o", ""}), "no output"));
    EXPECT_TRUE(Holds(Refusal({"m.obj", "-o", "o.svg", "--occluder", ""}), "--occluder"));
}

TEST(ParseOptions, NamesTheNearestOption) {
    EXPECT_TRUE(Holds(Refusal({"m.obj", "-o", "o.svg", "--veiw", "top"}), "'--view'?"));
    EXPECT_TRUE(Holds(Refusal({"--pgae=A3", "m.obj", "-o", "o.svg"}), "'--page'?"));
    EXPECT_TRUE(Holds(Refusal({"m.obj", "-o", "o.svg", "-view", "top"}), "'-view'"));
    EXPECT_TRUE(Holds(Refusal({"m.obj", "--creaseangle", "3"}), "'--crease-angle'?"))
        << "before missing files";
    const std::string message = Refusal({"m.obj", "-o", "o.svg", "--perspective"});
    EXPECT_TRUE(Holds(message, "'--perspective'")) << message;
    EXPECT_FALSE(Holds(message, "did you mean")) << message;
}

TEST(ParseOptions, RefusesASecondModel) {
    EXPECT_TRUE(Holds(Refusal({"m.obj", "n.obj", "-o", "o.svg"}), "'n.obj'"));
}

TEST(ParseOptions, RefusesOptionsWithoutTheirValue) {
    EXPECT_TRUE(Holds(Refusal({"m.obj", "-o"}), "--output"));
    EXPECT_TRUE(Holds(Refusal({"m.obj", "-o", "o.svg", "--view"}), "--view"));
}

TEST(ParseOptions, RefusesAnOptionGivenTwice) {
    EXPECT_TRUE(Holds(Refusal({"m.obj", "-o", "a.svg", "-o", "b.svg"}), "--output"));
}

TEST(ParseOptions, RefusesStandardStreams) {
    EXPECT_TRUE(Holds(Refusal({"-", "-o", "o.svg"}), "'-'"));
    EXPECT_TRUE(Holds(Refusal({"m.obj", "-o", "-"}), "'-'"));
}

TEST(ParseOptions, RefusesUnknownViewsAndPages) {
    EXPECT_TRUE(Holds(Refusal({"m.obj", "-o", "o.svg", "--view", "frnt"}), "'front'?"));
    EXPECT_TRUE(Holds(Refusal({"m.obj", "-o", "o.svg", "--page", "B4"}), "'B4'"));
}

TEST(ParseOptions, RefusesAnglesOutOfRange) {
    for (const char* text : {"0", "180", "-5", "200", "nan", "inf", "30deg", "", "abc", "3,5"}) {
        const std::string argument = std::string("--crease-angle=") + text;
        EXPECT_TRUE(Holds(Refusal({"m.obj", "-o", "o.svg", argument}), "angle")) << text;
    }
    EXPECT_EQ(Parse({"m.obj", "-o", "o.svg", "--crease-angle", "179.99"}).creaseAngle, 179.99);
}

} // namespace
