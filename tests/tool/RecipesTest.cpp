// The recipes of the cookbook: each command is run as it stands, its drawing is looked at for lines
// drawn twice, and its picture on the page is compared with what the command draws today.
#include "ModelText.h"
#include "RecipeTools.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

namespace {

namespace fs = std::filesystem;

using tool_test::Recipe;
using tool_test::RunResult;
using tool_test::TemporaryFolder;

/// A folder with the cookbook's models in it.
class Kitchen {
public:
    Kitchen() { tool_test::LinkModels(folder_.path("")); }

    /// Runs a command line in the folder, with the tool on the path.
    RunResult run(const std::string& command) const {
        const std::string path = fs::path(KXCONTOUR_BINARY).parent_path().string();
        return tool_test::Run("/bin/bash", {"-c", "cd '" + folder_.path("") + "' && PATH='" + path +
                                                      "':\"$PATH\" && " + command});
    }
    std::string path(const std::string& name) const { return folder_.path(name); }

private:
    TemporaryFolder folder_;
};

class Recipes : public testing::TestWithParam<Recipe> {};

TEST_P(Recipes, WriteWhatTheySay) {
    const Kitchen kitchen;
    const RunResult run = kitchen.run(GetParam().command);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    for (const std::string& output : tool_test::OutputsOf(GetParam())) {
        EXPECT_GT(fs::file_size(kitchen.path(output)), 200U) << output;
    }
}

TEST_P(Recipes, DrawNoLineTwice) {
    const Kitchen kitchen;
    const Recipe svg = tool_test::AsSvg(GetParam());
    ASSERT_EQ(kitchen.run(svg.command).exitCode, 0);
    for (const std::string& output : tool_test::OutputsOf(svg)) {
        const tool_test::TwiceReport report = tool_test::FindTwice(kitchen.path(output));
        EXPECT_GT(report.lines, 0U);
        EXPECT_EQ(report.twice, "") << output;
        std::cout << output << ": " << report.paths << " paths, " << report.lines << " lines\n";
    }
}

TEST_P(Recipes, LookAsInTheCookbook) {
    const Kitchen kitchen;
    const Recipe png = tool_test::AsPicture(GetParam());
    const RunResult run = kitchen.run(png.command);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string drawn = kitchen.path(tool_test::OutputsOf(png).front());
    const std::string shown = tool_test::CookbookPath(GetParam().picture);
    if (std::getenv("KXCONTOUR_WRITE_PICTURES") != nullptr) {
        fs::copy_file(drawn, shown, fs::copy_options::overwrite_existing);
    }
    // Another version of the renderer may shade the edges of strokes differently.
    EXPECT_LT(tool_test::PictureDifference(drawn, shown), 0.01)
        << "draw it again with scripts/recipe-pictures and look at what changed";
}

std::string NameOf(const testing::TestParamInfo<Recipe>& info) {
    std::string name = fs::path(info.param.picture).stem().string();
    for (char& letter : name) {
        letter = letter == '-' ? '_' : letter;
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Cookbook, Recipes, testing::ValuesIn(tool_test::ReadRecipes()), NameOf);

TEST(Cookbook, HasADozenRecipes) {
    EXPECT_GE(tool_test::ReadRecipes().size(), 12U);
}

} // namespace
