// Straight runs and arcs within chains: each rule on a drawing made for it, and the invariants of
// fitting and joining on random drawings.
#include <ctr/LineSegmentSet.h>

#include "linesets/RunBuilders.h"
#include "linesets/RunChecks.h"
#include "linesets/SegmentBuilders.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::ArcPoints;
using test_support::Chain;
using test_support::Checked;
using test_support::CheckPolylines;
using test_support::Concatenated;
using test_support::FlaggedPath;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::kArc;
using test_support::kCentre;
using test_support::kDegree;
using test_support::kStraight;
using test_support::LineList;
using test_support::LinePoints;
using test_support::MakeIndices;
using test_support::MakeVertices;
using test_support::Path;
using test_support::Points;
using test_support::Polylines;
using test_support::Random;
using test_support::Record;
using test_support::RunsOf;
using test_support::Same;
using test_support::Scaled;
using test_support::Shuffled;
using test_support::Summarize;
using test_support::Summary;
using test_support::Vec3;
using test_support::VerticesPointer;
using Flags = std::vector<bool>;

// --- Arcs in one chain -----------------------------------------------------------------------

TEST(FitRuns, AQuarterCircleIsOneArc) {
    EXPECT_EQ(RunsOf(Path(ArcPoints(kCentre, 10.0, 30.0, 90.0, 24))), (Summary{{0, 48, kArc}}));
    EXPECT_EQ(RunsOf(Path(ArcPoints(kCentre, 10.0, 30.0, -90.0, 24))), (Summary{{0, 48, kArc}}));
}

TEST(FitRuns, TwentyDegreesOfTheSameCircleAreNone) {
    EXPECT_EQ(RunsOf(Path(ArcPoints(kCentre, 10.0, 30.0, 20.0, 24))), (Summary{{0, 48, 0}}));
}

TEST(FitRuns, AnArcSweepsAnEighthOfAHalfTurnOrMore) {
    for (const double sign : {-1.0, 1.0}) {
        const auto runs = [&](double degrees) {
            return RunsOf(Path(ArcPoints(kCentre, 10.0, 10.0, sign * degrees, 6)));
        };
        EXPECT_EQ(runs(22.51), (Summary{{0, 12, kArc}}));
        EXPECT_EQ(runs(22.49), (Summary{{0, 12, 0}}));
    }
}

TEST(FitRuns, ASegmentByItselfIsNotRecognised) {
    EXPECT_EQ(RunsOf(Path({Vec3(0, 0, 0), Vec3(1, 0, 0)})), (Summary{{0, 2, 0}}));
    EXPECT_EQ(RunsOf(FlaggedPath({Vec3(0, 0, 0), Vec3(1, 0, 0)})), (Summary{{0, 2, 0}}));
}

TEST(FitRuns, AClosedCircleIsOneArc) {
    LineList list = Path(ArcPoints(kCentre, 10.0, 0.0, 360.0, 40));
    list.indices.back() = 0;
    EXPECT_EQ(RunsOf(list), (Summary{{0, 80, kArc}}));
}

TEST(FitRuns, AStraightPieceBeforeAnArcStaysWithoutAName) {
    // Steps more than three times as long as the arc's, so that the arc begins exactly at the bend.
    const Points path = Concatenated(
        {LinePoints(Vec3(1, 1, 1), Vec3(0, 4, 0), 5), ArcPoints(kCentre, 10.0, 0.0, 90.0, 24)});
    EXPECT_EQ(RunsOf(Path(path)), (Summary{{0, 10, 0}, {10, 58, kArc}}));
}

TEST(FitRuns, AStraightPieceAfterAnArcStaysWithoutAName) {
    const Points path = Concatenated(
        {ArcPoints(kCentre, 10.0, 0.0, 90.0, 24), LinePoints(Vec3(1, 1, 1), Vec3(-4, 0, 0), 5)});
    EXPECT_EQ(RunsOf(Path(path)), (Summary{{0, 48, kArc}, {48, 58, 0}}));
}

TEST(FitRuns, ASlotIsTwoArcsAndWhatIsBetweenThem) {
    const Points path = Concatenated(
        {LinePoints(Vec3(1, 1, 1), Vec3(0, 4, 0), 5), ArcPoints(kCentre, 10.0, 0.0, 180.0, 48),
         LinePoints(Vec3(1, 1, 1), Vec3(0, -4, 0), 5), ArcPoints(kCentre, 10.0, 180.0, 170.0, 48)});
    EXPECT_EQ(RunsOf(Path(path)),
              (Summary{{0, 10, 0}, {10, 106, kArc}, {106, 116, 0}, {116, 212, kArc}}));
}

TEST(FitRuns, ArcsThatTurnTheOtherWayFollowEachOther) {
    const Points path = Concatenated({ArcPoints(kCentre, 10.0, 180.0, -90.0, 24),
                                      ArcPoints(kCentre, 10.0, -90.0, 90.0, 24),
                                      ArcPoints(kCentre, 10.0, 180.0, -90.0, 24)});
    EXPECT_EQ(RunsOf(Path(path)), (Summary{{0, 48, kArc}, {48, 96, kArc}, {96, 144, kArc}}));
}

TEST(FitRuns, ArcsOfOtherRadiiFollowEachOther) {
    const Points path = Concatenated(
        {ArcPoints(kCentre, 10.0, 0.0, 90.0, 24), ArcPoints(kCentre, 40.0, 90.0, 90.0, 24)});
    EXPECT_EQ(RunsOf(Path(path)), (Summary{{0, 48, kArc}, {48, 96, kArc}}));
}

TEST(FitRuns, AfterAnArcThatIsTooShortTheSearchGoesOnAtItsLastSegment) {
    // 15 degrees to the left, then 90 to the right: only the second is an arc.
    const Points path = Concatenated(
        {ArcPoints(kCentre, 10.0, -15.0, 15.0, 5), ArcPoints(kCentre, 10.0, 180.0, -90.0, 24)});
    EXPECT_EQ(RunsOf(Path(path)), (Summary{{0, 10, 0}, {10, 58, kArc}}));
}

TEST(FitRuns, TheLastSegmentOfAnArcThatIsTooShortMayBeginTheNext) {
    // A chord in front that meets the first of the arc at 10 degrees: the two alone are 20 degrees
    // of a smaller circle.
    Points path = ArcPoints(kCentre, 10.0, 0.0, 90.0, 24);
    const double chord = 20.0 * std::sin(1.875 * kDegree);
    const double direction = (91.875 - 10.0) * kDegree;
    path.insert(path.begin(),
                path.front() - Vec3(static_cast<float>(chord * std::cos(direction)),
                                    static_cast<float>(chord * std::sin(direction)), 0.0F));
    EXPECT_EQ(RunsOf(Path(path)), (Summary{{0, 2, 0}, {2, 50, kArc}}));
}

TEST(FitRuns, TheAngleOfAFitThatFailsDoesNotCount) {
    // 20 degrees, and from there a chord of the same circle across its centre: the chain then
    // sweeps 200 degrees, which is reported, but its area is not that of an arc.
    Points path = ArcPoints(kCentre, 10.0, 0.0, 20.0, 8);
    path.push_back(ArcPoints(kCentre, 10.0, 200.0, 1.0, 1).front());
    EXPECT_EQ(RunsOf(Path(path)), (Summary{{0, 18, 0}}));
}

TEST(FitRuns, SmallNoiseOnACircleIsTakenAndLargeIsNot) {
    Random random(3);
    const auto noisy = [&](float noise) {
        LineList list = Path(ArcPoints(kCentre, 10.0, 0.0, 200.0, 20));
        for (Vec3& p : list.positions) {
            p += Vec3(random.uniform(-noise, noise), random.uniform(-noise, noise), 0.0F);
        }
        return RunsOf(list);
    };
    for (int trial = 0; trial < 50; ++trial) {
        EXPECT_EQ(noisy(0.0005F), (Summary{{0, 40, kArc}}));
        EXPECT_NE(noisy(2.0F), (Summary{{0, 40, kArc}}));
    }
}

// --- Flags choose the mode -------------------------------------------------------------------

TEST(FitRuns, AnArcLosesTheFlagsOfItsSegments) {
    LineList list = Path(ArcPoints(kCentre, 10.0, 0.0, 90.0, 24));
    list.flags.assign(24, true);
    list.flags[0] = false; // the first of the chain: search for arcs
    const Polylines lines = Checked(list);
    EXPECT_EQ(Summarize(lines), (Summary{{0, 48, kArc}}));
    EXPECT_EQ(lines.straight, Flags(24, false));
}

TEST(FitRuns, AStraightChainIsARunWhenItsFirstFlagIsSet) {
    const Points path = LinePoints(Vec3(1, 2, 3), Vec3(0.3F, 0.1F, -0.7F), 9);
    LineList list = Path(path);
    list.flags.assign(9, false);
    list.flags[0] = true;
    const Polylines lines = Checked(list);
    EXPECT_EQ(Summarize(lines), (Summary{{0, 18, kStraight}}));
    EXPECT_EQ(lines.straight, Flags(9, true));
    list.flags.assign(9, true);
    list.flags[0] = false;
    EXPECT_EQ(RunsOf(list), (Summary{{0, 18, 0}}));
}

TEST(FitRuns, InStraightModeACircleIsNothing) {
    EXPECT_EQ(RunsOf(FlaggedPath(ArcPoints(kCentre, 10.0, 0.0, 90.0, 24))), (Summary{{0, 48, 0}}));
}

TEST(FitRuns, ACornerPartsTwoStraightRuns) {
    const Points path = Concatenated(
        {LinePoints(Vec3(1, 1, 1), Vec3(1, 0, 0), 6), LinePoints(Vec3(1, 1, 1), Vec3(0, 1, 0), 4)});
    EXPECT_EQ(RunsOf(FlaggedPath(path)), (Summary{{0, 12, kStraight}, {12, 20, kStraight}}));
}

TEST(FitRuns, InStraightModeABendBetweenTwoRunsLosesItsFlags) {
    const Points path = Concatenated({LinePoints(Vec3(1, 1, 1), Vec3(0, 1, 0), 6),
                                      ArcPoints(kCentre, 10.0, 0.0, 90.0, 12),
                                      LinePoints(Vec3(1, 1, 1), Vec3(-1, 0, 0), 4)});
    const Polylines lines = Checked(FlaggedPath(path));
    EXPECT_EQ(Summarize(lines), (Summary{{0, 12, kStraight}, {12, 36, 0}, {36, 44, kStraight}}));
    Flags expected(22, false);
    std::fill(expected.begin(), expected.begin() + 6, true);
    std::fill(expected.begin() + 18, expected.end(), true);
    EXPECT_EQ(lines.straight, expected);
}

TEST(FitRuns, AStraightRunDeviatesByLessThanATenthOfADegree) {
    const auto runs = [](double degrees) {
        const auto rise = static_cast<float>(std::tan(degrees * 3.141592653589793 / 180.0));
        return RunsOf(FlaggedPath({Vec3(0, 0, 0), Vec3(1, rise, 0), Vec3(2, 0, 0)}));
    };
    EXPECT_EQ(runs(0.0999), (Summary{{0, 4, kStraight}}));
    EXPECT_EQ(runs(0.1001), (Summary{{0, 4, 0}}));
}

TEST(FitRuns, SegmentsWithoutLengthBelongToTheRunAroundThem) {
    Points path = ArcPoints(kCentre, 10.0, 0.0, 90.0, 24);
    path.insert(path.begin() + 12, path[12]);
    EXPECT_EQ(RunsOf(Path(path)), (Summary{{0, 50, kArc}}));
}

// --- Failure ---------------------------------------------------------------------------------

TEST(FitRuns, InputThatCannotBeChainedLeavesTheOutputs) {
    const VerticesPointer vertices = MakeVertices(ArcPoints(kCentre, 10.0, 0.0, 90.0, 4));
    for (const std::vector<unsigned int>& indices :
         {std::vector<unsigned int>{}, std::vector<unsigned int>{1},
          std::vector<unsigned int>{0, 1, 1, 5}, std::vector<unsigned int>{0, 0xffffffffU}}) {
        const IndicesPointer input = MakeIndices(indices);
        const IndicesPointer before = MakeIndices({7, 8});
        IndicesPointer output = before;
        std::vector<unsigned char> tags(indices.size() / 2, 2);
        std::vector<Record> runs(3);
        runs[1].kind = 77;
        Flags straight{true, false, true};
        EXPECT_FALSE(LineSegmentSet::BuildPolylinesImpl(*vertices, *input, nullptr, &tags, output,
                                                        runs, straight));
        EXPECT_EQ(output.get(), before.get());
        EXPECT_EQ(IndicesOf(output.get()), (std::vector<unsigned int>{7, 8}));
        EXPECT_EQ(tags, std::vector<unsigned char>(indices.size() / 2, 2));
        ASSERT_EQ(runs.size(), 3U);
        EXPECT_EQ(runs[1].kind, 77U);
        EXPECT_EQ(straight, (Flags{true, false, true}));
    }
}

TEST(FitRuns, PositionsThatAreNoNumbersAreChainedAllTheSame) {
    for (const float bad :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        for (const bool straight : {false, true}) {
            LineList list = Path(ArcPoints(kCentre, 10.0, 0.0, 90.0, 8));
            list.positions[4][1] = bad;
            list.flags.assign(list.segmentCount(), straight);
            const Polylines lines = Chain(list);
            ASSERT_TRUE(lines.done);
            CheckTiling(lines);
            CheckSegments(list, lines);
            CheckLinks(lines);
            CheckConnected(lines);
        }
    }
}

TEST(FitRuns, OfASetCarryTheStraightFlags) {
    const Points path = Concatenated(
        {LinePoints(Vec3(1, 1, 1), Vec3(0, 1, 0), 6), ArcPoints(kCentre, 10.0, 0.0, 90.0, 12)});
    const LineList list = FlaggedPath(path);
    const test_support::SetPointer source = test_support::MakeSet(list.positions, list.indices);
    source->segmentFlags = list.flags;
    std::vector<Record> runs;
    const test_support::SetPointer lines(LineSegmentSet::BuildPolylines(*source, runs, true));
    ASSERT_NE(lines.get(), nullptr);
    Flags expected(18, false);
    std::fill(expected.begin(), expected.begin() + 6, true);
    EXPECT_EQ(lines->segmentFlags, expected);
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0].kind, kStraight);
}

// --- Random drawings -------------------------------------------------------------------------

Vec3 AnyPoint(Random& random) {
    return Vec3(random.uniform(-20, 20), random.uniform(-20, 20), random.uniform(-2, 2));
}

void AddAnyCircle(LineList& list, Random& random) {
    const int segments = random.between(3, 40);
    const bool closed = random.percent(50);
    const double sweep = closed ? 360.0 : random.uniform(5.0F, 350.0F);
    list.addPath(ArcPoints(AnyPoint(random), random.uniform(0.5F, 20.0F),
                           random.uniform(0.0F, 360.0F), sweep, segments));
    if (closed) {
        list.indices.back() -= static_cast<unsigned int>(segments);
    }
}

void AddAnyLine(LineList& list, Random& random) {
    list.addPath(LinePoints(AnyPoint(random), 0.1F * AnyPoint(random), random.between(1, 15)));
}

// A piece of a drawing: curves, divided at random vertices, between which there are stray segments,
// doubled ones and ones from a vertex to itself.
LineList AnyDrawing(Random& random) {
    LineList list;
    for (int i = random.between(1, 3); i > 0; --i) {
        random.percent(60) ? AddAnyCircle(list, random) : AddAnyLine(list, random);
    }
    const auto vertexCount = static_cast<int>(list.positions.size());
    const auto anyVertex = [&] { return static_cast<unsigned int>(random.below(vertexCount)); };
    for (int i = random.below(12); i > 0; --i) {
        const unsigned int v = anyVertex();
        switch (random.below(4)) {
        case 0:
            list.addSegment(v, anyVertex());
            break;
        case 1:
            list.addSegment(v, random.percent(20) ? v : anyVertex());
            list.addSegment(v, list.indices.back());
            break;
        default:
            list.addSpoke(v, 0.2F * AnyPoint(random));
        }
    }
    const int flagShare = 25 * random.below(5);
    const int noise = random.below(5);
    for (std::size_t i = 0; i < list.segmentCount(); ++i) {
        list.flags.push_back(random.percent(flagShare));
        list.tags.push_back(static_cast<unsigned char>(random.below(4)));
    }
    for (Vec3& p : list.positions) {
        p += noise == 0 ? 0.001F * AnyPoint(random) : Vec3(0, 0, 0);
    }
    LineList shuffled = Shuffled(list, random);
    if (random.percent(20)) {
        shuffled.flags.clear();
    }
    return shuffled;
}

TEST(FitRuns, RandomDrawingsKeepTheInvariants) {
    int arcs = 0;
    int straight = 0;
    int joined = 0;
    const int trials = Scaled(5000);
    for (int trial = 0; trial < trials; ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const LineList list = AnyDrawing(random);
        const Polylines lines = Chain(list);
        CheckPolylines(list, lines);
        ASSERT_FALSE(HasFailure()) << "trial " << trial;
        ASSERT_TRUE(Same(lines, Chain(list))) << "trial " << trial;
        for (const Record& run : lines.runs) {
            arcs += run.kind == kArc ? 1 : 0;
            straight += run.kind == kStraight ? 1 : 0;
            joined += run.next != nullptr ? 1 : 0;
        }
    }
    EXPECT_GT(arcs, trials / 4);
    EXPECT_GT(straight, trials / 4);
    EXPECT_GT(joined, trials / 4);
}

} // namespace
