// The grid finds whatever comes near.
#include "paper/CellGrid.h"

#include "paper/PaperShapes.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using kxcontour::CellGrid;
using kxcontour::PaperLine;
using kxcontour::Point;
using test_support::Random;

constexpr double kReach = 0.05;

/// An upper bound that is exact for lines that do not cross; sampled ones may be nearer.
bool ComeWithinReach(const PaperLine& p, const PaperLine& q) {
    constexpr int kSteps = 200;
    for (int i = 0; i <= kSteps; ++i) {
        const Point point = tool_test::Between(p.a, p.b, i / static_cast<double>(kSteps));
        if (tool_test::DistanceToLine(point, q.a, q.b) <= kReach) {
            return true;
        }
    }
    return false;
}

std::set<std::uint32_t> Found(const CellGrid& grid, const PaperLine& line) {
    std::set<std::uint32_t> found;
    grid.visit(line, [&](std::span<const std::uint32_t> near) {
        EXPECT_TRUE(std::is_sorted(near.begin(), near.end()));
        found.insert(near.begin(), near.end());
    });
    return found;
}

void ExpectAllNeighbours(const std::vector<PaperLine>& lines) {
    const CellGrid grid(lines, kReach);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::set<std::uint32_t> found = Found(grid, lines[i]);
        for (std::uint32_t j = 0; j < lines.size(); ++j) {
            if (ComeWithinReach(lines[i], lines[j])) {
                EXPECT_TRUE(found.contains(j)) << i << " and " << j;
            }
        }
    }
}

TEST(CellGrid, FindsAllThatComesWithinReach) {
    for (int trial = 0; trial < test_support::Scaled(20); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        std::vector<PaperLine> lines;
        for (int i = 0; i < 60; ++i) {
            const Point a = tool_test::RandomPoint(random, 20.0F);
            const Point b = tool_test::RandomPoint(random, random.percent(20) ? 20.0F : 1.0F);
            lines.push_back({a, random.percent(20) ? b : Point{a.x + b.x, a.y + b.y}});
        }
        ExpectAllNeighbours(lines);
    }
}

TEST(CellGrid, FindsLinesOnTheBordersOfCells) {
    std::vector<PaperLine> lines;
    for (int i = 0; i <= 8; ++i) {
        const double at = i;
        lines.push_back({{at, 0}, {at, 8}});
        lines.push_back({{8, at}, {0, at}});
        lines.push_back({{at, at}, {at, at}});
    }
    ExpectAllNeighbours(lines);
}

TEST(CellGrid, TakesADenseFigureInACornerOfALargeSheetApart) {
    Random random(1);
    std::vector<PaperLine> lines{{{0, 0}, {1000, 1000}}, {{1000, 0}, {0, 1000}}};
    for (int i = 0; i < 20000; ++i) {
        const Point a = tool_test::RandomPoint(random, 40.0F);
        lines.push_back({a, {a.x + 0.1, a.y + 0.1}});
    }
    const CellGrid grid(lines, 0.001);
    std::size_t asked = 0;
    for (const PaperLine& line : lines) {
        grid.visit(line, [&](std::span<const std::uint32_t> near) { asked += near.size(); });
    }
    // On one level all the short lines would be in some 30 cells: 13 million neighbours.
    EXPECT_LT(asked, 20 * lines.size());
}

TEST(CellGrid, TakesNothingAndAPoint) {
    EXPECT_TRUE(Found(CellGrid({}, kReach), {{0, 0}, {1, 1}}).empty());
    const CellGrid grid({{{3, 4}, {3, 4}}}, kReach);
    EXPECT_EQ(Found(grid, {{3, 4}, {3, 4}}).size(), 1U);
    EXPECT_EQ(Found(grid, {{0, 4}, {9, 4}}).size(), 1U);
}

} // namespace
