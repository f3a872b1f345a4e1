// The fewest paths, each line once.
#include "drawing/paper/Joining.h"

#include "drawing/paper/PaperShapes.h"
#include "drawing/paper/Plane.h"

#include <gtest/gtest.h>

#include <map>
#include <numeric>
#include <set>

namespace {

using kxcontour::JoinLines;
using kxcontour::PageLine;
using kxcontour::Path;
using kxcontour::Point;
using test_support::Random;

constexpr kxcontour::JoiningRules kRules{0.01, 0.0, 0.0, 0.0};
constexpr kxcontour::JoiningRules kDangles{0.01, 0.2, 0.0, 0.0};

using Corners = std::vector<std::pair<double, double>>;

Corners CornersOf(const Path& path) {
    Corners corners;
    for (const Point& point : path.points) {
        corners.emplace_back(point.x, point.y);
    }
    return corners;
}

TEST(JoinLines, LinesEndToEndBecomeOnePathWithAllItsPoints) {
    const auto paths = JoinLines({{{2, 0}, {1, 0}}, {{0, 0}, {1, 0}}, {{2, 0}, {2, 1}}}, kRules);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{2, 1}, {2, 0}, {1, 0}, {0, 0}}));
    EXPECT_TRUE(paths[0].arcs.empty());
    EXPECT_DOUBLE_EQ(kxcontour::plane::LengthOf(paths[0].points), 3.0);
}

TEST(JoinLines, EndsWithinToleranceAreOnePoint) {
    const auto paths = JoinLines({{{0, 0}, {1, 0}}, {{1.009, 0}, {2, 0}}}, kRules);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{0, 0}, {1, 0}, {2, 0}}));
    EXPECT_EQ(JoinLines({{{0, 0}, {1, 0}}, {{1.011, 0}, {2, 0}}}, kRules).size(), 2U);
}

TEST(JoinLines, CrossingPathsGoStraightOn) {
    const auto paths = JoinLines(
        {{{0, 0}, {1, 0}}, {{1, 0}, {1, 1}}, {{1, 0}, {2, 0}}, {{1, 0}, {1, -1}}}, kRules);
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{0, 0}, {1, 0}, {2, 0}}));
    EXPECT_EQ(CornersOf(paths[1]), (Corners{{1, -1}, {1, 0}, {1, 1}}));
}

TEST(JoinLines, TheStraightestPairGoesFirst) {
    const auto paths =
        JoinLines({{{0, 0}, {1, 0.3}}, {{0, 0}, {-1, 0}}, {{0, 0}, {1, 0.1}}}, kRules);
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{0, 0}, {1, 0.3}}));
    EXPECT_EQ(CornersOf(paths[1]), (Corners{{1, 0.1}, {0, 0}, {-1, 0}}));
}

TEST(JoinLines, AClosedPathEndsWithItsFirstPoint) {
    const auto paths =
        JoinLines({{{0, 0}, {1, 0}}, {{1, 0}, {1, 1}}, {{0, 1}, {1, 1}}, {{0, 1}, {0, 0}}}, kRules);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{0, 0}, {1, 0}, {1, 1}, {0, 1}, {0, 0}}));
}

TEST(JoinLines, AClosedPathStartsAtACorner) {
    // The first line lies in the middle of a side.
    const auto paths = JoinLines(
        {{{1, 0}, {2, 0}}, {{0, 0}, {1, 0}}, {{2, 0}, {3, 0}}, {{3, 0}, {1, 2}}, {{1, 2}, {0, 0}}},
        kRules);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{3, 0}, {1, 2}, {0, 0}, {1, 0}, {2, 0}, {3, 0}}));
}

/// A circle's chords.
std::vector<PageLine> Ring(Point center, double radius, int chords) {
    std::vector<PageLine> lines;
    const auto at = [&](int i) {
        const double angle = 2.0 * 3.14159265358979 * (i % chords) / chords;
        return Point{center.x + radius * std::cos(angle), center.y + radius * std::sin(angle)};
    };
    lines.reserve(static_cast<std::size_t>(chords));
    for (int i = 0; i < chords; ++i) {
        lines.push_back({at(i), at(i + 1)});
    }
    return lines;
}

TEST(JoinLines, ARoundPathStartsWhereItMeetsItself) {
    std::vector<PageLine> lines = Ring({0, 0}, 10, 36);
    std::rotate(lines.begin(), lines.begin() + 5, lines.end());
    ASSERT_LT(lines[0].a.x, 10.0);
    for (const PageLine& line : Ring({20, 0}, 10, 36)) {
        lines.push_back(line);
    }
    const auto paths = JoinLines(lines, kRules);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(paths[0].points.size(), 73U);
    EXPECT_NEAR(paths[0].points.front().x, 10.0, 1e-9);
    EXPECT_NEAR(paths[0].points.back().x, 10.0, 1e-9);
}

TEST(JoinLines, ARingWithATailIsOnePath) {
    std::vector<PageLine> lines = Ring({0, 0}, 10, 36);
    lines.push_back({lines[7].a, {20, 20}});
    const auto paths = JoinLines(lines, kRules);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(paths[0].points.size(), 38U);
    // The ring closes where two tails go on as one path.
    lines.push_back({lines[7].a, {0, 0}});
    const auto two = JoinLines(lines, kRules);
    ASSERT_EQ(two.size(), 1U);
    EXPECT_EQ(two[0].points.size(), 39U);
}

TEST(JoinLines, ClosedPathsThatShareAPointBecomeOne) {
    const std::vector<PageLine> lines{{{0, 0}, {1, 1}},  {{1, 1}, {1, -1}},   {{1, -1}, {0, 0}},
                                      {{0, 0}, {-1, 1}}, {{-1, 1}, {-1, -1}}, {{-1, -1}, {0, 0}}};
    const auto paths = JoinLines(lines, kRules);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(paths[0].points.size(), 7U);
}

TEST(JoinLines, DotsAreNothing) {
    EXPECT_TRUE(JoinLines({{{1, 1}, {1, 1}}, {{1, 1.005}, {1, 1}}}, kRules).empty());
    const auto touched = JoinLines({{{1, 1}, {1, 1}}, {{1, 1}, {2, 2}}}, kRules);
    ASSERT_EQ(touched.size(), 1U);
    EXPECT_EQ(CornersOf(touched[0]), (Corners{{1, 1}, {2, 2}}));
}

TEST(JoinLines, PathsComeInTheOrderOfTheirFirstLines) {
    const auto paths = JoinLines({{{5, 5}, {6, 5}},
                                  {{9, 9}, {9, 9}},
                                  {{0, 0}, {1, 0}},
                                  {{6, 5}, {7, 5}},
                                  {{3, 3}, {3, 4}},
                                  {{1, 0}, {2, 0}}},
                                 kRules);
    ASSERT_EQ(paths.size(), 3U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{5, 5}, {6, 5}, {7, 5}}));
    EXPECT_EQ(CornersOf(paths[1]), (Corners{{0, 0}, {1, 0}, {2, 0}}));
    EXPECT_EQ(CornersOf(paths[2]), (Corners{{3, 3}, {3, 4}}));
}

TEST(JoinLines, ADangleIsRemoved) {
    const std::vector<PageLine> line{{{0, 0}, {1, 0}}, {{1, 0}, {2, 0}}};
    std::vector<PageLine> withDangle = line;
    withDangle.push_back({{1, 0}, {1, 0.1}});
    withDangle.push_back({{1, 0.1}, {1.05, 0.1}});
    const auto paths = JoinLines(withDangle, kDangles);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{0, 0}, {1, 0}, {2, 0}}));
    EXPECT_EQ(JoinLines(withDangle, kRules).size(), 2U) << "unless none is asked to go";
    withDangle.push_back({{1.05, 0.1}, {1.1, 0.1}});
    EXPECT_EQ(JoinLines(withDangle, kDangles).size(), 2U) << "this one is too long";
}

TEST(JoinLines, ADangleDoesNotOpenARing) {
    std::vector<PageLine> lines = Ring({0, 0}, 10, 36);
    const std::size_t chords = lines.size();
    lines.push_back({lines[7].a, {lines[7].a.x, lines[7].a.y + 0.1}});
    ASSERT_EQ(JoinLines(lines, kRules)[0].points.size(), chords + 2);
    const auto paths = JoinLines(lines, kDangles);
    ASSERT_EQ(paths.size(), 1U);
    ASSERT_EQ(paths[0].points.size(), chords + 1);
    EXPECT_EQ(paths[0].points.front().x, paths[0].points.back().x);
    EXPECT_EQ(paths[0].points.front().y, paths[0].points.back().y);
}

TEST(JoinLines, OnlyWhatLeadsOffFromOthersIsADangle) {
    EXPECT_EQ(JoinLines({{{0, 0}, {0.1, 0}}}, kDangles).size(), 1U) << "alone";
    const auto ends = JoinLines({{{0, 0}, {1, 0}}, {{1, 0}, {1, 0.1}}}, kDangles);
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_EQ(ends[0].points.size(), 3U) << "the end of a path";
    const auto between = JoinLines({{{0, 0}, {1, 0}},
                                    {{1, 0}, {2, 0}},
                                    {{1, 0}, {1, 0.1}},
                                    {{0, 0.1}, {1, 0.1}},
                                    {{1, 0.1}, {2, 0.1}}},
                                   kDangles);
    EXPECT_EQ(between.size(), 3U) << "between two lines";
    EXPECT_TRUE(
        JoinLines({{{0, 0}, {0.1, 0}}, {{0, 0}, {0, 0.1}}, {{0, 0}, {-0.1, 0}}}, kDangles).empty())
        << "a star of nothing else";
}

TEST(JoinLines, TakesNothing) {
    EXPECT_TRUE(JoinLines({}, kRules).empty());
}

TEST(JoinLines, LinesThatCrossBesideAShortEdgeGoStraightOn) {
    constexpr kxcontour::JoiningRules kShortEdges{0.01, 0.0, 0.2, 0.0};
    const std::vector<PageLine> crossing{{{-1, 0}, {0, 0}},
                                         {{0, 0}, {0, 0.1}},
                                         {{0, 0.1}, {1, 0.1}},
                                         {{0, 0.1}, {0, 1}},
                                         {{0, 0}, {0, -1}}};
    EXPECT_EQ(JoinLines(crossing, kRules).size(), 3U);
    const auto paths = JoinLines(crossing, kShortEdges);
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{-1, 0}, {0, 0}, {1, 0.1}}));
    EXPECT_EQ(CornersOf(paths[1]), (Corners{{0, -1}, {0, 0}, {0, 1}}));
}

TEST(JoinLines, ShortLinesOfACurveAreNotContracted) {
    constexpr kxcontour::JoiningRules kShortEdges{0.01, 0.0, 0.2, 0.0};
    const auto curve = JoinLines(Ring({0, 0}, 0.5, 36), kShortEdges);
    ASSERT_EQ(curve.size(), 1U);
    EXPECT_EQ(curve[0].points.size(), 37U);
    // A net as fine as the limit loses some of its points, but none goes far and it stays as large.
    std::vector<PageLine> net;
    for (int i = 0; i < 20; ++i) {
        for (int j = 0; j < 20; ++j) {
            const Point at{0.1 * i, 0.1 * j};
            net.push_back({at, {at.x + 0.1, at.y}});
            net.push_back({at, {at.x, at.y + 0.1}});
        }
    }
    std::vector<PageLine> drawn;
    for (const Path& path : JoinLines(net, kShortEdges)) {
        for (std::size_t i = 1; i < path.points.size(); ++i) {
            drawn.push_back({path.points[i - 1], path.points[i]});
        }
    }
    EXPECT_LT(tool_test::FarthestSample(drawn, net), 0.11);
    EXPECT_LT(tool_test::FarthestSample(net, drawn), 0.11);
}

TEST(JoinLines, FreeEndsWithinTheGapAreMerged) {
    constexpr kxcontour::JoiningRules kGaps{0.01, 0.0, 0.0, 0.2};
    const std::vector<PageLine> broken{{{0, 0}, {1, 0}}, {{1.15, 0.1}, {2, 0}}};
    EXPECT_EQ(JoinLines(broken, kRules).size(), 2U);
    const auto paths = JoinLines(broken, kGaps);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{0, 0}, {1, 0}, {2, 0}}));
    EXPECT_EQ(JoinLines({{{0, 0}, {1, 0}}, {{1.15, 0.2}, {2, 0}}}, kGaps).size(), 2U) << "too far";
}

TEST(JoinLines, AFreeEndIsMergedWithOneOther) {
    constexpr kxcontour::JoiningRules kGaps{0.01, 0.0, 0.0, 0.2};
    const auto paths =
        JoinLines({{{0, 0}, {1, 0}}, {{1.1, 0.1}, {2, 1}}, {{1.1, 0}, {2, 0}}}, kGaps);
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_EQ(CornersOf(paths[0]), (Corners{{0, 0}, {1, 0}, {2, 1}}));
    EXPECT_EQ(CornersOf(paths[1]), (Corners{{1.1, 0}, {2, 0}}));
}

TEST(JoinLines, AGapThatOtherLinesTouchStays) {
    constexpr kxcontour::JoiningRules kGaps{0.01, 0.0, 0.0, 0.2};
    const std::vector<PageLine> corner{{{0, 0}, {1, 0}}, {{1, 0}, {1, 1}}, {{1.1, 0}, {2, 0}}};
    EXPECT_EQ(JoinLines(corner, kGaps).size(), 2U);
    EXPECT_EQ(JoinLines({{{0, 0}, {0.1, 0}}}, kGaps).size(), 1U) << "a short line keeps both ends";
}

TEST(JoinLines, AGapInARingCloses) {
    constexpr kxcontour::JoiningRules kGaps{0.01, 0.0, 0.0, 0.2};
    std::vector<PageLine> lines = Ring({0, 0}, 10, 36);
    lines[9].a.x += 0.1;
    const auto paths = JoinLines(lines, kGaps);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(paths[0].points.front().x, paths[0].points.back().x);
    EXPECT_EQ(paths[0].points.front().y, paths[0].points.back().y);
    EXPECT_EQ(paths[0].points.size(), 37U);
}

using Corner = std::pair<double, double>;
using Side = std::pair<Corner, Corner>;

Side SideOf(Point a, Point b) {
    const Corner first{a.x, a.y};
    const Corner second{b.x, b.y};
    return {std::min(first, second), std::max(first, second)};
}

std::multiset<Side> SidesOf(const std::vector<PageLine>& lines) {
    std::multiset<Side> sides;
    for (const PageLine& line : lines) {
        sides.insert(SideOf(line.a, line.b));
    }
    return sides;
}

std::multiset<Side> SidesOf(const std::vector<Path>& paths) {
    std::multiset<Side> sides;
    for (const Path& path : paths) {
        for (std::size_t i = 1; i < path.points.size(); ++i) {
            sides.insert(SideOf(path.points[i - 1], path.points[i]));
        }
    }
    return sides;
}

/// By counting: odd corners in every connected figure.
std::size_t FewestPaths(const std::vector<PageLine>& lines) {
    std::map<Corner, std::set<Corner>> figure;
    std::map<Corner, int> degree;
    for (const Side& side : SidesOf(lines)) {
        figure[side.first].insert(side.second);
        figure[side.second].insert(side.first);
        ++degree[side.first];
        ++degree[side.second];
    }
    std::size_t paths = 0;
    std::set<Corner> seen;
    for (const auto& [start, unused] : figure) {
        std::vector<Corner> open{start};
        std::size_t odd = 0;
        bool isNew = false;
        while (!open.empty()) {
            const Corner corner = open.back();
            open.pop_back();
            if (!seen.insert(corner).second) {
                continue;
            }
            isNew = true;
            odd += static_cast<std::size_t>(degree[corner] % 2);
            open.insert(open.end(), figure[corner].begin(), figure[corner].end());
        }
        paths += isNew ? std::max<std::size_t>(1, odd / 2) : 0;
    }
    return paths;
}

std::vector<PageLine> RandomFigure(Random& random, int size) {
    std::vector<PageLine> lines;
    for (int i = random.between(1, 60); i > 0; --i) {
        const Point a{static_cast<double>(random.below(size)),
                      static_cast<double>(random.below(size))};
        const Point b{static_cast<double>(random.below(size)),
                      static_cast<double>(random.below(size))};
        if (a.x != b.x || a.y != b.y) {
            lines.push_back({a, b});
        }
    }
    return lines;
}

TEST(JoinLines, RandomFiguresBecomeTheFewestPathsWithEachLineOnce) {
    for (int trial = 0; trial < test_support::Scaled(2000); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const std::vector<PageLine> lines = RandomFigure(random, random.between(2, 7));
        const std::vector<Path> paths = JoinLines(lines, kRules);
        ASSERT_EQ(paths.size(), FewestPaths(lines));
        ASSERT_EQ(SidesOf(paths), SidesOf(lines));
    }
}

TEST(JoinLines, APermutationChangesNeitherNumberNorLines) {
    for (int trial = 0; trial < test_support::Scaled(200); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        std::vector<PageLine> lines = RandomFigure(random, random.between(2, 7));
        const std::vector<Path> before = JoinLines(lines, kRules);
        for (std::size_t i = lines.size(); i > 1; --i) {
            std::swap(lines[i - 1],
                      lines[static_cast<std::size_t>(random.below(static_cast<int>(i)))]);
            if (random.percent(50)) {
                std::swap(lines[i - 1].a, lines[i - 1].b);
            }
        }
        const std::vector<Path> after = JoinLines(lines, kRules);
        EXPECT_EQ(after.size(), before.size());
        EXPECT_EQ(SidesOf(after), SidesOf(before));
    }
}

TEST(JoinLines, AStarOfVeryManyRaysGoesStraightThroughItsMiddle) {
    constexpr int kRays = 1000;
    std::vector<PageLine> lines;
    for (const PageLine& chord : Ring({0, 0}, 10, kRays)) {
        lines.push_back({{0, 0}, chord.a});
    }
    const auto paths = JoinLines(lines, kRules);
    ASSERT_EQ(paths.size(), kRays / 2U);
    for (const Path& path : paths) {
        ASSERT_EQ(path.points.size(), 3U);
        EXPECT_NEAR(path.points[0].x, -path.points[2].x, 1e-9);
        EXPECT_NEAR(path.points[0].y, -path.points[2].y, 1e-9);
    }
}

TEST(JoinLines, AMirroredFigureGivesMirroredPaths) {
    for (int trial = 0; trial < test_support::Scaled(100); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const std::vector<PageLine> lines = RandomFigure(random, 8);
        std::vector<PageLine> mirrored = lines;
        for (PageLine& line : mirrored) {
            line.a.x = -line.a.x;
            line.b.x = -line.b.x;
        }
        const std::vector<Path> paths = JoinLines(lines, kRules);
        std::vector<Path> others = JoinLines(mirrored, kRules);
        ASSERT_EQ(others.size(), paths.size());
        for (std::size_t i = 0; i < paths.size(); ++i) {
            for (Point& point : others[i].points) {
                point.x = -point.x;
            }
            EXPECT_EQ(CornersOf(others[i]), CornersOf(paths[i]));
        }
    }
}

} // namespace
