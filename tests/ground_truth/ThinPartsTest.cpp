// Thin parts in detail views in which their thickness shows: mending cracks joins nothing that was
// apart. What is right is the drawing of the sound part without any mending, once it has both of
// its outlines.
//
//   build/release/tests/ground_truth/ground_truth_tests --gtest_filter='*ThinParts*'
//     prints a row for each; CTR_KEEP_DRAWINGS=FOLDER keeps files and drawings.
#include "FileDrawing.h"
#include "WornModel.h"
#include "tool/ModelText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using ground_truth::FileDrawing;
using ground_truth::FlatLine;
using ground_truth::Solid;

constexpr double kScale = 20.0;
constexpr double kMiddle = 148.5; ///< Of the page's height.
constexpr double kRipples = 0.1;  ///< Twice what cracks move a point on paper, and more.

/// A hundred units wide, of cells that are all divided the same way.
Solid Sheet(double height, bool facesUp) {
    constexpr std::size_t kCells = 10;
    constexpr double kSide = 10.0;
    Solid sheet;
    for (std::size_t row = 0; row <= kCells; ++row) {
        for (std::size_t column = 0; column <= kCells; ++column) {
            sheet.vertices.emplace_back(kSide * static_cast<double>(column),
                                        kSide * static_cast<double>(row), height);
        }
    }
    for (std::size_t row = 0; row < kCells; ++row) {
        for (std::size_t column = 0; column < kCells; ++column) {
            const std::size_t a = row * (kCells + 1) + column;
            const std::size_t b = a + 1;
            const std::size_t c = b + kCells + 1;
            const std::size_t d = c - 1;
            sheet.triangles.push_back(facesUp ? std::array{a, b, c} : std::array{a, c, b});
            sheet.triangles.push_back(facesUp ? std::array{a, c, d} : std::array{a, d, c});
        }
    }
    return sheet;
}

Solid Both(Solid one, const Solid& other) {
    const std::size_t first = one.vertices.size();
    one.vertices.insert(one.vertices.end(), other.vertices.begin(), other.vertices.end());
    for (const auto& [a, b, c] : other.triangles) {
        one.triangles.push_back({first + a, first + b, first + c});
    }
    return one;
}

/// A tenth of a unit thick at one end and nothing at the other, in strips that narrow towards it.
Solid Wedge() {
    ground_truth::Polygon outline;
    const std::vector<double> places{10, 20, 40, 70, 100};
    outline.push_back({0, 0});
    for (const double x : places) {
        outline.push_back({x, 0});
    }
    for (auto x = places.rbegin(); x != places.rend(); ++x) {
        outline.push_back({*x, *x / 1000.0});
    }
    return ground_truth::Extruded(outline, 50);
}

/// A part, where to look at it, and how far apart two lines are there that run across the page.
struct ThinPart {
    const char* name;
    Solid solid;
    std::string side;   ///< Level view of its thickness.
    std::string detail; ///< Oblique view of a corner.
    double thickness;
};

std::string Looking(const std::string& direction, const std::string& at) {
    return direction + " --camera-focal-point " + at;
}

const std::vector<ThinPart>& Parts() {
    const std::string front = "--azimuth 0 --elevation 0";
    const std::string oblique = "--azimuth 33 --elevation 21";
    static const std::vector<ThinPart> parts{
        {"plate", ground_truth::Extruded({{0, 0}, {100, 0}, {100, 100}, {0, 100}}, 0.1),
         Looking(front, "50,0,0.05"), Looking(oblique, "100,0,0.05"), 0.1},
        {"plate_of_cells", Both(Sheet(0.1, true), Sheet(0.0, false)), Looking(front, "50,0,0.05"),
         Looking(oblique, "100,0,0.05"), 0.1},
        {"two_sheets", Both(Sheet(0.05, true), Sheet(0.0, true)), Looking(front, "50,0,0.025"),
         Looking(oblique, "100,0,0.025"), 0.05},
        // The end of a tube seen along its axis: its wall crosses the page at the lowest point,
        // where a side of the polygon is level.
        {"tube", ground_truth::Revolved({{49.9, 0}, {50, 0}, {50, 30}, {49.9, 30}}, 98),
         Looking("--view top", "0,-49.92,30"), Looking(oblique, "0,-49.95,30"), 0.1},
        // The front is the side with the sharp edge on its left.
        {"wedge", ground_truth::Extruded({{0, 0}, {100, 0}, {100, 0.1}}, 50),
         Looking("--view top", "95,0.0475,50"), Looking(oblique, "100,0.05,50"), 0.095},
        {"wedge_of_strips", Wedge(), Looking("--view top", "95,0.0475,50"),
         Looking(oblique, "10,0,50"), 0.095},
    };
    return parts;
}

/// Where lines that run across the page cross its middle column, from the top. Lines that are near
/// each other are one: ripples of a cracked surface that is seen edge-on.
std::vector<double> LevelLines(const FileDrawing& drawing) {
    constexpr double kColumn = 105.3;
    std::vector<double> heights;
    for (const FlatLine& line : drawing.lines()) {
        const auto [left, right] = std::minmax(line.a.x, line.b.x);
        if (left <= kColumn && kColumn < right &&
            std::abs(line.b.y - line.a.y) < 0.1 * (right - left)) {
            const double share = (kColumn - line.a.x) / (line.b.x - line.a.x);
            heights.push_back(line.a.y + share * (line.b.y - line.a.y));
        }
    }
    std::sort(heights.begin(), heights.end());
    const auto near = [](double a, double b) { return b - a < kRipples; };
    heights.erase(std::unique(heights.begin(), heights.end(), near), heights.end());
    return heights;
}

struct Crack {
    const char* name;
    double part; ///< Of the size; 0 for a sound surface.
};
constexpr std::array<Crack, 4> kCracks{
    {{"sound", 0.0}, {"cracked_at_1e7", 1e-7}, {"cracked_at_1e6", 1e-6}, {"cracked_at_1e5", 1e-5}}};

class ThinParts : public testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {};

std::string
NameOfThinPart(const testing::TestParamInfo<std::tuple<std::size_t, std::size_t>>& info) {
    return std::string(Parts()[std::get<0>(info.param)].name) + "_" +
           kCracks[std::get<1>(info.param)].name;
}

TEST_P(ThinParts, KeepBothOutlines) {
    const ThinPart& part = Parts()[std::get<0>(GetParam())];
    const Crack& crack = kCracks[std::get<1>(GetParam())];
    const tool_test::TemporaryFolder folder;
    folder.write("unmended.obj", ObjText(part.solid));
    folder.write("mended.stl", StlBytes(Cracked(part.solid, crack.part, 1)));
    const std::string scale = " --up z --unit mm --scale 20:1";

    const FileDrawing side(folder, "mended.stl", part.side + scale);
    const std::vector<double> heights = LevelLines(side);
    ASSERT_EQ(heights.size(), 2U) << testing::PrintToString(heights);
    EXPECT_NEAR(heights[1] - heights[0], kScale * part.thickness, kRipples);
    EXPECT_NEAR((heights[0] + heights[1]) / 2.0, kMiddle, 0.7);

    const FileDrawing detail(folder, "mended.stl", part.detail + scale);
    const FileDrawing right(folder, "unmended.obj", part.detail + scale + " --weld off");
    const std::string name = std::string(part.name) + "_" + crack.name;
    ground_truth::KeepFiles(folder, name);
    constexpr double kLargestDistance = 0.1;
    const ground_truth::Difference difference(right, detail, kLargestDistance);
    PrintRow(name, right, detail, difference);
    EXPECT_EQ(difference.missing, 0.0) << difference.text;
    EXPECT_EQ(difference.extra, 0.0) << difference.text;
}

INSTANTIATE_TEST_SUITE_P(OfEveryKind,
                         ThinParts,
                         testing::Combine(testing::Range(std::size_t{0}, std::size_t{6}),
                                          testing::Range(std::size_t{0}, kCracks.size())),
                         NameOfThinPart);

} // namespace
