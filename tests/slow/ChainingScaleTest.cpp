// Chaining large drawings. Each shape here makes some step of a careless implementation quadratic:
// it would then take minutes or hours where the bound is seconds and the need is less.
#include "linesets/RunChecks.h"
#include "linesets/SegmentBuilders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

using test_support::Chain;
using test_support::CheckConnected;
using test_support::CheckKinds;
using test_support::CheckLinks;
using test_support::CheckSegments;
using test_support::CheckTiling;
using test_support::kArc;
using test_support::kStraight;
using test_support::LineList;
using test_support::Polylines;
using test_support::Record;
using test_support::Vec3;

constexpr double kPi = 3.141592653589793;
constexpr double kMostSeconds = 20.0;

Polylines ChainInTime(const LineList& list, double mostSeconds = kMostSeconds) {
    const auto start = std::chrono::steady_clock::now();
    Polylines lines = Chain(list);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    EXPECT_LT(taken.count(), mostSeconds);
    EXPECT_TRUE(lines.done);
    CheckTiling(lines);
    CheckSegments(list, lines);
    CheckLinks(lines);
    CheckConnected(lines);
    CheckKinds(lines);
    return lines;
}

// As it is, searched for arcs, and searched for straight runs.
std::vector<LineList> BothModes(LineList list) {
    LineList straight = list;
    return {std::move(list), std::move(straight).flagged()};
}

std::size_t LinksIn(const Polylines& lines) {
    return static_cast<std::size_t>(
        std::count_if(lines.runs.begin(), lines.runs.end(),
                      [](const Record& run) { return run.next != nullptr; }));
}

std::size_t RunsOfKind(const Polylines& lines, std::uint32_t kind) {
    return static_cast<std::size_t>(
        std::count_if(lines.runs.begin(), lines.runs.end(),
                      [kind](const Record& run) { return run.kind == kind; }));
}

Vec3 OnCircle(double radius, double angle) {
    return Vec3(static_cast<float>(radius * std::cos(angle)),
                static_cast<float>(radius * std::sin(angle)), 1.0F);
}

TEST(ChainingScale, AStarOfAHundredThousandSegments) {
    constexpr unsigned int kSpokes = 100000;
    LineList star;
    const unsigned int hub = star.addVertex(Vec3(0, 0, 1));
    for (unsigned int i = 0; i < kSpokes; ++i) {
        star.addSegment(hub, star.addVertex(OnCircle(1000.0, 2.0 * kPi * i / kSpokes)));
    }
    for (const LineList& list : BothModes(std::move(star))) {
        EXPECT_EQ(ChainInTime(list, 5.0).runs.size(), kSpokes);
    }
}

TEST(ChainingScale, AClosedLoopOfAMillionSegments) {
    constexpr unsigned int kSegments = 1000000;
    LineList loop;
    for (unsigned int i = 0; i < kSegments; ++i) {
        loop.addVertex(OnCircle(1e6, 2.0 * kPi * i / kSegments));
        loop.addSegment(i, (i + 1) % kSegments);
    }
    for (const LineList& list : BothModes(std::move(loop))) {
        ChainInTime(list);
    }
}

TEST(ChainingScale, AMillionSeparateSegments) {
    LineList separate;
    for (unsigned int i = 0; i < 1000000; ++i) {
        const unsigned int row = i / 1000;
        const auto x = static_cast<float>(i % 1000);
        const auto y = static_cast<float>(row);
        separate.addPath({Vec3(x, y, 0.0F), Vec3(x + 0.75F, y + 0.5F, 0.0F)});
    }
    for (const LineList& list : BothModes(std::move(separate))) {
        EXPECT_EQ(ChainInTime(list).runs.size(), 1000000U);
    }
}

TEST(ChainingScale, AGridOfAMillionSegments) {
    constexpr unsigned int kSide = 707;
    LineList grid;
    for (unsigned int y = 0; y < kSide; ++y) {
        for (unsigned int x = 0; x < kSide; ++x) {
            const unsigned int v =
                grid.addVertex(Vec3(static_cast<float>(x), static_cast<float>(y), 0.0F));
            if (x > 0) {
                grid.addSegment(v - 1, v);
            }
            if (y > 0) {
                grid.addSegment(v - kSide, v);
            }
        }
    }
    const std::vector<LineList> modes = BothModes(std::move(grid));
    EXPECT_EQ(ChainInTime(modes[0]).indices.size(), modes[0].indices.size());
    // Every straight line of the grid goes through from side to side. At two corners of the frame
    // two of them are one chain to begin with, and at all corners their ends are no junctions.
    const Polylines straight = ChainInTime(modes[1]);
    std::size_t longest = 0;
    for (const Record& run : straight.runs) {
        if (run.prev == nullptr) {
            longest = std::max(longest, test_support::SegmentsOfChain(run).size());
        }
    }
    EXPECT_EQ(longest, kSide - 1U);
    EXPECT_GT(LinksIn(straight), straight.indices.size() / 2 * 99 / 100);
}

TEST(ChainingScale, AChainOfAHundredThousandArcs) {
    // Half circles of ten chords, upwards and downwards by turns.
    constexpr unsigned int kArcs = 100000;
    LineList wave;
    wave.addVertex(Vec3(1.0F, 1.0F, 1.0F));
    for (unsigned int arc = 0; arc < kArcs; ++arc) {
        const unsigned int row = arc / 1000;
        const double centre = 2.0 * (arc % 1000);
        const double height = 10.0 * row;
        const double side = arc % 2 == 0 ? 1.0 : -1.0;
        for (unsigned int i = 1; i <= 10; ++i) {
            const double angle = kPi * i / 10.0;
            const unsigned int v = wave.addVertex(
                Vec3(static_cast<float>(centre + 2.0 - std::cos(angle)),
                     static_cast<float>(height + 1.0 + side * std::sin(angle)), 1.0F));
            wave.addSegment(v - 1, v);
        }
    }
    EXPECT_GT(RunsOfKind(ChainInTime(wave), kArc), kArcs * 9 / 10);
}

TEST(ChainingScale, AStraightLineInHalfAMillionPieces) {
    constexpr unsigned int kPieces = 500000;
    LineList comb;
    for (unsigned int i = 0; i <= kPieces; ++i) {
        comb.addVertex(Vec3(static_cast<float>(i), 0.0F, 1.0F));
    }
    for (unsigned int i = 0; i < kPieces; ++i) {
        comb.addSegment(i, i + 1);
        if (i > 0) {
            comb.addSpoke(i, Vec3(0.0F, 1.0F, 0.0F));
        }
    }
    const Polylines lines = ChainInTime(std::move(comb).flagged());
    EXPECT_EQ(LinksIn(lines), kPieces - 1);
    EXPECT_EQ(RunsOfKind(lines, kStraight), kPieces);
}

} // namespace
