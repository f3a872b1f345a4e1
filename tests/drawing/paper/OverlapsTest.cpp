// What is drawn twice goes, and nothing else.
#include "drawing/paper/Overlaps.h"

#include "drawing/paper/PaperShapes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <tuple>

namespace {

using kxcontour::LineGroup;
using kxcontour::LineKind;
using kxcontour::PageLine;
using kxcontour::PageLines;
using kxcontour::Point;
using kxcontour::RemoveOverlaps;
using test_support::Random;

constexpr double kTolerance = 0.01;

LineGroup Group(LineKind family, bool hidden, std::vector<PageLine> lines) {
    return {family, hidden, kxcontour::kNoObject, std::move(lines)};
}

std::vector<PageLine> AllLines(const PageLines& lines) {
    std::vector<PageLine> all;
    for (const LineGroup& group : lines.groups) {
        all.insert(all.end(), group.lines.begin(), group.lines.end());
    }
    return all;
}

std::vector<PageLine> Shown(std::vector<PageLine> lines) {
    PageLines all;
    all.groups.push_back(Group(LineKind::Silhouette, false, std::move(lines)));
    RemoveOverlaps(all, kTolerance);
    return all.groups[0].lines;
}

void ExpectLine(const PageLine& line, Point a, Point b) {
    EXPECT_DOUBLE_EQ(line.a.x, a.x);
    EXPECT_DOUBLE_EQ(line.a.y, a.y);
    EXPECT_DOUBLE_EQ(line.b.x, b.x);
    EXPECT_DOUBLE_EQ(line.b.y, b.y);
}

TEST(RemoveOverlaps, TheFirstOfEqualLinesStays) {
    const auto shown = Shown({{{0, 0}, {5, 5}}, {{5, 5}, {0, 0}}, {{0, 0}, {5, 5}}});
    ASSERT_EQ(shown.size(), 1U);
    ExpectLine(shown[0], {0, 0}, {5, 5});
}

TEST(RemoveOverlaps, ALaterLineLosesItsMiddle) {
    const auto shown = Shown({{{4, 0}, {6, 0}}, {{10, 0}, {0, 0}}});
    ASSERT_EQ(shown.size(), 3U);
    ExpectLine(shown[0], {4, 0}, {6, 0});
    ExpectLine(shown[1], {10, 0}, {6, 0});
    ExpectLine(shown[2], {4, 0}, {0, 0});
}

TEST(RemoveOverlaps, ALongLineAmongShortOnesHidesThem) {
    std::vector<PageLine> lines{{{0, 0}, {100, 0}}};
    for (int i = 0; i < 100; ++i) {
        lines.push_back({{static_cast<double>(i), 0}, {i + 1.0, 0}});
    }
    EXPECT_EQ(Shown(lines).size(), 1U);
    std::rotate(lines.begin(), lines.begin() + 1, lines.end());
    EXPECT_EQ(Shown(lines).size(), 100U);
}

TEST(RemoveOverlaps, TheRestStaysOnItsOwnLine) {
    const auto shown = Shown({{{0, 0}, {5, 0}}, {{0, 0.008}, {10, 0.008}}});
    ASSERT_EQ(shown.size(), 2U);
    ExpectLine(shown[1], {5, 0.008}, {10, 0.008});
}

TEST(RemoveOverlaps, NeitherEndOfTheStretchMayBeTooFar) {
    EXPECT_EQ(Shown({{{0, 0}, {5, 0}}, {{0, 0}, {5, 0.009}}}).size(), 1U);
    EXPECT_EQ(Shown({{{0, 0}, {5, 0}}, {{0, 0}, {5, 0.011}}}).size(), 2U);
    EXPECT_EQ(Shown({{{0, 0}, {5, 0}}, {{0, 0.011}, {5, 0.011}}}).size(), 2U);
    EXPECT_EQ(Shown({{{0, 0}, {5, 0}}, {{0, -0.009}, {5, 0.009}}}).size(), 1U);
}

TEST(RemoveOverlaps, LinesThatCrossOrTouchStayWhole) {
    const std::vector<PageLine> lines{{{0, 0}, {5, 0}}, {{2, -2}, {2, 2}},
                                      {{5, 0}, {9, 0}}, {{5, 0}, {5, 4}},
                                      {{0, 0}, {4, 3}}, {{9 - 0.01, 0}, {12, 0}}};
    const auto shown = Shown(lines);
    ASSERT_EQ(shown.size(), lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        ExpectLine(shown[i], lines[i].a, lines[i].b);
    }
}

// The second line is off the end of the third, but near what the first one leaves of it.
TEST(RemoveOverlaps, ALineThatLeavesTheWholeMayCoverARest) {
    const auto shown = Shown({{{6, 0}, {10, 0}}, {{4, 0}, {10, 0.02}}, {{0, 0}, {10, 0}}});
    ASSERT_EQ(shown.size(), 3U);
    ExpectLine(shown[1], {4, 0}, {10, 0.02});
    ExpectLine(shown[2], {0, 0}, {4, 0});
}

// All of them meet in one cell of any grid.
TEST(RemoveOverlaps, ThousandsOfLinesThroughOnePointStayWhole) {
    constexpr int kLines = 3000;
    std::vector<PageLine> lines;
    for (int i = 0; i < kLines; ++i) {
        const double angle = i * 3.14159265358979 / kLines;
        const Point reach{100 * std::cos(angle), 100 * std::sin(angle)};
        lines.push_back({{-reach.x, -reach.y}, reach});
    }
    const auto shown = Shown(lines);
    ASSERT_EQ(shown.size(), lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        ExpectLine(shown[i], lines[i].a, lines[i].b);
    }
}

TEST(RemoveOverlaps, RestsShorterThanTheToleranceGo) {
    EXPECT_EQ(Shown({{{0, 0}, {5, 0}}, {{0, 0}, {5.009, 0}}}).size(), 1U);
    EXPECT_EQ(Shown({{{0, 0}, {5, 0}}, {{0, 0}, {5.011, 0}}}).size(), 2U);
    EXPECT_EQ(Shown({{{0, 0}, {5, 0}}, {{5.009, 0}, {9, 0}}, {{0, 0}, {9, 0}}}).size(), 2U);
}

TEST(RemoveOverlaps, VisibleBeforeHiddenThenByFamilyThenByOrder) {
    const PageLine line{{0, 0}, {3, 4}};
    const std::vector<std::tuple<LineKind, bool>> order{
        {LineKind::Silhouette, false}, {LineKind::Crease, false}, {LineKind::Intersection, false},
        {LineKind::Silhouette, true},  {LineKind::Crease, true},  {LineKind::Intersection, true}};
    for (std::size_t first = 0; first < order.size(); ++first) {
        PageLines lines;
        for (std::size_t i = order.size(); i-- > first;) {
            lines.groups.push_back(Group(std::get<0>(order[i]), std::get<1>(order[i]), {line}));
        }
        lines.groups.push_back(lines.groups.back());
        RemoveOverlaps(lines, kTolerance);
        ASSERT_EQ(lines.groups.size(), order.size() - first + 1);
        for (std::size_t i = 0; i < lines.groups.size(); ++i) {
            EXPECT_EQ(lines.groups[i].lines.size(), i + 2 == lines.groups.size() ? 1U : 0U) << i;
        }
    }
}

TEST(RemoveOverlaps, DotsGoWhereAnythingElseTouches) {
    EXPECT_EQ(Shown({{{2, 0}, {2, 0}}, {{0, 0}, {5, 0}}}).size(), 1U);
    EXPECT_EQ(Shown({{{2, 0.009}, {2, 0.009}}, {{0, 0}, {5, 0}}}).size(), 1U);
    EXPECT_EQ(Shown({{{2, 1}, {2, 1}}, {{0, 0}, {5, 0}}, {{2, 1}, {2, 1}}}).size(), 2U);
}

TEST(RemoveOverlaps, LinesBelowTheToleranceAreDrawnOnceToo) {
    const std::vector<PageLine> row{{{0, 0}, {0.006, 0}},
                                    {{0.006, 0}, {0.012, 0}},
                                    {{0.012, 0}, {0.018, 0.001}},
                                    {{0.018, 0.001}, {0.018, 0.007}}};
    EXPECT_EQ(Shown(row).size(), row.size());
    std::vector<PageLine> twice = row;
    for (const PageLine& line : row) {
        twice.push_back({line.b, line.a});
    }
    EXPECT_EQ(Shown(twice).size(), row.size());
}

TEST(RemoveOverlaps, AHatchFinerThanTheToleranceDoesNotVanish) {
    std::vector<PageLine> lines;
    lines.reserve(100);
    for (int i = 0; i < 100; ++i) {
        lines.push_back({{0, 0.006 * i}, {5, 0.006 * i}});
    }
    const auto shown = Shown(lines);
    EXPECT_EQ(shown.size(), 50U);
    EXPECT_LE(tool_test::FarthestSample(lines, shown), kTolerance);
}

TEST(RemoveOverlaps, ALongLineInManyPiecesIsComparedPieceByPiece) {
    std::vector<PageLine> lines;
    lines.reserve(52);
    for (int i = 0; i < 50; ++i) {
        lines.push_back({{2.0 * i, 0}, {2.0 * i + 1.0, 0}});
    }
    lines.push_back({{0, 0.009}, {100, 0.009}});
    // Within tolerance of the gaps' lines alone, and of the short lines not.
    lines.push_back({{0, 0.018}, {100, 0.018}});
    const auto shown = Shown(lines);
    EXPECT_EQ(shown.size(), 50U + 50U + 50U);
    EXPECT_NEAR(tool_test::LengthOfLines(shown), 150.0, 1e-9);
}

TEST(RemoveOverlaps, TakesNothing) {
    PageLines none;
    RemoveOverlaps(none, kTolerance);
    EXPECT_TRUE(none.groups.empty());
    none.groups.push_back(Group(LineKind::Crease, true, {}));
    RemoveOverlaps(none, kTolerance);
    ASSERT_EQ(none.groups.size(), 1U);
    EXPECT_TRUE(none.groups[0].lines.empty());
}

// On a lattice every line is a row of unit steps, and what is covered can be counted.

struct Step {
    int x, y;
    int direction;
    bool operator<(const Step& o) const {
        return std::tie(x, y, direction) < std::tie(o.x, o.y, o.direction);
    }
};

constexpr int kSteps[][2] = {{1, 0}, {0, 1}, {1, 1}, {1, -1}};

/// Counts the steps of lines whose ends are whole numbers on one of the four directions.
std::map<Step, int> StepsOf(const std::vector<PageLine>& lines) {
    std::map<Step, int> count;
    for (const PageLine& line : lines) {
        PageLine l = line;
        if (l.b.x < l.a.x || (l.b.x == l.a.x && l.b.y < l.a.y)) {
            std::swap(l.a, l.b);
        }
        const int dx = static_cast<int>(std::lround(l.b.x - l.a.x));
        const int dy = static_cast<int>(std::lround(l.b.y - l.a.y));
        const int direction = dy == 0 ? 0 : dx == 0 ? 1 : dy > 0 ? 2 : 3;
        const int x = static_cast<int>(std::lround(l.a.x));
        const int y = static_cast<int>(std::lround(l.a.y));
        EXPECT_NEAR(x, l.a.x, 1e-9);
        EXPECT_NEAR(y, l.a.y, 1e-9);
        for (int i = 0; i < std::max(dx, std::abs(dy)); ++i) {
            ++count[{x + i * kSteps[direction][0], y + i * kSteps[direction][1], direction}];
        }
    }
    return count;
}

PageLines LatticeLines(Random& random) {
    PageLines lines;
    for (int g = random.between(1, 4); g > 0; --g) {
        LineGroup group = Group(static_cast<LineKind>(random.below(3)), random.percent(40), {});
        for (int i = random.between(0, 30); i > 0; --i) {
            const int* step = kSteps[random.below(4)];
            const int length = random.between(1, 8);
            const int steps = random.percent(50) ? length : -length;
            const int x = random.below(10);
            const int y = random.below(10);
            group.lines.push_back({{static_cast<double>(x), static_cast<double>(y)},
                                   {static_cast<double>(x + steps * step[0]),
                                    static_cast<double>(y + steps * step[1])}});
        }
        lines.groups.push_back(std::move(group));
    }
    return lines;
}

/// Smaller for groups whose lines win.
int Rank(const LineGroup& group) {
    const int family = group.kind == LineKind::Silhouette ? 0
                       : group.kind == LineKind::Crease   ? 1
                                                          : 2;
    return (group.hidden ? 3 : 0) + family;
}

TEST(RemoveOverlaps, EveryStepOnALatticeIsShownOnceByTheGroupThatComesFirst) {
    for (int trial = 0; trial < test_support::Scaled(300); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const PageLines before = LatticeLines(random);
        PageLines after = before;
        RemoveOverlaps(after, kTolerance);
        ASSERT_EQ(after.groups.size(), before.groups.size());
        std::map<Step, std::pair<int, std::size_t>> owner;
        for (std::size_t g = 0; g < before.groups.size(); ++g) {
            for (const auto& [step, count] : StepsOf(before.groups[g].lines)) {
                const std::pair<int, std::size_t> claim{Rank(before.groups[g]), g};
                const auto [place, isNew] = owner.emplace(step, claim);
                place->second = std::min(place->second, claim);
            }
        }
        std::size_t shown = 0;
        for (std::size_t g = 0; g < after.groups.size(); ++g) {
            for (const auto& [step, count] : StepsOf(after.groups[g].lines)) {
                EXPECT_EQ(count, 1);
                ASSERT_TRUE(owner.contains(step));
                EXPECT_EQ(owner[step].second, g);
                ++shown;
            }
        }
        EXPECT_EQ(shown, owner.size());
    }
}

/// Near-parallel lines with ends that nearly meet, where all the rules for tolerances matter.
std::vector<PageLine> Brush(Random& random) {
    std::vector<PageLine> lines;
    for (int i = 0; i < 40; ++i) {
        const double row = random.below(4) * 0.5;
        const double y = row + random.uniform(-0.02F, 0.02F);
        const double x = random.uniform(0.0F, 4.0F);
        const double length =
            random.percent(30) ? random.uniform(0.0F, 0.03F) : random.uniform(0.0F, 3.0F);
        lines.push_back({{x, y}, {x + length, y + random.uniform(-0.02F, 0.02F)}});
    }
    return lines;
}

TEST(RemoveOverlaps, TheInkStaysWhereItWas) {
    for (int trial = 0; trial < test_support::Scaled(150); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const std::vector<PageLine> before = Brush(random);
        const std::vector<PageLine> after = Shown(before);
        EXPECT_LE(tool_test::FarthestSample(after, before), 1e-12);
        // A rest that goes is within tolerance of a covered place, half as far in a gap.
        EXPECT_LE(tool_test::FarthestSample(before, after), 2.0 * kTolerance);
    }
}

TEST(RemoveOverlaps, NothingIsLeftToRemove) {
    for (int trial = 0; trial < test_support::Scaled(150); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        PageLines lines;
        lines.groups.push_back(Group(LineKind::Crease, false, Brush(random)));
        lines.groups.push_back(Group(LineKind::Silhouette, false, Brush(random)));
        RemoveOverlaps(lines, kTolerance);
        const double length = tool_test::LengthOfLines(AllLines(lines));
        RemoveOverlaps(lines, kTolerance);
        EXPECT_NEAR(tool_test::LengthOfLines(AllLines(lines)), length, 1e-9);
    }
}

} // namespace
