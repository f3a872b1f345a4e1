// Rims that alternate, and those that rightly do not.
#include "drawing/paper/Weights.h"

#include "drawing/paper/PaperShapes.h"
#include "support/BestTime.h"
#include "support/CollidingPositions.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <string>
#include <vector>

namespace {

using kxcontour::EvenOutWeights;
using kxcontour::kNoObject;
using kxcontour::LineGroup;
using kxcontour::LineKind;
using kxcontour::PageLine;
using kxcontour::PageLines;
using kxcontour::Point;
using kxcontour::StyleSheet;

/// A rim of chords around a circle, each a silhouette (S), a crease (c) or an intersection (i).
PageLines Rim(const std::string& kinds, double radius = 10.0, std::size_t ofChords = 0) {
    const double chords = static_cast<double>(ofChords == 0 ? kinds.size() : ofChords);
    const auto at = [&](std::size_t i) {
        const double angle = 2.0 * std::numbers::pi * static_cast<double>(i) / chords;
        return Point{radius * std::cos(angle), radius * std::sin(angle)};
    };
    PageLines lines;
    lines.groups = {{LineKind::Silhouette, false, 0, {}},
                    {LineKind::Crease, false, 0, {}},
                    {LineKind::Intersection, false, kNoObject, {}}};
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        const std::size_t group = kinds[i] == 'S' ? 0 : kinds[i] == 'c' ? 1 : 2;
        lines.groups[group].lines.push_back(
            {at(i), at(ofChords == 0 && i + 1 == kinds.size() ? 0 : i + 1)});
    }
    return lines;
}

std::size_t CountOf(const PageLines& lines, LineKind family) {
    std::size_t count = 0;
    for (const LineGroup& group : lines.groups) {
        count += group.kind == family ? group.lines.size() : 0;
    }
    return count;
}

/// How many creases of a rim stay creases.
std::size_t CreasesLeft(PageLines lines, const StyleSheet& styles = {}) {
    EvenOutWeights(lines, styles);
    return CountOf(lines, LineKind::Crease);
}

TEST(EvenOutWeights, ARimThatAlternatesIsAllOfTheHeavierFamily) {
    EXPECT_EQ(CreasesLeft(Rim("ScScScScScScScScScScScSc")), 0U);
    EXPECT_EQ(CreasesLeft(Rim("ccSSSScccSScSSSSccSSSSSSSc")), 0U) << "also over its start";
    PageLines lines = Rim("SSSSSSSSSSSScScSSccSSSSS");
    EvenOutWeights(lines, {});
    EXPECT_EQ(CountOf(lines, LineKind::Silhouette), 24U);
    EXPECT_EQ(lines.groups[0].lines.size(), 24U);
}

TEST(EvenOutWeights, LongStretchesKeepTheirWeight) {
    EXPECT_EQ(CreasesLeft(Rim("SSSSSSSSSSSScccccccccccc")), 12U);
    EXPECT_EQ(CreasesLeft(Rim("SSSSSSSSScccccccccSScccc")), 13U) << "a few heavy ones in it too";
    const std::string most(42, 'S');
    EXPECT_EQ(CreasesLeft(Rim(most + "cccccc")), 6U);
    EXPECT_EQ(CreasesLeft(Rim(most + "Sccccc")), 0U);
}

TEST(EvenOutWeights, HalfARimIsHalfARimHoweverFewItsFacets) {
    EXPECT_EQ(CreasesLeft(Rim("SSSSSSSSSSSSSSSSScccc", 10)), 4U);
    EXPECT_EQ(CreasesLeft(Rim("SSSSSSSSSSSSSSSSSSScc", 10)), 0U);
}

TEST(EvenOutWeights, TheEndOfAnOpenRimStays) {
    EXPECT_EQ(CreasesLeft(Rim("cSSSScc", 10, 24)), 3U);
    EXPECT_EQ(CreasesLeft(Rim("cSSccSScc", 10, 24)), 3U);
}

TEST(EvenOutWeights, WidthsDecideWhatIsHeavier) {
    StyleSheet styles;
    styles.crease.width = 0.5;
    PageLines lines = Rim("ScScScScScScScScScScScSc");
    EvenOutWeights(lines, styles);
    EXPECT_EQ(CountOf(lines, LineKind::Silhouette), 0U);
    styles.crease = styles.silhouette;
    styles.crease.color = {255, 0, 0};
    EXPECT_EQ(CreasesLeft(Rim("ScScScScScScScScScScScSc"), styles), 12U) << "equally wide";
}

TEST(EvenOutWeights, OfTwoHeavierOnesTheLighterIsTaken) {
    StyleSheet styles;
    styles.intersection.width = 0.3;
    PageLines lines = Rim("SSSSciiii", 10, 24);
    EvenOutWeights(lines, styles);
    EXPECT_EQ(CountOf(lines, LineKind::Silhouette), 5U);
    EXPECT_EQ(CountOf(lines, LineKind::Intersection), 4U);
}

TEST(EvenOutWeights, LinesKeepTheirObject) {
    PageLines lines = Rim("ScScScScScScScScScScScSc");
    lines.groups[1].object = 7;
    EvenOutWeights(lines, {});
    ASSERT_EQ(lines.groups.size(), 4U);
    EXPECT_EQ(lines.groups[3].object, 7U);
    EXPECT_EQ(lines.groups[3].kind, LineKind::Silhouette);
    EXPECT_EQ(lines.groups[3].lines.size(), 12U);
}

TEST(EvenOutWeights, HiddenLinesStay) {
    PageLines lines = Rim("ScScScScScScScScScScScSc");
    lines.groups[1].hidden = true;
    EXPECT_EQ(CreasesLeft(lines), 12U);
}

TEST(EvenOutWeights, StraightEdgesAndCornersStay) {
    PageLines straight;
    straight.groups = {{LineKind::Silhouette, false, 0, {{{0, 0}, {5, 0}}, {{6, 0}, {11, 0}}}},
                       {LineKind::Crease, false, 0, {{{5, 0}, {6, 0}}}}};
    EXPECT_EQ(CreasesLeft(straight), 1U);
    PageLines notch = straight;
    notch.groups[1].lines = {{{5, 0}, {5.5, 1}}, {{5.5, 1}, {6, 0}}};
    EXPECT_EQ(CreasesLeft(notch), 2U);
}

TEST(EvenOutWeights, ALongSideBetweenShortOnesStays) {
    PageLines lines;
    lines.groups = {{LineKind::Silhouette, false, 0, {{{-1, 0.3}, {0, 0}}, {{20, 0}, {21, 0.3}}}},
                    {LineKind::Crease, false, 0, {{{0, 0}, {20, 0}}}}};
    EXPECT_EQ(CreasesLeft(lines), 1U);
    lines.groups[1].lines = {{{0, 0}, {2, 0}}};
    lines.groups[0].lines[1] = {{2, 0}, {3, 0.3}};
    EXPECT_EQ(CreasesLeft(lines), 0U);
}

TEST(EvenOutWeights, OtherLinesThatMeetARimDoNotBreakIt) {
    PageLines lines = Rim("SSSSSSSSSSSSSSSSSSSSSSSc");
    const Point corner = lines.groups[1].lines[0].a;
    lines.groups[0].lines.push_back({corner, {2.0 * corner.x, 2.0 * corner.y}});
    EXPECT_EQ(CreasesLeft(lines), 0U);
}

TEST(EvenOutWeights, TakesNothingAndDots) {
    PageLines lines;
    EvenOutWeights(lines, {});
    EXPECT_TRUE(lines.groups.empty());
    lines.groups = {{LineKind::Silhouette, false, 0, {{{1, 1}, {1, 1}}, {{1, 1}, {2, 1}}}},
                    {LineKind::Crease, false, 0, {{{1, 1}, {1, 1}}}}};
    EXPECT_EQ(CreasesLeft(lines), 1U);
}

// Points whose coordinates have one hash.
std::vector<Point> CollidingPoints(std::size_t count) {
    constexpr std::uint64_t kXFactor = 0x9e3779b97f4a7c15U;
    constexpr std::uint64_t kYFactor = 0xc2b2ae3d27d4eb4fU;
    std::vector<Point> points;
    for (std::uint64_t i = 0; points.size() < count; ++i) {
        const double y = 1.0 + static_cast<double>(i) / 1048576.0;
        const auto x = std::bit_cast<double>(
            (0x123456789abcdefU ^ std::bit_cast<std::uint64_t>(y) * kYFactor) *
            test_support::InverseOf(kXFactor));
        if (std::fabs(x) < 1e100 && std::fabs(x) > 1e-100) {
            points.push_back({x, y});
        }
    }
    return points;
}

TEST(EvenOutWeights, ChosenPointsTakeAboutTheUsualTime) {
    constexpr std::size_t kPoints = 60000;
    const auto secondsOver = [](const std::vector<Point>& points) {
        PageLines lines;
        lines.groups = {{LineKind::Silhouette, false, 0, {}}, {LineKind::Crease, false, 0, {}}};
        for (std::size_t i = 0; i + 1 < points.size(); ++i) {
            lines.groups[i % 2].lines.push_back({points[i], points[i + 1]});
        }
        return test_support::SecondsOf([&] {
            PageLines evened = lines;
            EvenOutWeights(evened, {});
            EXPECT_EQ(CountOf(evened, LineKind::Silhouette) + CountOf(evened, LineKind::Crease),
                      points.size() - 1);
        });
    };
    std::vector<Point> usual;
    for (std::size_t i = 0; i < kPoints; ++i) {
        usual.push_back({0.37 * static_cast<double>(i), 0.1 * static_cast<double>(i % 77)});
    }
    EXPECT_LT(secondsOver(CollidingPoints(kPoints)), 25.0 * secondsOver(usual));
}

} // namespace
