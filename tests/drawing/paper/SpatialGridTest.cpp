// The grid finds all lines within reach.
#include "drawing/paper/SpatialGrid.h"

#include "drawing/paper/PaperShapes.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using kxcontour::PageLine;
using kxcontour::Point;
using kxcontour::SpatialGrid;
using test_support::Random;

constexpr double kReach = 0.05;

/// An upper bound that is exact for lines that do not cross; sampled ones may be nearer.
bool ComeWithinReach(const PageLine& p, const PageLine& q) {
    constexpr int kSteps = 200;
    for (int i = 0; i <= kSteps; ++i) {
        const Point point = tool_test::Between(p.a, p.b, i / static_cast<double>(kSteps));
        if (tool_test::DistanceToLine(point, q.a, q.b) <= kReach) {
            return true;
        }
    }
    return false;
}

SpatialGrid GridOf(const std::vector<PageLine>& lines, double reach) {
    SpatialGrid grid(lines, reach);
    for (std::uint32_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(grid.insert(lines[i]), i);
    }
    return grid;
}

std::set<std::uint32_t> Found(SpatialGrid& grid, const PageLine& line) {
    std::set<std::uint32_t> found;
    EXPECT_TRUE(grid.visit(line, [&](std::uint32_t number) {
        EXPECT_TRUE(found.insert(number).second) << number << " comes twice";
        return true;
    }));
    return found;
}

void ExpectAllNeighbours(const std::vector<PageLine>& lines) {
    SpatialGrid grid = GridOf(lines, kReach);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::set<std::uint32_t> found = Found(grid, lines[i]);
        for (std::uint32_t j = 0; j < lines.size(); ++j) {
            if (ComeWithinReach(lines[i], lines[j])) {
                EXPECT_TRUE(found.contains(j)) << i << " and " << j;
            }
        }
    }
}

TEST(SpatialGrid, FindsAllThatComesWithinReach) {
    for (int trial = 0; trial < test_support::Scaled(20); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        std::vector<PageLine> lines;
        for (int i = 0; i < 60; ++i) {
            const Point a = tool_test::RandomPoint(random, 20.0F);
            const Point b = tool_test::RandomPoint(random, random.percent(20) ? 20.0F : 1.0F);
            lines.push_back({a, random.percent(20) ? b : Point{a.x + b.x, a.y + b.y}});
        }
        ExpectAllNeighbours(lines);
    }
}

TEST(SpatialGrid, FindsLinesOnTheBordersOfCells) {
    std::vector<PageLine> lines;
    for (int i = 0; i <= 8; ++i) {
        const double at = i;
        lines.push_back({{at, 0}, {at, 8}});
        lines.push_back({{8, at}, {0, at}});
        lines.push_back({{at, at}, {at, at}});
    }
    ExpectAllNeighbours(lines);
}

TEST(SpatialGrid, DividesADenseFigureInACornerOfALargeSheet) {
    Random random(1);
    std::vector<PageLine> lines{{{0, 0}, {1000, 1000}}, {{1000, 0}, {0, 1000}}};
    for (int i = 0; i < 20000; ++i) {
        const Point a = tool_test::RandomPoint(random, 40.0F);
        lines.push_back({a, {a.x + 0.1, a.y + 0.1}});
    }
    SpatialGrid grid = GridOf(lines, 0.001);
    for (const PageLine& line : lines) {
        grid.visit(line, [](std::uint32_t) { return true; });
    }
    // On one level all the short lines would be in some 30 cells: 13 million neighbours.
    EXPECT_LT(grid.work(), 30 * lines.size());
}

TEST(SpatialGrid, HasNothingThatWasNotInserted) {
    const std::vector<PageLine> lines{{{0, 0}, {5, 5}}, {{5, 0}, {0, 5}}};
    SpatialGrid grid(lines, kReach);
    EXPECT_TRUE(Found(grid, lines[0]).empty());
    EXPECT_EQ(grid.insert(lines[1]), 0U);
    EXPECT_EQ(Found(grid, lines[0]).size(), 1U);
    EXPECT_EQ(grid.line(0).a.x, 5.0);
}

TEST(SpatialGrid, AVisitStopsWhenTheCallbackReturnsFalse) {
    const std::vector<PageLine> lines(5, PageLine{{0, 0}, {5, 5}});
    SpatialGrid grid = GridOf(lines, kReach);
    int visits = 0;
    EXPECT_FALSE(grid.visit(lines[0], [&](std::uint32_t) { return ++visits < 3; }));
    EXPECT_EQ(visits, 3);
}

// Crowded cells at the start of a line are not searched when its other end decides.
TEST(SpatialGrid, VisitsTheCrowdLast) {
    std::vector<PageLine> lines;
    lines.reserve(501);
    for (int i = 0; i < 500; ++i) {
        lines.push_back({{0, 0}, {0.001 * i, 0.2}});
    }
    lines.push_back({{90, 0}, {100, 0}});
    SpatialGrid grid = GridOf(lines, kReach);
    std::vector<std::uint32_t> order;
    grid.visit({{0, 0}, {100, 0}}, [&](std::uint32_t number) {
        order.push_back(number);
        return true;
    });
    ASSERT_EQ(order.size(), lines.size());
    EXPECT_EQ(order.front(), lines.size() - 1);
}

TEST(SpatialGrid, TakesNothingAndAPoint) {
    SpatialGrid empty({}, kReach);
    EXPECT_TRUE(Found(empty, {{0, 0}, {1, 1}}).empty());
    SpatialGrid grid = GridOf({{{3, 4}, {3, 4}}}, kReach);
    EXPECT_EQ(Found(grid, {{3, 4}, {3, 4}}).size(), 1U);
    EXPECT_EQ(Found(grid, {{0, 4}, {9, 4}}).size(), 1U);
}

} // namespace
