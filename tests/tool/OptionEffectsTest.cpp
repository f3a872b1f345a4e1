// What options do to drawings, on models whose drawings are known.
#include "DrawingRuns.h"
#include "RecipeTools.h"
#include "support/Scenes.h"
#include "tool/Application.h"
#include "tool/options/CommandLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <locale>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using test_support::Box;
using test_support::MeshData;
using test_support::Point;
using test_support::Quad;
using tool_test::BoundsOf;
using tool_test::DrawIn;
using tool_test::Height;
using tool_test::LinesOf;
using tool_test::ObjText;
using tool_test::PageBox;
using tool_test::PageLine;
using tool_test::ReadBytes;
using tool_test::Replaced;
using tool_test::RunIn;
using tool_test::RunResult;
using tool_test::SortedLinesOf;
using tool_test::Surroundings;
using tool_test::SvgFile;
using tool_test::SvgGroup;
using tool_test::SvgPath;
using tool_test::TemporaryFolder;
using tool_test::Width;
using tool_test::Words;

using Json = nlohmann::json;

MeshData Cube(float half = 1.0F) {
    return Box({-half, -half, -half}, {half, half, half});
}

/// The text of an OBJ file of named objects.
std::string Objects(const std::vector<std::pair<std::string, MeshData>>& objects) {
    std::ostringstream text;
    unsigned int before = 0;
    for (const auto& [name, data] : objects) {
        text << "o " << name << '\n';
        for (const Point& p : data.positions) {
            text << "v " << p[0] << ' ' << p[1] << ' ' << p[2] << '\n';
        }
        for (std::size_t i = 0; i < data.indices.size(); i += 3) {
            text << 'f';
            for (std::size_t k = 0; k < 3; ++k) {
                text << ' ' << before + data.indices[i + k] + 1;
            }
            text << '\n';
        }
        before += static_cast<unsigned int>(data.positions.size());
    }
    return text.str();
}

/// A cylinder along z with a round outline: its polygon is nowhere 0.004 from the circle.
MeshData Cylinder(float radius, float height) {
    std::vector<Wm4::Vector2<float>> outline;
    for (int i = 0; i < 256; ++i) {
        const double angle = 2.0 * 3.14159265358979323846 * i / 256;
        outline.emplace_back(static_cast<float>(radius * std::cos(angle)),
                             static_cast<float>(radius * std::sin(angle)));
    }
    return test_support::Prism(outline, 0.0F, height);
}

/// A folder with a cube in it, to draw in.
class Drawn : public testing::Test {
protected:
    Drawn() { folder_.write("cube.obj", ObjText(Cube())); }

    std::string draw(const std::string& line) const {
        DrawIn(folder_, line);
        return ReadBytes(folder_.path("drawing.svg"));
    }
    PageBox bounds(const std::string& line) const { return BoundsOf(DrawIn(folder_, line)); }
    RunResult run(const std::string& line) const { return RunIn(folder_, line); }
    std::string bytes(const std::string& name) const { return ReadBytes(folder_.path(name)); }

    TemporaryFolder folder_;
};

/// @name Lengths
/// @{

class Scale : public Drawn {};

TEST_F(Scale, IsTrueForEveryUnit) {
    const std::vector<std::pair<std::string, float>> units{
        {"mm", 1.0F}, {"cm", 10.0F}, {"m", 1000.0F}, {"in", 25.4F}};
    for (const auto& [unit, millimetres] : units) {
        folder_.write("edge.obj", ObjText(Cube(50.0F / millimetres)));
        const PageBox box = bounds("edge.obj --view front --scale 1:2 --unit " + unit);
        EXPECT_NEAR(Width(box), 50.0, 0.001) << unit;
        EXPECT_NEAR(Height(box), 50.0, 0.001) << unit;
    }
}

TEST_F(Scale, KnowsTheUnitThatAFileStates) {
    folder_.write("a.3mf",
                  tool_test::Bytes3mf(tool_test::ModelOf3mf(Cube(50.0F / 25.4F), "unit=\"inch\"")));
    folder_.write("a.dae",
                  Replaced(tool_test::DaeText(Cube(5.0F), "<node id=\"n\"><instance_geometry "
                                                          "url=\"#m\"/></node>"),
                           "<up_axis>", "<unit name=\"centimeter\" meter=\"0.01\"/><up_axis>"));
    folder_.write("a.gltf", tool_test::GltfText(Cube(0.05F), R"([{"mesh":0}])",
                                                std::string(R"([{"primitives":[)") +
                                                    tool_test::kGltfPrimitive + "]}]"));
    for (const char* model : {"a.3mf", "a.dae", "a.gltf"}) {
        const PageBox box = bounds(std::string(model) + " --view front --scale 1:2");
        EXPECT_NEAR(Width(box), 50.0, 0.001) << model;
        EXPECT_NEAR(Height(box), 50.0, 0.001) << model;
    }
    EXPECT_NEAR(Width(bounds("a.dae --view front --scale 5:1 --unit mm")), 50.0, 0.001);
}

TEST_F(Scale, SaysWhichUnitIsAssumed) {
    const RunResult run = this->run("cube.obj --scale 10:1 -o a.svg");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "kxcontour: warning: cube.obj: states no unit of length; millimetres "
                       "assumed, see --unit\n");
}

TEST_F(Scale, SaysWhenTheModelDoesNotFit) {
    const RunResult run = this->run("cube.obj --view front --unit mm --scale 120:1 -o a.svg");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "kxcontour: warning: a.svg: at this scale the drawing measures 240 x 240 mm "
                       "and does not fit the page of 210 x 297 mm inside its margin\n");
    EXPECT_EQ(this->run("cube.obj --view front --unit mm --scale 95:1 -o a.svg").err, "")
        << "it just fits";
}

TEST_F(Scale, IsOfAllModelsInADrawing) {
    const auto box3mf = [](float from, float to, const std::string& unit) {
        return tool_test::Bytes3mf(tool_test::ModelOf3mf(
            Box({from, 0, 0}, {to, to - from, to - from}), "unit=\"" + unit + "\""));
    };
    folder_.write("inch.3mf", box3mf(0, 1, "inch"));
    folder_.write("mm.3mf", box3mf(25.4F, 50.8F, "millimeter"));
    for (const char* models : {"inch.3mf mm.3mf", "mm.3mf inch.3mf"}) {
        const PageBox box = bounds(std::string(models) + " --view front --scale 1:1");
        EXPECT_NEAR(Width(box), 50.8, 0.001) << models;
        EXPECT_NEAR(Height(box), 25.4, 0.001) << models;
    }
    // What has no unit of its own is told of, wherever it stands and even without a scale.
    for (const char* models :
         {"inch.3mf cube.obj", "cube.obj inch.3mf", "inch.3mf --occluder cube.obj"}) {
        EXPECT_EQ(run(std::string(models) + " -o a.svg").err,
                  "kxcontour: warning: cube.obj: states no unit of length; millimetres assumed, "
                  "see --unit\n");
    }
}

TEST_F(Drawn, StandsOnTheAxisAskedFor) {
    folder_.write("tower.obj", ObjText(Box({0, 0, 0}, {10, 20, 40})));
    const auto height = [&](const std::string& up) {
        return Height(bounds("tower.obj --unit mm --scale 1:1 --view front --up " + up));
    };
    EXPECT_NEAR(height("x"), 10.0, 0.001);
    EXPECT_NEAR(height("y"), 20.0, 0.001);
    EXPECT_NEAR(height("z"), 40.0, 0.001);
}

TEST_F(Drawn, FillsThePageInsideTheMargin) {
    EXPECT_NEAR(Width(bounds("cube.obj --view front")), 190.0, 0.002);
    EXPECT_NEAR(Width(bounds("cube.obj --view front --margin 2cm")), 170.0, 0.002);
    EXPECT_NEAR(Width(bounds("cube.obj --view front --margin 0")), 210.0, 0.002);
    EXPECT_NEAR(Width(bounds("cube.obj --view front --margin 1in")), 159.2, 0.002);
    EXPECT_NEAR(Width(bounds("cube.obj --view front --zoom 0.5")), 95.0, 0.002);
    const PageBox box = bounds("cube.obj --view front --zoom 0.5");
    EXPECT_NEAR(box.left + box.right, 210.0, 0.002) << "in the middle";
}

TEST_F(Drawn, HasPagesInSeveralUnits) {
    const auto size = [&](const std::string& page) {
        const SvgFile svg = DrawIn(folder_, "cube.obj --margin 1mm --page " + page);
        return svg.width + " " + svg.height;
    };
    EXPECT_EQ(size("10x20cm"), "100mm 200mm");
    EXPECT_EQ(size("4x6in"), "101.6mm 152.4mm");
    EXPECT_EQ(size("72x144pt"), "25.4mm 50.8mm");
    EXPECT_EQ(size("50x30mm"), "50mm 30mm");
}

TEST_F(Drawn, FitsOneObjectOfMany) {
    folder_.write("two.obj", Objects({{"small", Box({0, 0, 0}, {1, 1, 1})},
                                      {"large", Box({1.5F, 0, 0}, {9, 9, 1})}}));
    const SvgFile svg = DrawIn(folder_, "two.obj --view front --fit small --layers object");
    SvgFile small = svg;
    std::erase_if(small.groups, [](const SvgGroup& group) { return group.layer != "small"; });
    EXPECT_NEAR(Width(BoundsOf(small)), 190.0, 0.002);
    EXPECT_EQ(LinesOf(svg).size(), LinesOf(small).size()) << "the other one begins beside the page";
    EXPECT_EQ(draw("two.obj --fit all"), draw("two.obj"));
}
/// @}

/// @name Directions
/// @{

class Directions : public Drawn {
protected:
    /// No two sides of it look alike.
    Directions() {
        MeshData parts = Box({0, 0, 0}, {4, 3, 2});
        parts.append(Box({0, 3, 0}, {1, 4, 1}));
        parts.append(Box({4, 0, 0}, {5, 1, 2}));
        folder_.write("parts.obj", ObjText(parts));
        folder_.write("parts.stl", tool_test::StlBytes(parts));
    }
};

TEST_F(Directions, InDegreesAreTheNamedOnes) {
    const std::vector<std::pair<std::string, std::string>> views{
        {"--azimuth 0 --elevation 0", "front"},    {"--azimuth 90 --elevation 0", "right"},
        {"--azimuth 180 --elevation 0", "back"},   {"--azimuth 270 --elevation 0", "left"},
        {"--azimuth -90 --elevation 0", "left"},   {"--azimuth 0 --elevation 90", "top"},
        {"--azimuth 0 --elevation -90", "bottom"}, {"--azimuth 450 --elevation 0", "right"}};
    std::set<std::string> drawings;
    for (const auto& [angles, view] : views) {
        EXPECT_EQ(draw("parts.obj " + angles), draw("parts.obj --view " + view)) << angles;
        drawings.insert(draw("parts.obj " + angles));
    }
    EXPECT_EQ(drawings.size(), 6U);
    const auto iso = SortedLinesOf(DrawIn(folder_, "parts.obj --view iso --page 200x200"));
    const auto angles = SortedLinesOf(
        DrawIn(folder_, "parts.obj --azimuth 45 --elevation 35.26438968275465 --page 200x200"));
    EXPECT_EQ(iso.size(), angles.size());
}

TEST_F(Directions, RollTurnsTheDrawingCounterClockwise) {
    const PageBox flat = bounds("parts.obj --view front --scale 1:1 --unit mm");
    const PageBox upright = bounds("parts.obj --view front --roll 90 --scale 1:1 --unit mm");
    EXPECT_NEAR(Width(flat), Height(upright), 0.001);
    EXPECT_NEAR(Height(flat), Width(upright), 0.001);
    EXPECT_EQ(draw("parts.obj --view front --roll 0"), draw("parts.obj --view front"));
    EXPECT_EQ(draw("parts.obj --view front --roll 360"), draw("parts.obj --view front"));
    // What was on the right is above now.
    folder_.write("flag.obj",
                  Objects({{"large", Quad({2, 0, 0}, {3, 0, 0}, {3, 1, 0}, {2, 1, 0})},
                           {"dot", Quad({0, 0, 0}, {0.1F, 0, 0}, {0.1F, 0.1F, 0}, {0, 0.1F, 0})}}));
    SvgFile large = DrawIn(folder_, "flag.obj --view front --roll 90 --layers object");
    const PageBox all = BoundsOf(large);
    std::erase_if(large.groups, [](const SvgGroup& group) { return group.layer != "large"; });
    EXPECT_NEAR(BoundsOf(large).top, all.top, 0.002);
}

TEST_F(Directions, AreGivenByPointsInTheFilesOwnAxes) {
    // The middle of the parts is the focal point, from which only directions count.
    const auto same = [&](const std::string& points, const std::string& view) {
        EXPECT_EQ(SortedLinesOf(DrawIn(folder_, points)), SortedLinesOf(DrawIn(folder_, view)))
            << points;
    };
    same("parts.obj --camera-focal-point 2.5,2,1 --camera-position 2.5,2,30",
         "parts.obj --view front");
    same("parts.obj --camera-focal-point 2.5,2,1 --camera-position 30,2,1",
         "parts.obj --view right");
    same(
        "parts.obj --camera-focal-point 2.5,2,1 --camera-position 2.5,30,1 --camera-view-up 0,0,-1",
        "parts.obj --view top");
    same("parts.stl --camera-focal-point 2.5,2,1 --camera-position 2.5,-30,1",
         "parts.stl --view front");
    same("parts.obj --camera-position 2.5,2,30 --camera-view-up 1,0,0",
         "parts.obj --view front --roll 90");
}

TEST_F(Directions, OfAPerspectiveMakeWhatIsTwiceAsFarHalfAsLarge) {
    MeshData squares =
        Quad({-1.5F, -0.5F, 0}, {-0.5F, -0.5F, 0}, {-0.5F, 0.5F, 0}, {-1.5F, 0.5F, 0});
    squares.append(
        Quad({0.5F, -0.5F, -10}, {1.5F, -0.5F, -10}, {1.5F, 0.5F, -10}, {0.5F, 0.5F, -10}));
    folder_.write("squares.obj", ObjText(squares));
    std::vector<double> lengths;
    for (const PageLine& line :
         LinesOf(DrawIn(folder_, "squares.obj --projection perspective --camera-position 0,0,10 "
                                 "--camera-focal-point 0,0,0"))) {
        lengths.push_back(std::hypot(line[2] - line[0], line[3] - line[1]) / 100.0);
    }
    ASSERT_EQ(lengths.size(), 8U);
    std::sort(lengths.begin(), lengths.end());
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(lengths[i] * 2.0, lengths[4 + i], 0.04);
        EXPECT_NEAR(lengths[4], lengths[4 + i], 0.02) << "squares stay squares";
    }
}

TEST_F(Directions, OfAPerspectiveDoNotChangeItsLinesWithTheFieldOfView) {
    const auto lines = [&](const std::string& more) {
        return LinesOf(DrawIn(folder_, "cube.obj --projection perspective " + more)).size();
    };
    EXPECT_EQ(lines(""), 9U);
    EXPECT_EQ(lines("--fov 5"), 9U);
    EXPECT_EQ(lines("--fov 100"), 9U);
    EXPECT_NE(draw("cube.obj --projection perspective --fov 5"),
              draw("cube.obj --projection perspective --fov 100"));
}
/// @}

/// @name Lines
/// @{

class Lines : public Drawn {
protected:
    std::size_t count(const std::string& line) const {
        return LinesOf(DrawIn(folder_, line)).size();
    }

    /// The lines of a drawing of the model, none of which is there twice, and their length in edges
    /// of so many millimetres.
    double edges(const std::string& model, double edge) const {
        const SvgFile svg = DrawIn(folder_, model);
        EXPECT_EQ(tool_test::FindTwice(folder_.path("drawing.svg")).twice, "") << model;
        double length = 0.0;
        for (const PageLine& line : LinesOf(svg)) {
            length += std::hypot(line[2] - line[0], line[3] - line[1]) / 100.0;
        }
        return length / edge;
    }
};

TEST_F(Lines, AreOfTheFamiliesAskedFor) {
    EXPECT_EQ(count("cube.obj --lines silhouette"), 6U);
    EXPECT_EQ(count("cube.obj --lines crease"), 9U) << "the outline bends, too";
    EXPECT_EQ(count("cube.obj --lines silhouette,crease"), 9U);
    EXPECT_EQ(run("cube.obj --lines intersection -o a.svg").exitCode, 4) << "there are none";
    folder_.write("cross.obj", Objects({{"a", Box({-2, -2, -1}, {2, 2, 1})},
                                        {"b", Box({-1, -1, -5}, {1, 1, 5})}}));
    // Of the foot of the second on the first, two sides are behind the second.
    EXPECT_EQ(DrawIn(folder_, "cross.obj --lines intersection").pathCount(), 1U);
}

TEST_F(Lines, HiddenOnesAreDashedAndBelow) {
    const SvgFile svg = DrawIn(folder_, "cube.obj --hidden");
    std::size_t hidden = 0;
    std::size_t visible = 0;
    for (const SvgGroup& group : svg.groups) {
        SvgFile alone;
        alone.groups = {group};
        (group.dashes.empty() ? visible : hidden) += LinesOf(alone).size();
        EXPECT_TRUE(group.dashes.empty() || visible == 0) << "they come first";
        EXPECT_TRUE(group.dashes.empty() ||
                    (group.dashes == "1,0.6" && group.strokeWidth == "0.1"));
    }
    EXPECT_EQ(visible, 9U);
    EXPECT_EQ(hidden, 3U);
}

TEST_F(Lines, LookAsTheirStyleSays) {
    const SvgFile svg = DrawIn(folder_, "cube.obj --hidden --style crease.width=0.25mm,crease."
                                        "color=#333 --style silhouette.color=red,silhouette.width="
                                        "1pt,hidden.dash=2mm/1mm,hidden.color=#0000ff");
    ASSERT_EQ(svg.groups.size(), 3U);
    const auto text = [](const SvgGroup& group) {
        return group.stroke + " " + group.strokeWidth + " " + group.dashes;
    };
    EXPECT_EQ(text(svg.groups[0]), "rgb(0,0,255) 0.1 2,1");
    EXPECT_EQ(text(svg.groups[1]), "rgb(51,51,51) 0.25 ");
    EXPECT_EQ(text(svg.groups[2]), "rgb(255,0,0) 0.352778 ");
    const SvgFile all = DrawIn(folder_, "cube.obj --style all.width=0.7,all.color=#0a0");
    ASSERT_EQ(all.groups.size(), 1U) << "families that look alike are one";
    EXPECT_EQ(text(all.groups[0]), "rgb(0,170,0) 0.7 ");
}

TEST_F(Lines, ShorterThanAskedAreLeftOut) {
    MeshData scene = Cube();
    scene.append(Box({-0.01F, -0.01F, 1.5F}, {0.01F, 0.01F, 1.52F}));
    folder_.write("crumb.obj", ObjText(scene));
    EXPECT_EQ(count("crumb.obj --view front"), 8U);
    // Its outline is a path of 4 times 1.9 mm.
    EXPECT_EQ(count("crumb.obj --view front --min-length 7mm"), 8U);
    EXPECT_EQ(count("crumb.obj --view front --min-length 8mm"), 4U);
    EXPECT_NE(run("crumb.obj --view front --min-length 8mm -v -o a.svg")
                  .err.find("1 short path left out\n"),
              std::string::npos);
}

TEST_F(Lines, OfNoLengthAreNotDrawn) {
    // From the front, the edges that run towards the viewer are dots.
    folder_.write("dots.obj", ObjText(Box({0, 0, 0}, {1, 1, 1})));
    for (const std::string length : {"", " --min-length 0"}) {
        const SvgFile svg =
            DrawIn(folder_, "dots.obj --view front --hidden --layers type" + length);
        for (const PageLine& line : LinesOf(svg)) {
            EXPECT_GT(std::hypot(line[2] - line[0], line[3] - line[1]), 0.0);
        }
    }
    MeshData scene = Cube();
    scene.append(Box({-1.5e-4F, -1.5e-4F, 1.5F}, {1.5e-4F, 1.5e-4F, 1.5002F}));
    folder_.write("crumb.obj", ObjText(scene));
    EXPECT_EQ(count("crumb.obj --view front --unit mm --scale 20:1"), 4U)
        << "two sides of 0.006 mm, for the others lie on them";
    EXPECT_EQ(count("crumb.obj --view front --unit mm --scale 20:1 --min-length 0"), 6U);
    EXPECT_EQ(count("crumb.obj --view front --unit mm --scale 10:1 --min-length 0"), 4U) << "a dot";
}

TEST_F(Lines, OfACubeFromTheFrontAreOneClosedPath) {
    const SvgFile svg = DrawIn(folder_, "cube.obj --view front");
    ASSERT_EQ(svg.pathCount(), 1U);
    const SvgPath& path = svg.groups[0].paths[0];
    EXPECT_EQ(path.size(), 5U);
    EXPECT_EQ(path.front().x, path.back().x);
    EXPECT_EQ(path.front().y, path.back().y);
}

TEST_F(Lines, AreDrawnOnceWhereTwoCubesTouch) {
    // Seen from the front at 10 mm an edge.
    const std::string front = " --view front --unit mm --scale 10:1";
    folder_.write("face.obj",
                  Objects({{"a", Box({0, 0, 0}, {1, 1, 1})}, {"b", Box({1, 0, 0}, {2, 1, 1})}}));
    EXPECT_NEAR(edges("face.obj" + front, 10.0), 7.0, 0.01);
    folder_.write("edge.obj",
                  Objects({{"a", Box({0, 0, 0}, {1, 1, 1})}, {"b", Box({1, 1, 0}, {2, 2, 1})}}));
    EXPECT_NEAR(edges("edge.obj" + front, 10.0), 8.0, 0.01);
    // Flush in front, one above the other and shorter.
    folder_.write("flush.obj",
                  Objects({{"a", Box({0, 0, 0}, {2, 1, 1})}, {"b", Box({0, 1, 0.5F}, {1, 2, 1})}}));
    EXPECT_NEAR(edges("flush.obj" + front, 10.0), 9.0, 0.01);
    folder_.write("same.obj", Objects({{"a", Cube()}, {"b", Cube()}}));
    EXPECT_NEAR(edges("same.obj" + front, 20.0), 4.0, 0.01);
}

TEST_F(Lines, OfSeamsAreWeldedAwayAsFarAsAsked) {
    // A plate in two halves, 0.5 mm apart.
    MeshData halves = test_support::Quad({0, 0, 0}, {50, 0, 0}, {50, 80, 0}, {0, 80, 0});
    halves.append(test_support::Quad({50.5F, 0, 0}, {100, 0, 0}, {100, 80, 0}, {50.5F, 80, 0}));
    folder_.write("halves.obj", ObjText(halves));
    EXPECT_EQ(count("halves.obj --view front"), 8U) << "two outlines";
    EXPECT_EQ(count("halves.obj --view front --weld auto"), 8U);
    EXPECT_EQ(count("halves.obj --view front --weld 0.4"), 8U);
    EXPECT_EQ(count("halves.obj --view front --weld 0.05cm"), 6U);
    // Cracks of rounding go by themselves, unless told otherwise.
    MeshData cracked = test_support::Quad({0, 0, 0}, {50, 0, 0}, {50, 80, 0}, {0, 80, 0});
    cracked.append(
        test_support::Quad({50.0001F, 0, 0}, {100, 0, 0}, {100, 80, 0}, {50.0001F, 80, 0}));
    folder_.write("cracked.obj", ObjText(cracked));
    EXPECT_EQ(count("cracked.obj --view front"), 6U);
    EXPECT_EQ(count("cracked.obj --view front --weld off"), 7U) << "one of the two rims";
    EXPECT_EQ(run("cracked.obj --weld off -o a.svg").err, "");
}

TEST_F(Lines, AreJoinedOverVerticesThatAreSplit) {
    folder_.write("split.obj", ObjText(test_support::Unwelded(Cube())));
    for (const std::string view : {"front", "iso"}) {
        const SvgFile whole = DrawIn(folder_, "cube.obj --view " + view);
        const SvgFile split = DrawIn(folder_, "split.obj --view " + view);
        EXPECT_EQ(SortedLinesOf(split), SortedLinesOf(whole));
        EXPECT_EQ(split.pathCount(), whole.pathCount());
    }
}
/// @}

/// @name Outputs
/// @{

class Written : public Drawn {};

TEST_F(Written, OfStandardInputAreThoseOfTheFile) {
    const std::string fromFile = draw("cube.obj --hidden");
    Surroundings around;
    around.folder = folder_.path("");
    around.input = folder_.path("cube.obj");
    const RunResult run =
        tool_test::RunTool(Words("- --format obj --hidden -o stream.svg"), around);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(bytes("stream.svg"), fromFile);
    // With another model beside it, and as an occluder.
    EXPECT_EQ(tool_test::RunTool(Words("cube.obj - --format .OBJ -o two.svg"), around).exitCode, 0);
    EXPECT_EQ(bytes("two.svg"), draw("cube.obj cube.obj"));
    EXPECT_EQ(tool_test::RunTool(Words("cube.obj --occluder - --format obj -o three.svg"), around)
                  .exitCode,
              0);
}

TEST_F(Written, OnStandardOutputAreThoseOfTheFile) {
    for (const std::string format : {"svg", "pdf", "png", "dxf", "json"}) {
        ASSERT_EQ(run("cube.obj -o file." + format).exitCode, 0);
        const RunResult stream = run("cube.obj -o - --output-format " + format);
        EXPECT_EQ(stream.exitCode, 0);
        EXPECT_EQ(stream.out, bytes("file." + format)) << format;
        EXPECT_TRUE(tool_test::Matches(stream.err, "standard output: 210 x 297 mm, * lines\n"))
            << stream.err;
    }
    EXPECT_EQ(run("cube.obj -o -").out, bytes("file.svg")) << "SVG unless told otherwise";
    EXPECT_EQ(run("cube.obj -o - --quiet").err, "");
}

std::vector<std::string> LayersOf(const SvgFile& svg) {
    std::vector<std::string> names;
    for (const SvgGroup& group : svg.groups) {
        if (names.empty() || names.back() != group.layer) {
            names.push_back(group.layer);
        }
    }
    return names;
}

TEST_F(Written, InLayersHaveTheLinesOfThoseWithout) {
    folder_.write("first.obj",
                  Objects({{"wheel", Box({0, 0, 0}, {1, 1, 1})},
                           {"axle<&\"1\">", Box({0.5F, 0.2F, 0.2F}, {3, 0.8F, 0.8F})}}));
    folder_.write("second.obj", Objects({{"wheel", Box({2.5F, 0, 0}, {3.5F, 1, 1})}}));
    const auto lines = SortedLinesOf(DrawIn(folder_, "first.obj second.obj --hidden"));
    const SvgFile byType = DrawIn(folder_, "first.obj second.obj --hidden --layers type");
    EXPECT_EQ(LayersOf(byType),
              (std::vector<std::string>{"hidden", "crease", "silhouette", "intersection"}));
    EXPECT_EQ(SortedLinesOf(byType), lines);
    const SvgFile byObject = DrawIn(folder_, "first.obj second.obj --hidden --layers object");
    EXPECT_EQ(LayersOf(byObject),
              (std::vector<std::string>{"wheel", "axle<&\"1\">", "wheel (2)", "intersections"}));
    EXPECT_EQ(SortedLinesOf(byObject), lines);
    const std::string text = bytes("drawing.svg");
    std::set<std::string> ids;
    std::size_t count = 0;
    const std::regex id(" id=\"([A-Za-z_][A-Za-z0-9_.-]*)\"");
    for (std::sregex_iterator at(text.begin(), text.end(), id); at != std::sregex_iterator();
         ++at) {
        ids.insert((*at)[1]);
        ++count;
    }
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(ids.size(), 4U);
}

TEST_F(Written, WithArcsAreRound) {
    folder_.write("round.stl", tool_test::StlBytes(Cylinder(50.0F, 20.0F)));
    ASSERT_EQ(run("round.stl --view top --unit mm --scale 1:1 --arcs -o a.svg").exitCode, 0);
    const std::string text = bytes("a.svg");
    const std::regex arc("A([0-9.]+),([0-9.]+) [0-9.-]+ 0,[01] ([0-9.]+),([0-9.]+) ");
    std::size_t arcs = 0;
    for (std::sregex_iterator at(text.begin(), text.end(), arc); at != std::sregex_iterator();
         ++at) {
        const std::smatch& match = *at;
        EXPECT_NEAR(std::stod(match[1]), 50.0, 0.01);
        EXPECT_NEAR(std::stod(match[2]), 50.0, 0.01);
        EXPECT_NEAR(std::hypot(std::stod(match[3]) - 105.0, std::stod(match[4]) - 148.5), 50.0,
                    0.01);
        ++arcs;
    }
    EXPECT_EQ(arcs, 4U) << "a circle in quarters";
    EXPECT_EQ(text.find('L'), std::string::npos);
    // From the side it has no curve.
    ASSERT_EQ(run("round.stl --view front --arcs -o b.svg").exitCode, 0);
    EXPECT_FALSE(std::regex_search(bytes("b.svg"), arc));
}

/// Runs a script on a DXF file that was read and audited without errors; the file is `doc`.
std::string AskDxf(const std::string& path, const std::string& script) {
    const RunResult run =
        tool_test::Run("/usr/bin/python3", {"-c",
                                            "import sys, ezdxf\n"
                                            "doc = ezdxf.readfile(sys.argv[1])\n"
                                            "assert not doc.audit().has_errors\n" +
                                                script,
                                            path});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return run.out;
}

TEST_F(Written, OfACylinderAsDxfAreOneCircle) {
    folder_.write("round.stl", tool_test::StlBytes(Cylinder(50.0F, 20.0F)));
    ASSERT_EQ(run("round.stl --view top --unit mm --scale 1:1 -o a.dxf").exitCode, 0);
    EXPECT_EQ(AskDxf(folder_.path("a.dxf"),
                     "print([(e.dxftype(), e.dxf.layer, round(e.dxf.radius, 2)) "
                     "for e in doc.modelspace()], doc.units)"),
              "[('CIRCLE', 'silhouette', 50.0)] 4\n");
}

TEST_F(Written, OfABoxAsDxfHaveItsSizeAndLayers) {
    folder_.write("plate.obj", ObjText(Box({0, 0, 0}, {100, 60, 10})));
    ASSERT_EQ(run("plate.obj --view front --unit mm --scale 1:1 --style silhouette.color=#f00 -o "
                  "a.dxf")
                  .exitCode,
              0);
    EXPECT_EQ(
        AskDxf(folder_.path("a.dxf"),
               "from ezdxf import bbox\n"
               "s = bbox.extents(doc.modelspace()).size\n"
               "print([e.dxftype() for e in doc.modelspace()], round(s.x, 3), round(s.y, 3))\n"
               "print(doc.layers.get('silhouette').rgb)"),
        "['LWPOLYLINE'] 100.0 60.0\n(255, 0, 0)\n");
}

TEST_F(Written, AsJsonTellOfHiddenPartsExactly) {
    // The wall hides the right half of the cube, which has one edge of each direction behind it.
    folder_.write(
        "scene.obj",
        Objects({{"cube", Cube()}, {"wall", Quad({0, -9, 5}, {9, -9, 5}, {9, 9, 5}, {0, 9, 5})}}));
    ASSERT_EQ(run("scene.obj --view front -o a.json").exitCode, 0);
    const Json drawing = Json::parse(bytes("a.json"));
    EXPECT_EQ(drawing["objects"], (Json{"cube", "wall"}));
    EXPECT_EQ(drawing["page"], (Json{{"width", 210}, {"height", 297}, {"unit", "mm"}}));
    std::map<std::string, std::size_t> shares;
    for (const Json& segment : drawing["segments"]) {
        double hidden = 0.0;
        for (const Json& range : segment["hidden"]) {
            const auto value = [](const Json& fraction) {
                EXPECT_GT(fraction[1].get<long>(), 0);
                return fraction[0].get<double>() / fraction[1].get<double>();
            };
            EXPECT_LT(value(range[0]), value(range[1]));
            hidden += value(range[1]) - value(range[0]);
        }
        const std::string share = hidden < 1e-4                    ? "none"
                                  : hidden > 1.0 - 1e-4            ? "all"
                                  : std::fabs(hidden - 0.5) < 1e-4 ? "half"
                                                                   : std::to_string(hidden);
        ++shares[drawing["objects"][segment["object"].get<std::size_t>()].get<std::string>() + " " +
                 share];
    }
    // Of the cube's front, one edge is free and two are cut; all else is behind it or the wall.
    EXPECT_EQ(shares, (std::map<std::string, std::size_t>{
                          {"cube none", 1}, {"cube half", 2}, {"cube all", 9}, {"wall none", 4}}));
}

TEST_F(Written, AsJsonTellOfEachVisibleLineOnce) {
    // Two cubes side by side show one edge twice and four end to end; of the wall behind them, one
    // side lies on theirs.
    folder_.write("scene.obj",
                  Objects({{"a", Box({0, 0, 0}, {1, 1, 1})},
                           {"b", Box({1, 0, 0}, {2, 1, 1})},
                           {"wall", Quad({0, 0, 0}, {3, 0, 0}, {3, 1, 0}, {0, 1, 0})}}));
    const std::string options = "scene.obj --view front --unit mm --scale 10:1";
    ASSERT_EQ(run(options + " -o a.json").exitCode, 0);
    const Json drawing = Json::parse(bytes("a.json"));
    double length = 0.0;
    double repeated = 0.0;
    for (const Json& segment : drawing["segments"]) {
        if (segment["paper"].is_null()) {
            continue;
        }
        const auto along = [&](std::size_t axis) {
            return segment["paper"][1][axis].get<double>() -
                   segment["paper"][0][axis].get<double>();
        };
        const double whole = std::hypot(along(0), along(1));
        EXPECT_GT(whole, 0.001) << "none of no length";
        double share = 1.0;
        for (const Json& range : segment["hidden"]) {
            share -= range[1][0].get<double>() / range[1][1].get<double>() -
                     range[0][0].get<double>() / range[0][1].get<double>();
        }
        for (const Json& range : segment["repeated"]) {
            share -= range[1].get<double>() - range[0].get<double>();
            repeated += whole * (range[1].get<double>() - range[0].get<double>());
        }
        length += whole * share;
    }
    // Three edges upright and one at the wall's end, two of 20 mm and two of 10 mm more.
    EXPECT_NEAR(length, 4 * 10.0 + 2 * 30.0, 0.01);
    EXPECT_GT(repeated, 9.9);
    double drawn = 0.0;
    for (const PageLine& line : LinesOf(DrawIn(folder_, options))) {
        drawn += std::hypot(line[2] - line[0], line[3] - line[1]) / 100.0;
    }
    EXPECT_NEAR(length, drawn, 0.01);
}

TEST_F(Written, OfSeveralViewsOnOneSheetAreInLine) {
    folder_.write("plate.obj", ObjText(Box({0, 0, 0}, {100, 50, 30})));
    const auto horizontal = [&](const std::string& arrangement) {
        // Left, right and height on the page of each horizontal line, from above.
        std::vector<std::array<long, 3>> found;
        for (const PageLine& line :
             LinesOf(DrawIn(folder_, "plate.obj --sheet front,top --page A3 --unit mm --scale 1:1 "
                                     "--arrangement " +
                                         arrangement))) {
            if (line[1] == line[3]) {
                found.push_back({line[1], line[0], line[2]});
            }
        }
        std::sort(found.begin(), found.end());
        return found;
    };
    const auto check = [](const std::vector<std::array<long, 3>>& lines, long first, long second) {
        ASSERT_EQ(lines.size(), 4U);
        EXPECT_NEAR(static_cast<double>(lines[1][0] - lines[0][0]), static_cast<double>(first),
                    1.0);
        EXPECT_NEAR(static_cast<double>(lines[3][0] - lines[2][0]), static_cast<double>(second),
                    1.0);
        for (const auto& line : lines) {
            EXPECT_NEAR(static_cast<double>(line[1]), static_cast<double>(lines[0][1]), 1.0);
            EXPECT_NEAR(static_cast<double>(line[2] - line[1]), 10000.0, 1.0);
        }
    };
    check(horizontal("first-angle"), 5000, 3000);
    check(horizontal("third-angle"), 3000, 5000);
}
/// @}

/// @name Options from files, and what is said
/// @{

TEST_F(Drawn, IsTheSameByOptionsFromAFile) {
    folder_.write("a.toml", "page = \"A5\"\nlandscape = true\nmargin = \"15mm\"\nhidden = true\n"
                            "lines = [\"silhouette\", \"crease\"]\nview = \"front\"\n"
                            "[style.crease]\nwidth = \"0.3mm\"\n");
    folder_.write("a.json", R"({"page": "A5", "landscape": true, "margin": 15, "hidden": true,
        "lines": ["silhouette", "crease"], "view": "front", "style": {"crease": {"width": "0.3mm"}}})");
    const std::string options =
        "--page A5 --landscape --margin 15 --hidden --lines silhouette,crease "
        "--style crease.width=0.3 ";
    for (const std::string file : {"a.toml", "a.json"}) {
        EXPECT_EQ(draw("cube.obj --config " + file), draw("cube.obj --view front " + options));
        EXPECT_EQ(draw("cube.obj --view top --config " + file),
                  draw("cube.obj --view top " + options))
            << "the command line wins";
    }
}

TEST_F(Drawn, IsToldOfAsMuchAsAskedFor) {
    EXPECT_EQ(run("cube.obj -o a.svg").out, "a.svg: 210 x 297 mm, 3 lines\n");
    const RunResult quiet = run("cube.obj --scale 500:1 -q -o a.svg");
    EXPECT_EQ(quiet.exitCode, 0);
    EXPECT_EQ(quiet.out + quiet.err, "") << "not even warnings";
    EXPECT_NE(run("cube.obj --quiet -o none/a.svg").err, "") << "but errors";
    const RunResult verbose = run("cube.obj -v -o a.svg --view front --scale 5:1 --unit mm");
    EXPECT_EQ(verbose.out, "a.svg: 210 x 297 mm, 1 line\n");
    EXPECT_EQ(verbose.err,
              "kxcontour: cube.obj: 12 triangles in 1 part, one unit is 1 mm\nkxcontour: a.svg: 4 "
              "pieces found, 4 after removing duplicates, 1 path after joining, 0 short paths left "
              "out\nkxcontour: a.svg: scale 5:1\n");
}

TEST_F(Drawn, IsSummedUpAsJson) {
    const RunResult run = this->run("cube.obj --json --view front --scale 5:1 --unit mm -o a.svg");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Json::parse(run.out), (Json{{"output", "a.svg"},
                                          {"page", {{"width", 210}, {"height", 297}}},
                                          {"paths", 1},
                                          {"lines", 4},
                                          {"scale", 5.0},
                                          {"fits", true}}));
    const Json large = Json::parse(this->run("cube.obj --json --scale 200:1 -o a.svg").out);
    EXPECT_EQ(large["fits"], false);
    const Json far =
        Json::parse(this->run("cube.obj --json --projection perspective -o a.svg").out);
    EXPECT_TRUE(far["scale"].is_null());
}

TEST_F(Drawn, IsToldOfInColoursOnATerminalUnlessThatIsNotWanted) {
    Surroundings around;
    around.folder = folder_.path("");
    around.environment = {"TERM=xterm", "NO_COLOR="};
    const auto shown = [&] {
        return tool_test::RunTool(Words("cube.obj --scale 1:1 -o a.svg"), around).err;
    };
    const std::string yellow = "\033[33m";
    EXPECT_EQ(shown().find(yellow), std::string::npos) << "no terminal";
    around.terminal = true;
    EXPECT_NE(shown().find(yellow), std::string::npos);
    EXPECT_NE(shown().find("100 %, export"), std::string::npos) << "and a progress bar";
    around.environment = {"TERM=xterm", "NO_COLOR=1"};
    EXPECT_EQ(shown().find(yellow), std::string::npos);
    EXPECT_NE(shown().find("warning: cube.obj"), std::string::npos);
    around.environment = {"TERM=dumb", "NO_COLOR="};
    EXPECT_EQ(shown().find(yellow), std::string::npos);
}

TEST_F(Drawn, HasOneProgressBarFromReadingToTheEnd) {
    Surroundings around;
    around.folder = folder_.path("");
    around.terminal = true;
    const std::string shown =
        tool_test::RunTool(Words("cube.obj --sheet front,top,iso -o a.svg"), around).err;
    const std::regex update("\r([0-9]+) %, ([a-z]+)");
    std::vector<int> percents;
    std::set<std::string> stages;
    for (std::sregex_iterator i(shown.begin(), shown.end(), update), end; i != end; ++i) {
        percents.push_back(std::stoi((*i)[1]));
        stages.insert((*i)[2]);
    }
    EXPECT_EQ(stages, (std::set<std::string>{"read", "prepare", "bake", "features", "export"}));
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end())) << shown;
    ASSERT_FALSE(percents.empty());
    EXPECT_EQ(percents.front(), 0);
    EXPECT_EQ(percents.back(), 100);
    EXPECT_EQ(std::count(percents.begin(), percents.end(), 100), 1) << shown;
}

/// Writes decimals with a comma, as many locales do.
class CommaNumbers : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(Drawn, IsTheSameInEveryLocale) {
    const std::string options = " --margin 7.5 --style all.width=0.35 --view front";
    const std::vector<std::string> outputs{"a.svg --arcs --layers type", "a.pdf", "a.png --dpi 50",
                                           "a.dxf", "a.json"};
    const std::string cube = folder_.path("cube.obj");
    for (const std::string& output : outputs) {
        const std::string name = Words(output).front();
        std::string line = "cube.obj" + options;
        ASSERT_EQ(run(line.append(" -o ").append(output)).exitCode, 0);
        const std::locale before =
            std::locale::global(std::locale(std::locale(), new CommaNumbers));
        std::ostringstream out;
        std::ostringstream log;
        const auto command = kxcontour::ParseCommandLine(
            Words(cube + options + " --json -o " + folder_.path("comma-" + output)), out);
        kxcontour::Execute(*command, out, log);
        std::locale::global(before);
        EXPECT_EQ(bytes("comma-" + name), bytes(name)) << output;
        EXPECT_GT(Json::parse(out.str())["scale"].get<double>(), 1.0);
    }
}
/// @}

} // namespace
