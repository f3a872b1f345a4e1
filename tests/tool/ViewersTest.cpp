// Drawings opened in the programs that people open them in: a browser, an editor of drawings and a
// reader of PDF show the lines where they are, in the right size and layers.
#include "Ink.h"
#include "ModelText.h"
#include "SvgFile.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>

namespace {

namespace fs = std::filesystem;

using tool_test::Ink;
using tool_test::PageBox;
using tool_test::ReadBytes;
using tool_test::RunResult;
using tool_test::SvgFile;
using tool_test::SvgGroup;
using tool_test::TemporaryFolder;

using Arguments = std::vector<std::string>;

const std::string kEngine =
    std::string(ASSIMP_MODELS) + "/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";
const std::string kBracket = std::string(COOKBOOK_FOLDER) + "/models/bracket.obj";

constexpr double kInch = 25.4;
constexpr double kDpi = 96.0; ///< A pixel of CSS and of the editor.

/// Draws into a file.
void Draw(const std::string& output, Arguments arguments) {
    arguments.insert(arguments.end(), {"--quiet", "-o", output});
    const RunResult run = tool_test::Run(KXCONTOUR_BINARY, arguments);
    ASSERT_EQ(run.exitCode, 0) << run.err;
}

/// Draws a picture whose pixels are those of a browser.
Ink DrawInk(const TemporaryFolder& folder, Arguments arguments) {
    arguments.insert(arguments.end(), {"--dpi", "96"});
    Draw(folder.path("own.png"), arguments);
    return Ink(folder.path("own.png"));
}

/// Runs a program of the desktop with its settings in the folder and without a display.
RunResult RunApart(const TemporaryFolder& folder, Arguments command) {
    command.insert(command.begin(),
                   {"-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "HOME=" + folder.path("home"),
                    "XDG_CONFIG_HOME=" + folder.path("home/config"),
                    "XDG_CACHE_HOME=" + folder.path("home/cache"),
                    "XDG_DATA_HOME=" + folder.path("home/data")});
    fs::create_directories(folder.path("home"));
    return tool_test::Run("/usr/bin/env", command);
}

/// What Chromium shows of a file in a window of that size.
Ink Browse(const TemporaryFolder& folder, const std::string& file, int width, int height) {
    const std::string picture = folder.path("browser.png");
    const RunResult run = RunApart(
        folder, {"chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
                 "--no-first-run", "--disable-background-networking", "--disable-component-update",
                 "--disable-sync", "--disable-dev-shm-usage", "--hide-scrollbars",
                 "--user-data-dir=" + folder.path("profile"), "--screenshot=" + picture,
                 "--window-size=" + std::to_string(width) + "," + std::to_string(height),
                 "file://" + file});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return Ink(picture);
}

/// Both have ink, and neither has any where the other has none.
void ExpectSameInk(const Ink& shown, const Ink& own) {
    ASSERT_EQ(shown.width(), own.width());
    ASSERT_EQ(shown.height(), own.height());
    EXPECT_GT(own.strongCount(), 1000U);
    EXPECT_EQ(shown.strayFrom(own), 0U);
    EXPECT_EQ(own.strayFrom(shown), 0U);
}

TEST(Chromium, ShowsTheLinesWhereTheyAre) {
    const TemporaryFolder folder;
    const Arguments arguments{kEngine, "--page", "200x200mm"};
    const std::string svg = folder.path("engine.svg");
    Draw(svg, arguments);
    const Ink own = DrawInk(folder, arguments);
    ExpectSameInk(Browse(folder, svg, own.width(), own.height()), own);
}

/// The comparison is worth something: a millimetre to the side is seen.
TEST(Chromium, ShowsWhenADrawingHasMoved) {
    const TemporaryFolder folder;
    const Arguments arguments{kBracket, "--page", "200x200mm"};
    const std::string svg = folder.path("bracket.svg");
    Draw(svg, arguments);
    const Ink own = DrawInk(folder, arguments);
    const std::string moved =
        folder.write("moved.svg", tool_test::Replaced(ReadBytes(svg), "viewBox=\"0 0 200 200\"",
                                                      "viewBox=\"1 0 200 200\""));
    const Ink shown = Browse(folder, moved, own.width(), own.height());
    EXPECT_GT(shown.strayFrom(own), own.strongCount() / 4);
    EXPECT_GT(own.strayFrom(shown), own.strongCount() / 4);
}

/// Arcs turn the right way, and dashes begin where they should.
TEST(Chromium, ShowsArcsAndDashesAsThePictureHasThem) {
    const TemporaryFolder folder;
    const Arguments arguments{kBracket, "--page", "200x200mm", "--hidden"};
    Arguments layered = arguments;
    layered.insert(layered.end(), {"--arcs", "--layers", "type"});
    const std::string svg = folder.path("bracket.svg");
    Draw(svg, layered);
    EXPECT_NE(ReadBytes(svg).find('A'), std::string::npos);
    const Ink own = DrawInk(folder, arguments);
    ExpectSameInk(Browse(folder, svg, own.width(), own.height()), own);
}

RunResult RunInkscape(const TemporaryFolder& folder, Arguments arguments) {
    arguments.insert(arguments.begin(), "inkscape");
    RunResult run = RunApart(folder, arguments);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return run;
}

/// The boxes that --query-all prints, in millimetres, by id.
std::map<std::string, PageBox> BoxesIn(const std::string& output) {
    std::map<std::string, PageBox> boxes;
    const std::regex row("([^,\n]+),([^,\n]+),([^,\n]+),([^,\n]+),([^,\n]+)\n");
    for (std::sregex_iterator it(output.begin(), output.end(), row), end; it != end; ++it) {
        const auto at = [&it](std::size_t i) { return std::stod((*it)[i]) * kInch / kDpi; };
        boxes[(*it)[1]] = {at(2), at(3), at(2) + at(4), at(3) + at(5)};
    }
    return boxes;
}

/// The ids of the layers that it selects when told to select all of them.
std::vector<std::string> LayersIn(const std::string& output) {
    std::vector<std::string> layers;
    const std::regex row("([^ \n]+) cloned: [^\n]*\n");
    for (std::sregex_iterator it(output.begin(), output.end(), row), end; it != end; ++it) {
        layers.push_back((*it)[1]);
    }
    return layers;
}

/// The box of a layer's lines, with the width of their strokes.
PageBox StrokesOf(const SvgFile& svg, const std::string& layer) {
    PageBox box{1e9, 1e9, -1e9, -1e9};
    for (const SvgGroup& group : svg.groups) {
        const double half = std::stod(group.strokeWidth) / 2.0;
        for (const tool_test::SvgPath& path : group.paths) {
            for (const tool_test::PagePoint& point : path) {
                if (group.layer == layer) {
                    box = {std::min(box.left, point.x - half), std::min(box.top, point.y - half),
                           std::max(box.right, point.x + half),
                           std::max(box.bottom, point.y + half)};
                }
            }
        }
    }
    return box;
}

void ExpectNear(const PageBox& box, const PageBox& expected, double tolerance) {
    EXPECT_NEAR(box.left, expected.left, tolerance);
    EXPECT_NEAR(box.top, expected.top, tolerance);
    EXPECT_NEAR(box.right, expected.right, tolerance);
    EXPECT_NEAR(box.bottom, expected.bottom, tolerance);
}

const Arguments kBracketByObject{kBracket, "--view",   "front", "--scale",
                                 "1:2",    "--layers", "object"};

TEST(Inkscape, HasALayerForEachObjectInItsPlaceAndSize) {
    const TemporaryFolder folder;
    const std::string file = folder.path("bracket.svg");
    Draw(file, kBracketByObject);
    const RunResult run =
        RunInkscape(folder, {"--actions=select-all:layers;query-all;select-list", file});
    EXPECT_EQ(LayersIn(run.out),
              (std::vector<std::string>{"layer-base", "layer-upright", "layer-boss", "layer-rib",
                                        "layer-intersections"}));
    const std::map<std::string, PageBox> boxes = BoxesIn(run.out);
    const SvgFile svg = tool_test::ReadSvg(file);
    for (const std::string name : {"base", "upright", "boss", "rib", "intersections"}) {
        SCOPED_TRACE(name);
        ASSERT_EQ(boxes.count("layer-" + name), 1U);
        ExpectNear(boxes.at("layer-" + name), StrokesOf(svg, name), 0.005);
    }
    // The base is 240 x 20 mm, its lines 0.2 mm wide.
    const PageBox base = boxes.at("layer-base");
    EXPECT_NEAR(base.right - base.left, 120.2, 0.005);
    EXPECT_NEAR(base.bottom - base.top, 10.2, 0.005);
}

TEST(Inkscape, DrawsALayerAloneAndAllOfThemTogether) {
    const TemporaryFolder folder;
    const std::string file = folder.path("bracket.svg");
    Draw(file, kBracketByObject);
    const std::string ids = "layer-base;layer-upright;layer-boss;layer-rib;layer-intersections";
    RunInkscape(folder,
                {"--export-id=" + ids, "--export-id-only", "--export-area-page",
                 "--export-type=png", "--export-dpi=96", "--export-background=white", file});
    const SvgFile svg = tool_test::ReadSvg(file);
    const Ink own = DrawInk(folder, {kBracket, "--view", "front", "--scale", "1:2"});
    std::vector<Ink> layers;
    for (const std::string name : {"base", "upright", "boss", "rib", "intersections"}) {
        SCOPED_TRACE(name);
        layers.emplace_back(folder.path("bracket_layer-" + name + ".png"));
        ExpectNear(layers.back().bounds(kDpi), StrokesOf(svg, name), kInch / kDpi);
        layers.front().add(layers.back());
    }
    ExpectSameInk(layers.front(), own);
}

/// Two plates side by side with names that markup and ids have to be careful with.
std::string NamedPlates() {
    const test_support::MeshData plate = test_support::Quad(
        {0.0F, 0.0F, 0.0F}, {0.04F, 0.0F, 0.0F}, {0.04F, 0.03F, 0.0F}, {0.0F, 0.03F, 0.0F});
    return tool_test::GltfText(
        plate,
        R"([{"children":[1,2]},{"mesh":0,"name":"Geh\u00e4use <A&B>"},)"
        R"({"mesh":0,"name":"Geh\u00f6use <A&B>","translation":[0.06,0,0]}])",
        std::string(R"([{"primitives":[)") + tool_test::kGltfPrimitive + "]}]");
}

/// The value of an XPath expression.
std::string Ask(const std::string& file, const std::string& question) {
    RunResult run =
        tool_test::Run("/usr/bin/env", {"xmllint", "--xpath", "string(" + question + ")", file});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return run.out.substr(0, run.out.find_last_not_of('\n') + 1);
}

TEST(Inkscape, KeepsTheNamesOfLayers) {
    const TemporaryFolder folder;
    const std::string file = folder.path("plates.svg");
    const std::string kept = folder.path("kept.svg");
    Draw(file,
         {folder.write("plates.gltf", NamedPlates()), "--view", "front", "--layers", "object"});
    RunInkscape(folder, {"--export-type=svg", "--export-filename=" + kept, file});
    const std::string layer = "//*[@*[local-name()='groupmode']='layer']";
    const std::string label = "/@*[local-name()='label']";
    EXPECT_EQ(Ask(kept, "count(" + layer + ")"), "2");
    EXPECT_EQ(Ask(kept, "(" + layer + ")[1]" + label), "Geh\xC3\xA4use <A&B>");
    EXPECT_EQ(Ask(kept, "(" + layer + ")[2]" + label), "Geh\xC3\xB6use <A&B>");
    for (const char* id :
         {"layer-Geh_C3_A4use_20_3CA_26B_3E", "layer-Geh_C3_B6use_20_3CA_26B_3E"}) {
        EXPECT_EQ(Ask(kept, std::string("count(//*[@id='") + id + "'])"), "1") << id;
    }
}

/// What --page is given, and the size in millimetres that pdfinfo has to say.
struct PageCase {
    Arguments arguments;
    double width;
    double height;
};

std::ostream& operator<<(std::ostream& out, const PageCase& page) {
    return out << page.arguments[1] << (page.arguments.size() > 2 ? " landscape" : "");
}

class PdfPages : public testing::TestWithParam<PageCase> {};

TEST_P(PdfPages, HaveTheSizeThatWasAskedFor) {
    const TemporaryFolder folder;
    const std::string file = folder.path("plates.pdf");
    Arguments arguments = GetParam().arguments;
    arguments.insert(arguments.begin(), folder.write("plates.gltf", NamedPlates()));
    Draw(file, arguments);
    const RunResult run = tool_test::Run("/usr/bin/env", {"pdfinfo", file});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::smatch match;
    ASSERT_TRUE(
        std::regex_search(run.out, match, std::regex("Page size: +([0-9.]+) x ([0-9.]+) pts")));
    // It prints six digits.
    EXPECT_NEAR(std::stod(match[1]) * kInch / 72.0, GetParam().width, 0.005);
    EXPECT_NEAR(std::stod(match[2]) * kInch / 72.0, GetParam().height, 0.005);
    EXPECT_NE(run.out.find("Pages:           1\n"), std::string::npos) << run.out;
}

INSTANTIATE_TEST_SUITE_P(Pdfinfo,
                         PdfPages,
                         testing::Values(PageCase{{"--page", "A0"}, 841, 1189},
                                         PageCase{{"--page", "A1"}, 594, 841},
                                         PageCase{{"--page", "A2"}, 420, 594},
                                         PageCase{{"--page", "A3"}, 297, 420},
                                         PageCase{{"--page", "A4"}, 210, 297},
                                         PageCase{{"--page", "A5"}, 148, 210},
                                         PageCase{{"--page", "A6"}, 105, 148},
                                         PageCase{{"--page", "letter"}, 215.9, 279.4},
                                         PageCase{{"--page", "legal"}, 215.9, 355.6},
                                         PageCase{{"--page", "A4", "--landscape"}, 297, 210},
                                         PageCase{
                                             {"--page", "letter", "--landscape"}, 279.4, 215.9},
                                         PageCase{{"--page", "123.4x56.7mm"}, 123.4, 56.7},
                                         PageCase{{"--page", "4x6in"}, 101.6, 152.4},
                                         PageCase{{"--page", "300x200pt"}, 105.8333, 70.5556}),
                         [](const testing::TestParamInfo<PageCase>& info) {
                             std::ostringstream name;
                             name << info.param;
                             return std::regex_replace(name.str(), std::regex("[^A-Za-z0-9]"), "_");
                         });

/// What pdftoppm shows of the first page.
Ink Print(const TemporaryFolder& folder, const std::string& file) {
    const RunResult run =
        tool_test::Run("/usr/bin/env",
                       {"pdftoppm", "-r", "96", "-png", "-singlefile", file, folder.path("print")});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return Ink(folder.path("print.png"));
}

TEST(Pdftoppm, ShowsTheLinesWhereTheyAre) {
    const TemporaryFolder folder;
    const std::string file = folder.path("bracket.pdf");
    const Arguments arguments{kBracket, "--page", "200x200mm", "--hidden"};
    Arguments withArcs = arguments;
    withArcs.emplace_back("--arcs");
    Draw(file, withArcs);
    ExpectSameInk(Print(folder, file), DrawInk(folder, arguments));
}

} // namespace
