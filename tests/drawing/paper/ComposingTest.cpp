// Layers, styles and the order of things.
#include "drawing/paper/Composing.h"

#include "drawing/paper/PaperShapes.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

using kxcontour::Compose;
using kxcontour::kNoObject;
using kxcontour::LineKind;
using kxcontour::PageLine;
using kxcontour::PageLines;
using kxcontour::StrokeStyle;
using kxdrawing::Drawing;
using kxdrawing::Layer;
using kxdrawing::Layering;
using kxdrawing::LineOptions;

/// A row of lines at a height of its own, that meets no other.
std::vector<PageLine> Row(double y, int count = 3) {
    std::vector<PageLine> lines;
    lines.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        lines.push_back({{static_cast<double>(i), y}, {i + 1.0, y}});
    }
    return lines;
}

kxdrawing::Drawing ComposeLayers(const PageLines& lines, Layering layering) {
    LineOptions options;
    options.layering = layering;
    return Compose(lines, options);
}

std::vector<std::string> NamesOf(const kxdrawing::Drawing& drawing) {
    std::vector<std::string> names;
    for (const kxdrawing::Layer& layer : drawing.layers) {
        names.push_back(layer.name);
    }
    return names;
}

using Names = std::vector<std::string>;

std::size_t CountPaths(const kxdrawing::Drawing& drawing) {
    std::size_t count = 0;
    for (const kxdrawing::Layer& layer : drawing.layers) {
        for (const kxdrawing::PathGroup& group : layer.groups) {
            count += group.paths.size();
        }
    }
    return count;
}

PageLines AllKinds() {
    PageLines lines;
    lines.objects = {"wheel", "axle"};
    lines.groups = {{LineKind::Silhouette, false, 0, Row(1)},
                    {LineKind::Intersection, false, kNoObject, Row(2)},
                    {LineKind::Crease, true, 1, Row(3)},
                    {LineKind::Crease, false, 1, Row(4)},
                    {LineKind::Silhouette, true, 0, Row(5)}};
    return lines;
}

TEST(Compose, WithoutLayersThereIsAGroupForEveryStyleHiddenOnesFirst) {
    const kxdrawing::Drawing drawing = ComposeLayers(AllKinds(), Layering::None);
    ASSERT_EQ(NamesOf(drawing), Names{""});
    const auto& groups = drawing.layers[0].groups;
    ASSERT_EQ(groups.size(), 3U);
    EXPECT_TRUE(groups[0].hidden);
    EXPECT_EQ(groups[0].kind, LineKind::Crease);
    EXPECT_EQ(groups[0].style, kxcontour::StyleSheet().hidden);
    EXPECT_EQ(groups[0].paths.size(), 2U);
    EXPECT_FALSE(groups[1].hidden);
    EXPECT_EQ(groups[1].kind, LineKind::Crease);
    EXPECT_EQ(groups[1].paths.size(), 1U);
    // Silhouettes and intersections look alike.
    EXPECT_FALSE(groups[2].hidden);
    EXPECT_EQ(groups[2].kind, LineKind::Silhouette);
    EXPECT_EQ(groups[2].paths.size(), 2U);
}

TEST(Compose, LayersOfTypesComeFromTheBottomUp) {
    const kxdrawing::Drawing drawing = ComposeLayers(AllKinds(), Layering::Type);
    EXPECT_EQ(NamesOf(drawing), (Names{"hidden", "crease", "silhouette", "intersection"}));
    for (const kxdrawing::Layer& layer : drawing.layers) {
        EXPECT_EQ(layer.groups.size(), 1U);
    }
    EXPECT_EQ(drawing.layers[0].groups[0].paths.size(), 2U);
    PageLines some = AllKinds();
    some.groups.erase(some.groups.begin() + 2, some.groups.end());
    EXPECT_EQ(NamesOf(ComposeLayers(some, Layering::Type)), (Names{"silhouette", "intersection"}));
}

TEST(Compose, LayersOfObjectsHoldAllThatIsTheirs) {
    const kxdrawing::Drawing drawing = ComposeLayers(AllKinds(), Layering::Object);
    ASSERT_EQ(NamesOf(drawing), (Names{"wheel", "axle", "intersections"}));
    ASSERT_EQ(drawing.layers[0].groups.size(), 2U);
    EXPECT_TRUE(drawing.layers[0].groups[0].hidden);
    EXPECT_FALSE(drawing.layers[0].groups[1].hidden);
    ASSERT_EQ(drawing.layers[1].groups.size(), 2U);
    ASSERT_EQ(drawing.layers[2].groups.size(), 1U);
}

TEST(Compose, NamesOfLayersAreUnique) {
    PageLines lines;
    lines.objects = {"part", "", "part", "part (2)", "intersections", "part", "", "unseen"};
    for (std::size_t i = 0; i < 7; ++i) {
        lines.groups.push_back({LineKind::Crease, false, i, Row(static_cast<double>(i))});
    }
    lines.groups.push_back({LineKind::Intersection, false, kNoObject, Row(9)});
    EXPECT_EQ(NamesOf(ComposeLayers(lines, Layering::Object)),
              (Names{"part", "unnamed", "part (2)", "part (2) (2)", "intersections", "part (3)",
                     "unnamed (2)", "intersections (2)"}));
}

TEST(Compose, LinesOfOneStyleAreJoinedOverFamiliesAndObjects) {
    PageLines lines;
    lines.objects = {"a", "b"};
    lines.groups = {{LineKind::Silhouette, false, 0, {{{0, 0}, {1, 0}}}},
                    {LineKind::Intersection, false, kNoObject, {{{1, 0}, {2, 0}}}},
                    {LineKind::Silhouette, false, 1, {{{2, 0}, {3, 0}}}}};
    const kxdrawing::Drawing joined = ComposeLayers(lines, Layering::None);
    EXPECT_EQ(CountPaths(joined), 1U);
    EXPECT_EQ(joined.layers[0].groups[0].paths[0].points.size(), 4U);
    EXPECT_EQ(CountPaths(ComposeLayers(lines, Layering::Object)), 3U);
    EXPECT_EQ(CountPaths(ComposeLayers(lines, Layering::Type)), 3U);
}

TEST(Compose, HiddenAndVisibleLinesStayApartEvenIfTheyLookAlike) {
    PageLines lines;
    lines.groups = {{LineKind::Crease, false, kNoObject, {{{0, 0}, {1, 0}}}},
                    {LineKind::Crease, true, kNoObject, {{{1, 0}, {2, 0}}}}};
    LineOptions options;
    options.styles.hidden = options.styles.crease;
    const kxdrawing::Drawing drawing = Compose(lines, options);
    ASSERT_EQ(drawing.layers.size(), 1U);
    ASSERT_EQ(drawing.layers[0].groups.size(), 2U);
    EXPECT_TRUE(drawing.layers[0].groups[0].hidden);
    EXPECT_FALSE(drawing.layers[0].groups[1].hidden);
}

TEST(Compose, ReportsWhatCameInWhatWasShownTwiceAndWhatWasTooShort) {
    PageLines lines;
    lines.groups = {{LineKind::Silhouette, false, kNoObject, Row(0, 4)},
                    {LineKind::Crease, false, kNoObject, Row(0, 4)},
                    {LineKind::Crease, false, kNoObject, {{{0, 5}, {0.4, 5}}}},
                    {LineKind::Crease, false, kNoObject, {{{0, 6}, {0.5, 6}}}}};
    LineOptions options;
    options.minLength = 0.5;
    const kxdrawing::Drawing drawing = Compose(lines, options);
    EXPECT_EQ(drawing.statistics.lines, 10U);
    EXPECT_EQ(drawing.statistics.shownOnce, 6U);
    EXPECT_EQ(drawing.statistics.paths, 2U);
    EXPECT_EQ(drawing.statistics.shortPaths, 1U);
    EXPECT_EQ(CountPaths(drawing), 2U);
}

/// A closed square; its path is four sides long.
std::vector<PageLine> Square(double side) {
    return {{{0, 0}, {side, 0}},
            {{side, 0}, {side, side}},
            {{side, side}, {0, side}},
            {{0, side}, {0, 0}}};
}

std::size_t PathsOf(std::vector<PageLine> lines, double minLength) {
    PageLines all;
    all.groups.push_back({LineKind::Crease, false, kNoObject, std::move(lines)});
    LineOptions options;
    options.minLength = minLength;
    return CountPaths(Compose(all, options));
}

TEST(Compose, ShortPathsAreOmittedUnlessDisabled) {
    EXPECT_EQ(LineOptions().minLength, 0.02);
    EXPECT_EQ(PathsOf({{{5, 5}, {5.019, 5}}}, 0.02), 0U);
    EXPECT_EQ(PathsOf({{{5, 5}, {5.021, 5}}}, 0.02), 1U);
    EXPECT_EQ(PathsOf({{{5, 5}, {5.019, 5}}}, 0.0), 1U);
}

TEST(Compose, AClosedPathCountsByItsLength) {
    EXPECT_EQ(PathsOf(Square(0.3), 1.1), 1U);
    EXPECT_EQ(PathsOf(Square(0.3), 1.3), 0U);
}

TEST(Compose, DotsAreNeverDrawn) {
    EXPECT_EQ(PathsOf({{{5, 5}, {5, 5}}}, 0.0), 0U);
    EXPECT_EQ(PathsOf({{{5, 5}, {5.003, 5.003}}}, 0.0), 0U) << "writers might round it to one";
    EXPECT_EQ(PathsOf(Square(0.003), 0.0), 0U) << "nor is a closed path that is one";
    EXPECT_EQ(PathsOf({{{5, 5}, {5.005, 5}}}, 0.0), 1U);
}

TEST(Compose, ADangleNeitherCutsNorBendsAPath) {
    std::vector<PageLine> lines = Row(5, 2);
    lines.push_back({{1, 5}, {1.002, 5.015}});
    EXPECT_EQ(PathsOf(lines, 0.02), 1U);
    EXPECT_EQ(PathsOf(lines, 0.0), 2U);
    lines.back().b.y = 5.5;
    EXPECT_EQ(PathsOf(lines, 0.02), 2U);
    EXPECT_EQ(PathsOf(lines, 0.6), 1U) << "a path of its own that is too short";
}

TEST(Compose, LayersWithoutAPathAreLeftOut) {
    PageLines lines = AllKinds();
    lines.groups[3].lines = {{{0, 4}, {0.1, 4}}};
    LineOptions options;
    options.layering = Layering::Type;
    options.minLength = 0.5;
    EXPECT_EQ(NamesOf(Compose(lines, options)), (Names{"hidden", "silhouette", "intersection"}));
    EXPECT_TRUE(Compose({}, options).layers.empty());
    EXPECT_EQ(Compose({}, options).statistics.lines, 0U);
}

TEST(Compose, ArcsAreFoundOnlyWhereAskedFor) {
    PageLines lines;
    lines.groups.push_back({});
    constexpr int kChords = 200;
    for (int i = 0; i < kChords; ++i) {
        const auto at = [](int k) {
            const double angle = 2.0 * std::numbers::pi * (k % kChords) / kChords;
            return kxcontour::Point{50 + 20 * std::cos(angle), 50 + 20 * std::sin(angle)};
        };
        lines.groups[0].lines.push_back({at(i), at(i + 1)});
    }
    LineOptions options;
    EXPECT_TRUE(Compose(lines, options).layers[0].groups[0].paths[0].arcs.empty());
    options.arcTolerance = 0.01;
    const kxdrawing::Drawing drawing = Compose(lines, options);
    ASSERT_EQ(drawing.layers[0].groups[0].paths[0].arcs.size(), 1U);
    EXPECT_NEAR(drawing.layers[0].groups[0].paths[0].arcs[0].radiusX, 20.0, 0.01);
}

} // namespace
