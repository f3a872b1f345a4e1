// Whole runs: real models drawn in several views, and small ones whose drawings are known.
#include "DrawingRuns.h"
#include "ModelText.h"
#include "SvgFile.h"
#include "ToolRun.h"
#include "support/Scenes.h"
#include "tool/Application.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <locale>
#include <set>
#include <sstream>
#include <sys/stat.h>
#include <tuple>

namespace {

namespace fs = std::filesystem;

using test_support::Box;
using test_support::MeshData;
using test_support::Point;
using test_support::Quad;
using tool_test::Arguments;
using tool_test::BoundsOf;
using tool_test::LinesOf;
using tool_test::ObjText;
using tool_test::PageBox;
using tool_test::PageLine;
using tool_test::PagePoint;
using tool_test::ReadBytes;
using tool_test::ReadSvg;
using tool_test::RunResult;
using tool_test::RunTool;
using tool_test::SvgFile;
using tool_test::SvgGroup;
using tool_test::SvgPath;
using tool_test::TemporaryFolder;

const std::string kModels = ASSIMP_MODELS;

/// The widths with which the exporter draws creases, and silhouettes and intersections.
const std::string kCreaseWidth = "0.133333";
const std::string kSilhouetteWidth = "0.2";

/// Draws, expects that it went well, and reads the drawing.
SvgFile Draw(const TemporaryFolder& folder, Arguments arguments) {
    const std::string output = folder.path("drawing.svg");
    arguments.insert(arguments.end(), {"-o", output});
    const RunResult run = RunTool(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    SvgFile svg = ReadSvg(output);
    const auto millimetres = [](const std::string& size) {
        return size.substr(0, size.size() - 2);
    };
    const std::string lines = std::to_string(svg.pathCount());
    EXPECT_EQ(run.out, output + ": " + millimetres(svg.width) + " x " + millimetres(svg.height) +
                           " mm, " + lines + (lines == "1" ? " line\n" : " lines\n"));
    EXPECT_EQ(svg.width.substr(millimetres(svg.width).size()), "mm");
    EXPECT_EQ(svg.height.substr(millimetres(svg.height).size()), "mm");
    EXPECT_EQ(svg.viewBox + "mm", "0 0 " + millimetres(svg.width) + " " + svg.height);
    return svg;
}

std::size_t PathsOfWidth(const SvgFile& svg, const std::string& width) {
    std::size_t count = 0;
    for (const SvgGroup& group : svg.groups) {
        count += group.strokeWidth == width ? group.paths.size() : 0;
    }
    return count;
}

MeshData Cube() {
    return Box({-1, -1, -1}, {1, 1, 1});
}

struct RealModel {
    const char* path;
    bool touchesMargin = true; ///< Its outermost points carry lines.
};

class RealModels : public testing::TestWithParam<std::tuple<RealModel, const char*>> {};

TEST_P(RealModels, AreDrawnInsideTheMarginOfTheirPage) {
    const TemporaryFolder folder;
    const auto& [model, view] = GetParam();
    const SvgFile svg = Draw(folder, {kModels + model.path, "--view", view, "--page", "A3"});
    EXPECT_EQ(svg.width, "297mm");
    EXPECT_EQ(svg.height, "420mm");
    EXPECT_GT(svg.pathCount(), 0U);
    const PageBox box = BoundsOf(svg);
    const double sideways = std::min(box.left, 297.0 - box.right);
    const double upright = std::min(box.top, 420.0 - box.bottom);
    EXPECT_GE(sideways, 9.99);
    EXPECT_GE(upright, 9.99);
    EXPECT_LE(std::min(sideways, upright), 10.01) << "fills the page";
}

INSTANTIATE_TEST_SUITE_P(
    OfThePackage,
    RealModels,
    testing::Combine(
        testing::Values(RealModel{"/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"},
                        RealModel{"/IFC/AC14-FZK-Haus.ifc"},
                        RealModel{"/glTF/CesiumMilkTruck/CesiumMilkTruck.gltf"},
                        RealModel{"/MS3D/jeep1.ms3d"},
                        RealModel{"/PLY/Wuson.ply"},
                        RealModel{"/STL/Spider_binary.stl"},
                        RealModel{"/STL/sphereWithHole.stl"},
                        RealModel{"/Collada/duck.dae"},
                        RealModel{"/3MF/box.3mf"},
                        RealModel{"/FBX/spider.fbx"}),
        testing::Values("front", "top", "iso")));

TEST(Drawings, AreTheSameBytesEveryTime) {
    const TemporaryFolder folder;
    for (const std::string& model :
         {kModels + "/MS3D/jeep1.ms3d", kModels + "/IFC/AC14-FZK-Haus.ifc",
          kModels + "/STL/Spider_ascii.stl"}) {
        const std::string first = folder.path("first.svg");
        const std::string second = folder.path("second.svg");
        ASSERT_EQ(RunTool({model, "-o", first}).exitCode, 0);
        ASSERT_EQ(RunTool({model, "-o", second, "--timing"}).exitCode, 0);
        EXPECT_EQ(ReadBytes(first), ReadBytes(second)) << model;
    }
}

/// Writes decimals with a comma, as many locales do.
class CommaNumbers : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(Drawings, AreTheSameBytesInEveryLocale) {
    const TemporaryFolder folder;
    const std::string model = kModels + "/OBJ/spider.obj";
    ASSERT_EQ(RunTool({model, "-o", folder.path("plain.svg"), "--page", "1500.5x2000"}).exitCode,
              0);
    kxcontour::DrawCommand command;
    command.options.input.models = {model};
    command.options.output.path = folder.path("comma.svg");
    command.options.page.size = {1500.5, 2000.0};
    std::ostringstream out;
    std::ostringstream log;
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaNumbers));
    out.imbue(std::locale());
    kxcontour::Execute(command, out, log);
    std::locale::global(before);
    EXPECT_EQ(ReadBytes(folder.path("comma.svg")), ReadBytes(folder.path("plain.svg")));
    EXPECT_NE(out.str().find(": 1500.5 x 2000 mm, "), std::string::npos) << out.str();
}

TEST(Drawings, OfACubeAreASquareFromTheFront) {
    const TemporaryFolder folder;
    const std::string cube = folder.write("cube.obj", ObjText(Cube()));
    for (const char* view : {"front", "back", "left", "right", "top", "bottom"}) {
        const SvgFile svg = Draw(folder, {cube, "--view", view});
        const std::vector<PageLine> lines = LinesOf(svg);
        const std::set<PageLine> expected{{1000, 5350, 20000, 5350},
                                          {1000, 24350, 20000, 24350},
                                          {1000, 5350, 1000, 24350},
                                          {20000, 5350, 20000, 24350}};
        EXPECT_EQ(std::set<PageLine>(lines.begin(), lines.end()), expected) << view;
        EXPECT_EQ(lines.size(), 4U) << view << ": no line is there twice";
    }
}

TEST(Drawings, OfACubeAreNineEdgesFromACorner) {
    const TemporaryFolder folder;
    const std::string cube = folder.write("cube.obj", ObjText(Cube()));
    const SvgFile svg = Draw(folder, {cube});
    const std::vector<PageLine> lines = LinesOf(svg);
    EXPECT_EQ(lines.size(), 9U) << "three edges are hidden";
    EXPECT_EQ(std::set<PageLine>(lines.begin(), lines.end()).size(), 9U);
    EXPECT_EQ(PathsOfWidth(svg, kCreaseWidth) > 0, true);
    // The corner next to the eye is in the middle, and the three edges at it are as long.
    std::size_t atTheMiddle = 0;
    for (const PageLine& line : lines) {
        const bool touches =
            (line[0] == 10500 && line[1] == 14850) || (line[2] == 10500 && line[3] == 14850);
        atTheMiddle += touches ? 1 : 0;
        EXPECT_NEAR(std::hypot(line[2] - line[0], line[3] - line[1]), 19000.0 / std::sqrt(3.0),
                    3.0);
    }
    EXPECT_EQ(atTheMiddle, 3U);
}

TEST(Drawings, AreTheSameFromFilesWithAndWithoutSharedVertices) {
    const TemporaryFolder folder;
    // Both formats have y up and no normals.
    const std::string shared = folder.write("a.obj", ObjText(Cube()));
    const std::string unshared =
        folder.write("b.ply", tool_test::PlyBytes(test_support::Unwelded(Cube()), false));
    const std::vector<PageLine> a = LinesOf(Draw(folder, {shared}));
    const std::vector<PageLine> b = LinesOf(Draw(folder, {unshared}));
    EXPECT_EQ(std::multiset<PageLine>(a.begin(), a.end()),
              std::multiset<PageLine>(b.begin(), b.end()));
}

TEST(Drawings, OfSmoothPartsShowNoFacets) {
    const TemporaryFolder folder;
    const std::string ball = folder.write(
        "ball.stl", tool_test::StlBytes(test_support::Sphere({0, 0, 0}, 1.0F, 64, 32)));
    const SvgFile svg = Draw(folder, {ball});
    EXPECT_EQ(PathsOfWidth(svg, kCreaseWidth), 0U);
    EXPECT_GT(PathsOfWidth(svg, kSilhouetteWidth), 0U);
    for (const SvgPath& path : svg.groups.at(0).paths) {
        for (const PagePoint& point : path) {
            const double radius = std::hypot(point.x - 105.0, point.y - 148.5);
            EXPECT_GT(radius, 93.5) << "a line inside the outline";
        }
    }
}

TEST(Drawings, ShowEdgesThatBendByMoreThanTheAngleAsked) {
    const TemporaryFolder folder;
    std::vector<Wm4::Vector2<float>> polygon;
    for (int i = 0; i < 16; ++i) {
        const double angle = 3.14159265358979323846 * (i + 0.25) / 8.0;
        polygon.emplace_back(static_cast<float>(std::cos(angle)),
                             static_cast<float>(std::sin(angle)));
    }
    // Standing upright, its axis along the z of STL.
    const std::string prism =
        folder.write("prism.stl", tool_test::StlBytes(test_support::Prism(polygon, 0.0F, 2.0F)));
    const auto uprightLines = [&](const Arguments& more) {
        Arguments arguments{prism, "--view", "front"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        std::size_t count = 0;
        for (const PageLine& line : LinesOf(Draw(folder, arguments))) {
            count += line[0] == line[2] ? 1 : 0;
        }
        return count;
    };
    EXPECT_EQ(uprightLines({}), 2U) << "22.5 degrees is smooth: the outline only";
    EXPECT_EQ(uprightLines({"--crease-angle", "23"}), 2U);
    EXPECT_EQ(uprightLines({"--crease-angle", "22"}), 9U) << "the outline and seven in front";
}

TEST(Drawings, LetTheNormalsOfAFileDecideUnlessAnAngleIsGiven) {
    const TemporaryFolder folder;
    // A cube with the normals of a ball: nothing in it is sharp.
    std::ostringstream text;
    const MeshData cube = Cube();
    for (const Point& p : cube.positions) {
        text << "v " << p[0] << ' ' << p[1] << ' ' << p[2] << "\nvn " << p[0] << ' ' << p[1] << ' '
             << p[2] << '\n';
    }
    for (std::size_t i = 0; i < cube.indices.size(); i += 3) {
        text << 'f';
        for (std::size_t k = 0; k < 3; ++k) {
            text << ' ' << cube.indices[i + k] + 1 << "//" << cube.indices[i + k] + 1;
        }
        text << '\n';
    }
    const std::string model = folder.write("cube.obj", text.str());
    EXPECT_EQ(LinesOf(Draw(folder, {model})).size(), 6U) << "the outline";
    EXPECT_EQ(LinesOf(Draw(folder, {model, "--crease-angle", "30"})).size(), 9U);
}

TEST(Drawings, ShowWhatIsInFrontAndHideWhatIsBehind) {
    const TemporaryFolder folder;
    MeshData scene = Box({-1, -1, -1}, {1, 1, 1});
    scene.append(Box({-0.5F, -0.5F, -3}, {0.5F, 0.5F, -2}));
    const std::string model = folder.write("scene.obj", ObjText(scene));
    EXPECT_EQ(LinesOf(Draw(folder, {model, "--view", "front"})).size(), 4U) << "small one hidden";
    EXPECT_EQ(LinesOf(Draw(folder, {model, "--view", "back"})).size(), 8U) << "in front from there";
}

/// The middle of a drawing's bounds relative to the page: right and down are positive.
PagePoint Leaning(const SvgFile& svg, const SvgPath& of) {
    const PageBox all = BoundsOf(svg);
    return {of[0].x - (all.left + all.right) / 2, of[0].y - (all.top + all.bottom) / 2};
}

TEST(Views, ShowTheModelFromTheSideThatTheyName) {
    const TemporaryFolder folder;
    // A needle towards the front, the right and the top of a flat, open frame around the origin.
    const auto needle = [&](const Point& tip, const char* view) {
        MeshData scene = Box({-1, -1, -1}, {1, 1, 1});
        const Point half(tip[0] * 2, tip[1] * 2, tip[2] * 2);
        scene.append(Box({half[0] - 0.1F, half[1] - 0.1F, half[2] - 0.1F},
                         {half[0] + 0.1F, half[1] + 0.1F, half[2] + 0.1F}));
        const std::string model = folder.write("needle.obj", ObjText(scene));
        const SvgFile svg = Draw(folder, {model, "--view", view});
        // The needle is the outermost part: where it is, the drawing ends far from the cube.
        const PageBox box = BoundsOf(svg);
        SvgPath smallest;
        double least = 1e9;
        for (const SvgGroup& group : svg.groups) {
            for (const SvgPath& path : group.paths) {
                for (std::size_t i = 1; i < path.size(); ++i) {
                    const double length =
                        std::hypot(path[i].x - path[i - 1].x, path[i].y - path[i - 1].y);
                    if (length < least) {
                        least = length;
                        smallest = {path[i]};
                    }
                }
            }
        }
        EXPECT_LT(least, (box.right - box.left) / 5) << "the needle shows";
        return Leaning(svg, smallest);
    };
    EXPECT_GT(needle({1, 0, 0}, "front").x, 20.0) << "right is right from the front";
    EXPECT_LT(needle({1, 0, 0}, "back").x, -20.0) << "and left from the back";
    EXPECT_LT(needle({0, 1, 0}, "front").y, -20.0) << "up is up";
    EXPECT_LT(needle({0, 0, 1}, "right").x, -20.0) << "the front is left from the right";
    EXPECT_GT(needle({0, 0, 1}, "left").x, 20.0) << "and right from the left";
    EXPECT_GT(needle({0, 0, 1}, "top").y, 20.0) << "and down from above";
    EXPECT_LT(needle({0, 0, 1}, "bottom").y, -20.0) << "and up from below";
    EXPECT_GT(needle({1, 0, 0}, "top").x, 20.0);
    EXPECT_GT(needle({1, 0, 0}, "bottom").x, 20.0);
    EXPECT_GT(needle({1, 0, 0}, "iso").x, 20.0);
    EXPECT_LT(needle({0, 0, 1}, "iso").x, -20.0);
    EXPECT_LT(needle({0, 1, 0}, "iso").y, -20.0);
}

TEST(Views, StandFormatsWithZUpOnTheirFeet) {
    const TemporaryFolder folder;
    const MeshData tower = Box({0, 0, 0}, {1, 1, 4});
    const auto slenderness = [&](const std::string& model) {
        const PageBox box = BoundsOf(Draw(folder, {model, "--view", "front"}));
        return (box.bottom - box.top) / (box.right - box.left);
    };
    EXPECT_NEAR(slenderness(folder.write("a.stl", tool_test::StlBytes(tower))), 4.0, 1e-3);
    EXPECT_NEAR(slenderness(folder.write("a.obj", ObjText(tower))), 1.0, 1e-3);
}

TEST(Pages, HaveTheSizeAskedFor) {
    const TemporaryFolder folder;
    const std::string cube = folder.write("cube.obj", ObjText(Cube()));
    const auto size = [&](const Arguments& more) {
        Arguments arguments{cube};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const SvgFile svg = Draw(folder, arguments);
        return svg.width + " " + svg.height;
    };
    EXPECT_EQ(size({}), "210mm 297mm");
    EXPECT_EQ(size({"--landscape"}), "297mm 210mm");
    EXPECT_EQ(size({"--page", "A0"}), "841mm 1189mm");
    EXPECT_EQ(size({"--page", "letter"}), "215.9mm 279.4mm");
    EXPECT_EQ(size({"--page", "legal", "--landscape"}), "355.6mm 215.9mm");
    EXPECT_EQ(size({"--page", "123.5x77"}), "123.5mm 77mm");
    EXPECT_EQ(size({"--page", "21x2000"}), "21mm 2000mm");
}

TEST(Pages, AreFilledInsideTheMarginOnOneAxis) {
    const TemporaryFolder folder;
    const std::string cube = folder.write("cube.obj", ObjText(Cube()));
    const PageBox wide = BoundsOf(Draw(folder, {cube, "--view", "front", "--page", "300x100"}));
    EXPECT_NEAR(wide.top, 10.0, 2e-3);
    EXPECT_NEAR(wide.bottom, 90.0, 2e-3);
    EXPECT_NEAR(wide.left, 110.0, 2e-3);
    EXPECT_NEAR(wide.right, 190.0, 2e-3);
}

TEST(Texts, AreWrittenAsGivenWhateverIsInThem) {
    const TemporaryFolder folder;
    const std::string cube = folder.write("cube.obj", ObjText(Cube()));
    const SvgFile plain = Draw(folder, {cube});
    EXPECT_EQ(plain.title, "Illustration") << "the exporter's own";
    EXPECT_EQ(plain.description, "");
    const SvgFile svg = Draw(folder, {cube, "--title", "<b> & \"c\" \xC3\xA4\x01", "--description",
                                      "]]></desc><path d=\"\"/>\n  <path d=\"\"/>"});
    EXPECT_EQ(svg.title, "<b> & \"c\" \xC3\xA4");
    EXPECT_EQ(svg.description, "]]></desc><path d=\"\"/>\n  <path d=\"\"/>");
    EXPECT_EQ(svg.pathCount(), plain.pathCount()) << "also in the count of lines";
    Draw(folder, {cube, "--title", ""});
    EXPECT_EQ(ReadBytes(folder.path("drawing.svg")).find("<title"), std::string::npos);
}

TEST(Occluders, HideAndAreNotDrawn) {
    const TemporaryFolder folder;
    const std::string cube = folder.write("cube.obj", ObjText(Cube()));
    // In front of the right half.
    const std::string wall =
        folder.write("wall.obj", ObjText(Quad({0, -9, 5}, {9, -9, 5}, {9, 9, 5}, {0, 9, 5})));
    const SvgFile svg = Draw(folder, {cube, "--view", "front", "--occluder", wall});
    const PageBox box = BoundsOf(svg);
    EXPECT_NEAR(box.left, 10.0, 1e-2);
    EXPECT_NEAR(box.right, 105.0, 1e-2);
    EXPECT_EQ(LinesOf(svg).size(), 3U);
    const std::string behind = folder.write(
        "behind.obj", ObjText(Quad({-9, -9, -5}, {9, -9, -5}, {9, 9, -5}, {-9, 9, -5})));
    EXPECT_EQ(LinesOf(Draw(folder, {cube, "--view", "front", "--occluder", behind})).size(), 4U);
}

TEST(Occluders, MayBeMany) {
    const TemporaryFolder folder;
    const std::string cube = folder.write("cube.obj", ObjText(Cube()));
    const std::string right = folder.write(
        "right.obj", ObjText(Quad({0.5F, -9, 5}, {9, -9, 5}, {9, 9, 5}, {0.5F, 9, 5})));
    const std::string left = folder.write(
        "left.obj", ObjText(Quad({-9, -9, 6}, {-0.5F, -9, 6}, {-0.5F, 9, 6}, {-9, 9, 6})));
    const SvgFile svg =
        Draw(folder, {cube, "--view", "front", "--occluder", right, "--occluder", left});
    EXPECT_EQ(LinesOf(svg).size(), 2U) << "the middle of the upper and the lower edge";
    EXPECT_NEAR(BoundsOf(svg).left, 105.0 - 47.5, 1e-2);
    EXPECT_NEAR(BoundsOf(svg).right, 105.0 + 47.5, 1e-2);
}

TEST(Warnings, CountBadTrianglesInOneLine) {
    const TemporaryFolder folder;
    const std::string model =
        folder.write("cube.obj", ObjText(Cube()) + "f 1 1 2\nf 3 3 4\nf 5 5 5\n");
    const std::string occluder = folder.write("other.obj", ObjText(Cube()) + "f 1 1 2\n");
    const RunResult run = RunTool({model, "--occluder", occluder, "-o", folder.path("a.svg")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "kxcontour: warning: " + model + ": left out 4 triangles: 4 degenerate\n");
    EXPECT_EQ(LinesOf(ReadSvg(folder.path("a.svg"))).size(), 9U) << "drawn all the same";
}

TEST(Warnings, AreNotThereWithoutAReason) {
    const TemporaryFolder folder;
    const std::string model = folder.write("cube.obj", ObjText(Cube()));
    EXPECT_EQ(RunTool({model, "-o", folder.path("a.svg")}).err, "");
}

TEST(Timings, AreOneLineForEachStageOnStandardError) {
    const TemporaryFolder folder;
    const std::string model = folder.write("cube.obj", ObjText(Cube()));
    const RunResult run = RunTool({model, "-o", folder.path("a.svg"), "--timing"});
    std::string pattern;
    for (const char* stage : {"read", "prepare", "bake", "features", "export", "total"}) {
        pattern += std::string(stage) + " *.* s\n";
    }
    EXPECT_TRUE(tool_test::Matches(run.err, pattern)) << run.err;
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1);
}

TEST(Models, FarFromTheOriginKeepTheirShape) {
    const TemporaryFolder folder;
    // Placed by nodes, as buildings in map coordinates are. Single precision could not even tell
    // the two halves apart, which are an eighth of a unit wide.
    const MeshData half = Box({0, 0, 0}, {0.125F, 0.25F, 0.25F});
    const std::string far = tool_test::DaeText(
        half,
        "<node id=\"site\"><translate>30000000 50000000 0</translate>"
        "<node id=\"a\"><instance_geometry url=\"#m\"/></node>"
        "<node id=\"b\"><translate>0.125 0 0</translate><instance_geometry url=\"#m\"/></node>"
        "</node>");
    const SvgFile svg = Draw(folder, {folder.write("far.dae", far), "--view", "front"});
    const PageBox box = BoundsOf(svg);
    EXPECT_NEAR(box.left, 10.0, 1e-2);
    EXPECT_NEAR(box.right, 200.0, 1e-2);
    EXPECT_NEAR(box.bottom - box.top, 190.0, 1e-2);
    const std::vector<PageLine> lines = LinesOf(svg);
    EXPECT_GE(std::count(lines.begin(), lines.end(), PageLine{10500, 5350, 10500, 24350}), 1)
        << "where the halves meet";
}

TEST(Models, OfAnySizeAreDrawnAlikeOrRefused) {
    const TemporaryFolder folder;
    for (const char* projection : {"orthographic", "perspective"}) {
        const auto draw = [&](int exponent) {
            const float size = std::ldexp(1.0F, exponent);
            const std::string model =
                folder.write("box.obj", ObjText(Box({0, 0, 0}, {size, 2 * size, 3 * size})));
            return RunTool({model, "--projection", projection, "-o", folder.path("a.svg")});
        };
        EXPECT_EQ(draw(0).exitCode, 0);
        const std::string usual = ReadBytes(folder.path("a.svg"));
        for (const int exponent : {-50, -20, 20, 50}) {
            EXPECT_EQ(draw(exponent).exitCode, 0) << projection << ' ' << exponent;
            EXPECT_EQ(ReadBytes(folder.path("a.svg")), usual) << projection << ' ' << exponent;
        }
        for (const int exponent : {-100, 66, 100}) {
            const RunResult run = draw(exponent);
            EXPECT_EQ(run.exitCode, 4) << projection << ' ' << exponent;
            EXPECT_EQ(run.err, "kxcontour: nothing to draw: the model is too large or too small "
                               "for single precision\n");
            EXPECT_EQ(ReadBytes(folder.path("a.svg")), usual) << "nothing is lost";
        }
    }
}

TEST(Outputs, ReplaceADrawingOfBefore) {
    const TemporaryFolder folder;
    const std::string cube = folder.write("cube.obj", ObjText(Cube()));
    const std::string output = folder.write("a.svg", "the drawing of before");
    ASSERT_EQ(::chmod(output.c_str(), 0640), 0);
    fs::create_symlink("a.svg", folder.path("link.svg"));
    ASSERT_EQ(RunTool({cube, "-o", folder.path("link.svg")}).exitCode, 0);
    EXPECT_EQ(LinesOf(ReadSvg(output)).size(), 9U);
    EXPECT_TRUE(fs::is_symlink(folder.path("link.svg")));
    EXPECT_EQ(fs::status(output).permissions(), fs::perms(0640));
    EXPECT_EQ(folder.entryCount(), 3U);
}

TEST(Help, IsPrintedOnStandardOutput) {
    const RunResult help = RunTool({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_NE(help.out.find("Exit codes:"), std::string::npos);
    const RunResult version = RunTool({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(tool_test::Matches(version.out, "kxcontour *.*.*\n")) << version.out;
}

} // namespace
