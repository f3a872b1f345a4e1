// The references for drawings of boxes: known scenes, and the closed form against single rays.
#include "BoxLines.h"

#include "LineComparison.h"
#include "PaperView.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

using ground_truth::Cuboid;
using ground_truth::Eye;
using ground_truth::FlatLine;
using ground_truth::SpaceLine;
using ground_truth::Vector;
using ground_truth::VisibleLines;
using test_support::Random;

const Eye kOblique{true, {3, 4, 5}};
const Eye kFromFront{true, {0, 0, 1}};

double LengthOf(const std::vector<SpaceLine>& lines, bool edges) {
    double length = 0.0;
    for (const SpaceLine& line : lines) {
        length += line.isEdge == edges ? (line.to - line.from).Length() : 0.0;
    }
    return length;
}

TEST(BoxLines, OfABoxAreItsNineNearEdges) {
    const std::vector<SpaceLine> lines = VisibleLines({{{0, 0, 0}, {2, 2, 2}}}, kOblique);
    EXPECT_EQ(lines.size(), 9U);
    EXPECT_DOUBLE_EQ(LengthOf(lines, true), 18.0);
}

TEST(BoxLines, InsideABoxAreHidden) {
    const Cuboid outer{{0, 0, 0}, {4, 4, 4}};
    EXPECT_EQ(VisibleLines({outer, {{1, 1, 1}, {3, 3, 3}}}, kOblique).size(), 9U);
}

TEST(BoxLines, InAFlushFaceAreVisible) {
    // The top of the small box lies in that of the large one.
    const Cuboid outer{{0, 0, 0}, {4, 4, 4}};
    const std::vector<SpaceLine> lines = VisibleLines({outer, {{1, 1, 1}, {3, 4, 3}}}, kOblique);
    EXPECT_DOUBLE_EQ(LengthOf(lines, true), 9 * 4.0 + 4 * 2.0);
    EXPECT_DOUBLE_EQ(LengthOf(lines, false), 0.0);
}

TEST(BoxLines, WhereABeamEntersASlabAreCrossings) {
    // Two of the four sides of the beam are seen; the crossings of the others are behind it.
    const Cuboid slab{{-10, 0, -10}, {10, 2, 10}};
    const Cuboid beam{{-1, 1, -1}, {1, 5, 1}};
    const std::vector<SpaceLine> lines = VisibleLines({slab, beam}, kOblique);
    EXPECT_DOUBLE_EQ(LengthOf(lines, false), 4.0);
}

TEST(BoxLines, BehindABoxAreHiddenAsFarAsItReaches) {
    const Cuboid front{{0, 0, 5}, {2, 2, 6}};
    const Cuboid behind{{1, 1, 0}, {4, 3, 1}};
    double across = 0.0;
    for (const SpaceLine& line : VisibleLines({front, behind}, kFromFront)) {
        across += line.from[2] == 1.0 ? std::abs(line.to[0] - line.from[0]) : 0.0;
    }
    EXPECT_DOUBLE_EQ(across, 2.0 + 3.0) << "of the bottom and the top edge in front";
}

TEST(BoxLines, AreNotHiddenByRaysThatOnlyTouch) {
    // Seen along the plane in which two boxes touch.
    const Cuboid left{{0, 0, 5}, {2, 2, 6}};
    const Cuboid right{{2, 0, 5}, {4, 2, 6}};
    const Cuboid behind{{2, 0, 0}, {3, 2, 1}};
    double upright = 0.0;
    for (const SpaceLine& line : VisibleLines({left, right, behind}, kFromFront)) {
        const bool isBehind = line.from[2] == 1.0 && line.to[2] == 1.0 && line.from[0] == 2.0;
        upright += isBehind ? line.to[1] - line.from[1] : 0.0;
    }
    EXPECT_DOUBLE_EQ(upright, 2.0);
}

/// Whether the ray from a point to the eye runs through the inside of a box for a stretch.
bool IsHidden(const Vector& point, const std::vector<Cuboid>& boxes, const Eye& eye) {
    for (const Cuboid& box : boxes) {
        double from = 0.0;
        double to = eye.parallel ? std::numeric_limits<double>::infinity() : 1.0;
        for (int i = 0; i < 3; ++i) {
            const auto axis = static_cast<std::size_t>(i);
            const double way = eye.parallel ? eye.place[i] : eye.place[i] - point[i];
            const double low = box.low[axis] - point[i];
            const double high = box.high[axis] - point[i];
            if (way == 0.0) {
                to = low < 0.0 && 0.0 < high ? to : -1.0;
            } else {
                from = std::max(from, std::min(low / way, high / way));
                to = std::min(to, std::max(low / way, high / way));
            }
        }
        if (to - from > 1e-9) {
            return true;
        }
    }
    return false;
}

/// Whether a point lies on a line, an end's width away from its ends: 1 yes, -1 no, 0 at an end.
int PlaceOn(const SpaceLine& line, const Vector& point) {
    constexpr double kEnd = 1e-6;
    int place = 1;
    for (int i = 0; i < 3; ++i) {
        const double low = std::min(line.from[i], line.to[i]);
        const double high = std::max(line.from[i], line.to[i]);
        if (point[i] < low - kEnd || point[i] > high + kEnd) {
            return -1;
        }
        place = high > low && (point[i] < low + kEnd || point[i] > high - kEnd) ? 0 : place;
    }
    return place;
}

TEST(BoxLines, AreWhatSingleRaysSay) {
    constexpr int kPoints = 7;
    std::size_t compared = 0;
    std::size_t hidden = 0;
    for (int seed = 0; seed < test_support::Scaled(300); ++seed) {
        const auto number = static_cast<std::uint64_t>(seed);
        const auto kind = static_cast<ground_truth::SceneKind>(number % ground_truth::kSceneKinds);
        const auto viewKind =
            static_cast<ground_truth::ViewKind>(number % ground_truth::kViewKinds);
        const std::vector<Cuboid> boxes = ground_truth::MakeBoxScene(kind, number).boxes;
        const Eye eye = ground_truth::PaperView(viewKind, boxes, number).eye();
        const std::vector<SpaceLine> lines = VisibleLines(boxes, eye);
        Random random(number);
        for (const Cuboid& box : boxes) {
            for (int axis = 0; axis < 3; ++axis) {
                for (int i = 0; i < kPoints; ++i) {
                    Vector point;
                    for (int k = 0; k < 3; ++k) {
                        const auto at = static_cast<std::size_t>(k);
                        const double share = static_cast<double>(random.unit());
                        const bool upper = random.percent(50);
                        point[k] = k == axis ? box.low[at] + share * (box.high[at] - box.low[at])
                                   : upper   ? box.high[at]
                                             : box.low[at];
                    }
                    int place = -1;
                    for (const SpaceLine& line : lines) {
                        place = std::max(place, PlaceOn(line, point));
                    }
                    if (place != 0) {
                        const bool isHidden = IsHidden(point, boxes, eye);
                        ASSERT_EQ(place < 0, isHidden) << "seed " << seed << ": " << point[0] << " "
                                                       << point[1] << " " << point[2];
                        ++compared;
                        hidden += isHidden ? 1U : 0U;
                    }
                }
            }
        }
    }
    EXPECT_GT(hidden, compared / 10);
    EXPECT_LT(hidden, 9 * compared / 10);
}

TEST(FarFrom, GivesStretchesBeyondTheDistance) {
    const std::vector<FlatLine> lines{{{0, 0}, {10, 0}}};
    const std::vector<FlatLine> others{{{0, 0.5}, {4, 0.5}}, {{8, -3}, {8, 3}}};
    double length = LengthOf(FarFrom(lines, others, 1.0));
    EXPECT_NEAR(length, 10.0 - (4.0 + std::sqrt(0.75)) - 2.0, 1e-12);
    length = LengthOf(FarFrom(lines, others, 0.4));
    EXPECT_NEAR(length, 10.0 - 0.8, 1e-12);
    EXPECT_TRUE(FarFrom(lines, {{{10, 0}, {0, 0}}}, 1e-9).empty());
}

TEST(EachOnce, LeavesLinesThatCross) {
    const std::vector<FlatLine> lines{
        {{0, 0}, {10, 0}}, {{5, -5}, {5, 5}}, {{12, 0}, {8, 0}}, {{2, 0}, {3, 0}}};
    EXPECT_NEAR(LengthOf(EachOnce(lines, 1e-6)), 10.0 + 10.0 + 2.0, 1e-5);
}

} // namespace
