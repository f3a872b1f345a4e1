// Files of options: what they may hold, what is wrong with them, and who wins.
#include "options/Parsing.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using kxcontour::BatchCommand;
using kxcontour::DrawCommand;
using kxcontour::DrawingOptions;
using kxcontour::InfoCommand;
using kxcontour::OutputFormat;
using kxdrawing::Direction;
using kxdrawing::Projection;
using tool_test::Arguments;
using tool_test::Draw;
using tool_test::Holds;
using tool_test::ParseAs;
using tool_test::Refusal;
using tool_test::RefusalOf;

class ConfigFile : public tool_test::OptionFiles {
protected:
    /// Draws with a configuration file of a text, and more arguments.
    DrawingOptions draw(const std::string& text, Arguments more = {}) const {
        more.insert(more.end(), {"--config", write("c.toml", text)});
        return Draw(more);
    }

    std::string refusal(const std::string& text, Arguments more = {}) const {
        more.insert(more.end(), {"--config", write("c.toml", text)});
        return Refusal(more);
    }

    std::string unreadable(const std::string& name) const {
        return RefusalOf<kxdrawing::CannotRead>({"m.obj", "-o", "o.svg", "--config", path(name)});
    }
};

/// The text so many times.
std::string Times(std::size_t count, const std::string& text) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

const char* const kToml = R"(
view = "top"
roll = 15
zoom = 1.5
page = "A3"
landscape = true
hidden = false
margin = "1.5cm"
lines = ["crease", "silhouettes"]
occluder = ["sub/a.stl", "/b.stl"]
camera-view-up = [0, 1, 0.5]
title = "T"
verbose = true

[style.all]
width = 0.5

[style.crease]
width = "0.25mm"
color = "#333"
dash = [1, 0.5]
)";

const char* const kJson = R"({
    "view": "top", "roll": 15, "zoom": 1.5, "page": "A3", "landscape": true, "hidden": false,
    "margin": "1.5cm", "lines": ["crease", "silhouettes"], "occluder": ["sub/a.stl", "/b.stl"],
    "camera-view-up": [0, 1, 0.5], "title": "T", "verbose": true,
    "style": {"all": {"width": 0.5}, "crease": {"width": "0.25mm", "color": "#333", "dash": [1, 0.5]}}
})";

void ExpectOptionsOfBoth(const DrawingOptions& options, const std::string& folder) {
    EXPECT_EQ(options.camera.direction, Direction::Top);
    EXPECT_EQ(options.camera.roll, 15.0);
    EXPECT_EQ(options.camera.zoom, 1.5);
    EXPECT_EQ(options.camera.up, (kxdrawing::Vector{0.0, 1.0, 0.5}));
    EXPECT_EQ(options.page.size.width, 420.0);
    EXPECT_EQ(options.page.margin, 15.0);
    EXPECT_TRUE(options.lines.creases && options.lines.silhouettes);
    EXPECT_FALSE(options.lines.intersections || options.lines.hidden);
    EXPECT_EQ(options.input.occluders, (Arguments{folder + "/sub/a.stl", "/b.stl"}));
    EXPECT_EQ(options.output.title, "T");
    EXPECT_TRUE(options.messages.verbose);
    EXPECT_EQ(options.lines.styles.crease.width, 0.25);
    EXPECT_EQ(options.lines.styles.crease.color[0], 0x33);
    EXPECT_EQ(options.lines.styles.crease.dashes, (std::vector<double>{1.0, 0.5}));
    EXPECT_EQ(options.lines.styles.silhouette.width, 0.5);
}

TEST_F(ConfigFile, IsTheSameInTomlAndJson) {
    for (const std::string& file : {write("c.TOML", kToml), write("c.json", kJson)}) {
        ExpectOptionsOfBoth(Draw({"--config", file}), path("").substr(0, path("").size() - 1));
    }
}

TEST_F(ConfigFile, GivesWayToTheCommandLine) {
    const DrawingOptions options =
        draw(kToml, {"--view", "left", "--page", "A5", "--lines", "intersection", "--occluder",
                     "c.stl", "--style", "crease.width=2", "--quiet"});
    EXPECT_EQ(options.camera.direction, Direction::Left);
    EXPECT_EQ(options.camera.roll, 15.0) << "still from the file";
    EXPECT_EQ(options.page.size.width, 210.0) << "turned by the file";
    EXPECT_TRUE(options.lines.intersections);
    EXPECT_FALSE(options.lines.creases);
    EXPECT_EQ(options.input.occluders, Arguments{"c.stl"});
    EXPECT_EQ(options.lines.styles.crease.width, 2.0);
    EXPECT_EQ(options.lines.styles.crease.color[0], 0x33) << "styles add up";
    EXPECT_TRUE(options.messages.quiet);
    EXPECT_FALSE(options.messages.verbose);
}

TEST_F(ConfigFile, GivesWayWhereOptionsCannotGoTogether) {
    EXPECT_EQ(draw("zoom = 2", {"--scale", "1:2"}).camera.zoom, 1.0);
    EXPECT_EQ(draw("scale = 0.5", {"--zoom", "2"}).camera.scale, std::nullopt);
    EXPECT_EQ(draw("projection = 'perspective'\nfov = 50", {"--projection", "orthographic"})
                  .camera.projection,
              Projection::Orthographic);
    EXPECT_EQ(
        draw("scale = '1:2'\narcs = true", {"--projection", "perspective"}).lines.arcTolerance,
        std::nullopt);
    EXPECT_EQ(draw("camera-position = [1, 2, 3]", {"--azimuth", "30"}).camera.eye, std::nullopt);
    EXPECT_EQ(draw("azimuth = 30", {"--view", "top"}).camera.azimuth, std::nullopt);
    EXPECT_EQ(draw("views = 'front,top'", {"--view", "left"}).camera.direction, Direction::Left);
}

TEST_F(ConfigFile, KeepsOptionsForOtherOutputsAndBatches) {
    const DrawingOptions options =
        draw("dpi = 600\narc-tolerance = 0.1\nformat = 'stl'\njobs = 4\nforce = true");
    EXPECT_EQ(options.output.format, OutputFormat::Svg);
    EXPECT_EQ(options.lines.arcTolerance, std::nullopt);
}

TEST_F(ConfigFile, MayNameModelsAndOutput) {
    const std::string file = write("c.json", R"({"model": ["a.stl", "b.stl"], "output": "o.pdf"})");
    const DrawingOptions options = ParseAs<DrawCommand>({"--config", file}).options;
    EXPECT_EQ(options.input.models, (Arguments{path("a.stl"), path("b.stl")}));
    EXPECT_EQ(options.output.path, path("o.pdf"));
    EXPECT_EQ(ParseAs<InfoCommand>({"--config", file, "--info"}).input.models.size(), 2U);
    const std::string one = write("d.json", R"({"model": "-", "format": "stl", "output": "-"})");
    EXPECT_EQ(ParseAs<DrawCommand>({"--config", one}).options.input.models, Arguments{"-"});
}

TEST_F(ConfigFile, IsRelativeToItsFolderOnly) {
    const std::string before = std::filesystem::current_path();
    write("here.toml", "occluder = 'a.stl'");
    std::filesystem::current_path(path(""));
    const DrawingOptions options = Draw({"--config", "here.toml"});
    std::filesystem::current_path(before);
    EXPECT_EQ(options.input.occluders, Arguments{"a.stl"});
}

TEST_F(ConfigFile, NamesTheNearestKey) {
    EXPECT_EQ(refusal("veiw = 'top'"),
              path("c.toml") + ": unknown key 'veiw'; did you mean 'view'?");
    EXPECT_TRUE(Holds(refusal("crease_angle = 3"), "'crease-angle'?"));
    EXPECT_TRUE(Holds(refusal("[style.creese]\nwidth = 1"), "c.toml: unknown line type 'creese'"));
    EXPECT_TRUE(Holds(refusal("[style.crease]\nwidht = 1"), "did you mean 'width'?"));
    EXPECT_TRUE(Holds(refusal("wireframe = 1"), "see kxcontour help config"));
    for (const char* key : {"info", "config", "help", "version"}) {
        EXPECT_TRUE(Holds(refusal(std::string(key) + " = true"), "is for the command line only"));
    }
}

TEST_F(ConfigFile, RefusesWrongTypes) {
    const std::vector<std::pair<const char*, const char*>> cases{
        {"page = 3", "page must be a string, not a number"},
        {"view = ['top']", "view must be a string, not an array"},
        {"hidden = 'yes'", "hidden must be true or false, not a string"},
        {"hidden = 1", "hidden must be true or false, not a number"},
        {"zoom = true", "zoom must be a number or a string, not true"},
        {"lines = [1]", "lines must be a string or an array of strings, not an array"},
        {"lines = true", "lines must be a string or an array of strings, not true"},
        {"camera-position = ['a']", "camera-position must be an array of three numbers"},
        {"occluder = 3", "occluder must be a string or an array of strings"},
        {"output = ['a.svg']", "output must be a string, not an array"},
        {"style = 3", "style must be a string or an array of strings"},
        {"[style]\ncrease = 3", "style.crease must be an object"},
        {"[style.crease]\nwidth = true", "style.crease.width must be a string or a number"},
        {"title = 1979-05-27", "title must be a string"}};
    for (const auto& [text, part] : cases) {
        const std::string message = refusal(text);
        EXPECT_TRUE(Holds(message, "c.toml: " + std::string(part))) << message;
    }
}

TEST_F(ConfigFile, SaysOfBadValuesWhereTheyAre) {
    EXPECT_TRUE(Holds(refusal("view = 'frnt'"), "c.toml: unknown view 'frnt'"));
    EXPECT_TRUE(Holds(refusal("elevation = 91"), "c.toml: elevation '91'"));
    EXPECT_TRUE(Holds(refusal("azimuth = nan"), "c.toml: azimuth 'nan'"));
    EXPECT_TRUE(Holds(refusal("roll = inf"), "c.toml: roll 'inf'"));
    EXPECT_TRUE(Holds(refusal("camera-position = [1, 2]"), "camera position '1,2'"));
    EXPECT_TRUE(Holds(refusal("layers = 'type'", {"--output-format", "svg", "--layers", "x"}),
                      "unknown kind of layers 'x'"));
    EXPECT_TRUE(Holds(refusal("fov = 40"), "c.toml: --fov needs"));
    EXPECT_TRUE(Holds(refusal("quiet = true\nverbose = true"), "c.toml: --quiet and --verbose"));
}

TEST_F(ConfigFile, IsRefusedWithTheLineWhereItIsDamaged) {
    write("a.toml", "page = 'A3'\n\nlandscape = tru\n");
    write("a.json", "{\n\"page\": \"A3\",\n oops\n}");
    write("cut.json", "{\"page\": \"A3\"");
    write("empty.json", "");
    write("huge.json", "{\"zoom\": 1e999}");
    write("bytes.toml", "page = '\xff\xfe'");
    std::filesystem::create_directory(path("dir.toml"));
    EXPECT_TRUE(Holds(unreadable("a.toml"), "a.toml:3: is not valid TOML"));
    EXPECT_TRUE(Holds(unreadable("a.json"), "a.json:3: is not valid JSON"));
    EXPECT_TRUE(Holds(unreadable("cut.json"), "cut.json:1: is not valid JSON"));
    EXPECT_TRUE(Holds(unreadable("empty.json"), "empty.json:1: is not valid JSON"));
    EXPECT_TRUE(Holds(unreadable("huge.json"), "too large"));
    EXPECT_TRUE(Holds(unreadable("bytes.toml"), "bytes.toml:1: is not valid TOML"));
    EXPECT_TRUE(Holds(unreadable("dir.toml"), "is a directory"));
    EXPECT_TRUE(Holds(unreadable("none.toml"), "none.toml: No such file or directory"));
}

// A key of 40,000 parts used to overflow the stack; so may whatever nests.
TEST_F(ConfigFile, IsRefusedWhereItIsNestedTooDeeply) {
    constexpr std::size_t kDepth = 40000;
    const std::string key = Times(kDepth, "a.") + "a";
    const std::vector<std::string> texts{
        "\n" + key + " = 1\n",
        "\n[" + key + "]\n",
        "\n[[" + key + "]]\n",
        "\npage = {" + key + " = 1}\n",
        "\n" + Times(kDepth, "'a'. ") + "b = 1\n",
        "\n" + Times(kDepth, R"("a\"" . )") + "b = 1\n",
        "\npage = " + Times(kDepth, "[") + Times(kDepth, "]") + "\n",
        "\npage = " + Times(kDepth, "{a=") + "1" + Times(kDepth, "}") + "\n",
        "# '''\n" + key + " = 1\n",
        "a = ''''x'''''\n" + key + " = 1\n",
        "a = '\\'\n" + key + " = 1\n"};
    for (const std::string& text : texts) {
        EXPECT_TRUE(Holds(refusal(text), "c.toml:2: is nested too deeply")) << text.substr(0, 30);
    }
    const std::string tables = Times(kDepth, "{\"a\":") + "1" + Times(kDepth, "}");
    EXPECT_TRUE(Holds(Refusal({"--config", write("c.json", tables)}), "c.json:1: is nested too"));
}

TEST_F(ConfigFile, MayHoldDotsAndBracketsInTextsAndComments) {
    const std::string many = std::string(100, '.') + std::string(100, '[');
    EXPECT_EQ(draw("title = '" + many + "' # " + many + "\npage = 'A3'\n").output.title, many);
    EXPECT_EQ(draw("title = \"\"\"" + many + "\"\"\"\"\"\n").output.title, many + "\"\"");
    EXPECT_TRUE(Holds(refusal("page = [" + Times(100, "0.5, ") + "1]"),
                      "page must be a string, not an array"));
}

TEST_F(ConfigFile, ShortensWhatItDoesNotKnow) {
    const std::string key(8'000'000, 'x');
    const std::string start = std::string(60, 'x') + "...'";
    EXPECT_EQ(refusal(key + " = 1\n"),
              path("c.toml") + ": unknown key '" + start + "; see kxcontour help config");
    EXPECT_TRUE(Holds(refusal("view = '" + key + "'\n"), "unknown view '" + start + "; choose"));
    EXPECT_TRUE(Holds(refusal("page = '" + key + "'\n"), "unknown page '" + start + "; choose"));
    EXPECT_TRUE(Holds(refusal("up = '" + key + "'\n"), start));
}

TEST_F(ConfigFile, HasToBeTomlOrJson) {
    EXPECT_TRUE(Holds(Refusal({"--config", write("c.yaml", "")}), "must end in .toml or .json"));
    EXPECT_TRUE(Holds(Refusal({"--config", ""}), "must end in"));
    EXPECT_TRUE(Holds(Refusal({"--config", write("c.json", "[1]")}),
                      "must be an object of options, not an array"));
    EXPECT_EQ(draw("").camera.direction, Direction::Iso) << "an empty TOML file is fine";
}

TEST_F(ConfigFile, MayAskForSeveralViews) {
    const std::string file = write("c.toml", "views = ['front', 'top']\njobs = 2\nstate = 's'");
    const BatchCommand batch =
        ParseAs<BatchCommand>({"m.obj", "-o", "{view}.svg", "--config", file});
    EXPECT_EQ(batch.jobs.size(), 2U);
    EXPECT_EQ(batch.threads, 2U);
    EXPECT_EQ(batch.statePath, path("s"));
}

} // namespace
