// DXF files read back by ezdxf: clean, in millimetres, with the entities, layers and lengths that
// the drawing has.
#include "ModelText.h"
#include "SvgFile.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <sstream>

namespace {

using tool_test::RunResult;
using tool_test::SvgFile;
using tool_test::SvgGroup;
using tool_test::SvgPath;
using tool_test::TemporaryFolder;

using Arguments = std::vector<std::string>;
using Words = std::vector<std::string>;

const std::string kEngine =
    std::string(ASSIMP_MODELS) + "/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";
const std::string kBracket = std::string(COOKBOOK_FOLDER) + "/models/bracket.obj";

/// Draws into a file.
void Draw(const std::string& output, Arguments arguments) {
    arguments.insert(arguments.end(), {"--quiet", "-o", output});
    const RunResult run = tool_test::Run(KXCONTOUR_BINARY, arguments);
    ASSERT_EQ(run.exitCode, 0) << run.err;
}

/// What read-dxf says: lines of words.
class Reading {
public:
    explicit Reading(const std::string& file) {
        const RunResult run = tool_test::Run(READ_DXF, {file});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        std::istringstream text(run.out);
        for (std::string line; std::getline(text, line);) {
            std::istringstream words(line);
            lines_.emplace_back();
            for (std::string word; std::getline(words, word, '\t');) {
                lines_.back().push_back(word);
            }
        }
    }

    /// What follows a word in all lines that begin with it.
    std::vector<Words> after(const std::string& first) const {
        std::vector<Words> found;
        for (const Words& line : lines_) {
            if (line.front() == first) {
                found.emplace_back(line.begin() + 1, line.end());
            }
        }
        return found;
    }

    std::vector<double> box() const {
        const std::vector<Words> boxes = after("box");
        std::vector<double> numbers;
        for (const std::string& word : boxes.at(0)) {
            numbers.push_back(std::stod(word));
        }
        return numbers;
    }

    std::map<std::string, double> lengths() const {
        std::map<std::string, double> result;
        for (const Words& words : after("length")) {
            result[words[0]] = std::stod(words[1]);
        }
        return result;
    }

private:
    std::vector<Words> lines_;
};

/// By layer.
std::map<std::string, double> LengthsOf(const SvgFile& svg) {
    std::map<std::string, double> lengths;
    for (const SvgGroup& group : svg.groups) {
        for (const SvgPath& path : group.paths) {
            for (std::size_t i = 1; i < path.size(); ++i) {
                lengths[group.layer] +=
                    std::hypot(path[i].x - path[i - 1].x, path[i].y - path[i - 1].y);
            }
        }
    }
    return lengths;
}

void ExpectClean(const Reading& dxf) {
    EXPECT_EQ(dxf.after("faults"), (std::vector<Words>{{"0", "0"}}));
    EXPECT_EQ(dxf.after("unit"), (std::vector<Words>{{"mm"}}));
}

void ExpectBox(const Reading& dxf, const std::vector<double>& expected) {
    ASSERT_EQ(dxf.box().size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(dxf.box()[i], expected[i], 0.005) << i;
    }
}

/// Circles where the model has them, in millimetres from the lower left corner of the page.
void ExpectNumbers(const std::vector<Words>& found,
                   const std::vector<std::vector<double>>& expected,
                   double tolerance) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(found[i].size(), expected[i].size());
        for (std::size_t k = 0; k < expected[i].size(); ++k) {
            EXPECT_NEAR(std::stod(found[i][k]), expected[i][k], tolerance) << i << ", " << k;
        }
    }
}

/// The bracket's base is 240 x 120 mm; its ring has the radii 45 and 30, 80 mm above the base.
TEST(Ezdxf, FindsTheCirclesThatAreSeenFaceOn) {
    const TemporaryFolder folder;
    const std::string file = folder.path("front.dxf");
    Draw(file, {kBracket, "--view", "front", "--scale", "1:2"});
    const Reading dxf(file);
    ExpectClean(dxf);
    ExpectBox(dxf, {45.0, 113.5, 165.0, 183.5});
    ExpectNumbers(dxf.after("circle"), {{105.0, 153.5, 22.5}, {105.0, 153.5, 15.0}}, 0.002);
    EXPECT_TRUE(dxf.after("arc").empty());
    EXPECT_EQ(dxf.after("layer"),
              (std::vector<Words>{{"intersection", "Continuous"}, {"silhouette", "Continuous"}}));
}

/// The side of the rib is 10 mm from the middle of a hole with the radius 12, and hides what lies
/// beyond. What is seen of the circle and what is hidden are arcs that make a whole together.
TEST(Ezdxf, FindsArcsWhereCirclesAreSeenInPart) {
    const TemporaryFolder folder;
    const std::string file = folder.path("top.dxf");
    Draw(file, {kBracket, "--view", "top", "--scale", "1:2", "--hidden"});
    const Reading dxf(file);
    ExpectClean(dxf);
    ExpectBox(dxf, {45.0, 118.5, 165.0, 178.5});
    ExpectNumbers(dxf.after("circle"), {{135.0, 148.5, 6.0}}, 0.002);
    const double covered = std::acos(5.0 / 6.0) * 180.0 / 3.14159265358979;
    const std::vector<Words> arcs = dxf.after("arc");
    // Few lines make the hidden part: its circle may differ, within the tolerance of arcs.
    ExpectNumbers(arcs,
                  {{75.0, 148.5, 6.0, 360.0 - covered, covered},
                   {75.0, 148.5, 6.0, covered, 360.0 - covered}},
                  0.05);
    EXPECT_EQ(dxf.after("layer"), (std::vector<Words>{{"hidden", "DASHED"},
                                                      {"intersection", "Continuous"},
                                                      {"silhouette", "Continuous"}}));
}

/// 743.384 x 273.013 mm at half the size, and as much line on every layer as the SVG has.
TEST(Ezdxf, FindsAllLinesOfAnEngineAtScale) {
    const TemporaryFolder folder;
    const Arguments arguments{kEngine,   "--view", "front",  "--unit", "mm",
                              "--scale", "1:2",    "--page", "A3",     "--landscape"};
    Arguments layered = arguments;
    layered.insert(layered.end(), {"--layers", "type"});
    Draw(folder.path("engine.dxf"), arguments);
    Draw(folder.path("engine.svg"), layered);
    const Reading dxf(folder.path("engine.dxf"));
    ExpectClean(dxf);
    ExpectBox(dxf,
              {210.0 - 743.384 / 4, 148.5 - 273.013 / 4, 210.0 + 743.384 / 4, 148.5 + 273.013 / 4});
    const std::map<std::string, double> lengths = dxf.lengths();
    const std::map<std::string, double> expected =
        LengthsOf(tool_test::ReadSvg(folder.path("engine.svg")));
    ASSERT_EQ(lengths.size(), 3U);
    for (const auto& [layer, length] : expected) {
        ASSERT_EQ(lengths.count(layer), 1U) << layer;
        // Numbers of an SVG have six digits; an arc may be a bit longer than its lines.
        EXPECT_NEAR(lengths.at(layer), length, 0.02 + length * 1e-3) << layer;
    }
}

TEST(Ezdxf, FindsOnlyTheEntitiesThatCadProgramsEdit) {
    const TemporaryFolder folder;
    const std::string file = folder.path("engine.dxf");
    Draw(file, {kEngine, "--unit", "mm", "--page", "A3"});
    const Reading dxf(file);
    ExpectClean(dxf);
    std::set<std::string> kinds;
    for (const Words& words : dxf.after("entities")) {
        kinds.insert(words[1]);
    }
    EXPECT_EQ(kinds, (std::set<std::string>{"ARC", "ELLIPSE", "LINE", "LWPOLYLINE"}));
}

TEST(Ezdxf, FindsALayerForEachObject) {
    const TemporaryFolder folder;
    const std::string file = folder.path("bracket.dxf");
    Draw(file, {kBracket, "--layers", "object"});
    const Reading dxf(file);
    ExpectClean(dxf);
    EXPECT_EQ(dxf.after("layer"), (std::vector<Words>{{"base", "Continuous"},
                                                      {"boss", "Continuous"},
                                                      {"intersections", "Continuous"},
                                                      {"rib", "Continuous"},
                                                      {"upright", "Continuous"}}));
}

} // namespace
