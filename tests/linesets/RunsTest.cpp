// Straight runs and arcs within chains, and runs joined across junctions: each rule on a drawing
// made for it, and the invariants on random drawings.
#include <ctr/LineSegmentSet.h>

#include "linesets/RunChecks.h"
#include "linesets/SegmentBuilders.h"
#include "support/BestTime.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::ArcPoints;
using test_support::Chain;
using test_support::CheckPolylines;
using test_support::Concatenated;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::kArc;
using test_support::kStraight;
using test_support::LineList;
using test_support::LinePoints;
using test_support::MakeIndices;
using test_support::MakeVertices;
using test_support::Polylines;
using test_support::Random;
using test_support::Record;
using test_support::Same;
using test_support::Scaled;
using test_support::SegmentsOfChain;
using test_support::SweptAngle;
using test_support::Vec3;
using test_support::VerticesPointer;
using Flags = std::vector<bool>;
using Points = std::vector<Vec3>;

constexpr double kDegree = 3.141592653589793 / 180.0;
const Vec3 kCentre(5.0F, 5.0F, 3.0F);

// First index, end and kind of every record, in the order of the index buffer.
using Summary = std::vector<std::array<std::uint32_t, 3>>;

Summary Summarize(const Polylines& lines) {
    Summary summary;
    for (const Record& run : lines.runs) {
        summary.push_back({run.first, run.end, run.kind});
    }
    std::sort(summary.begin(), summary.end());
    return summary;
}

Polylines Checked(const LineList& list) {
    Polylines lines = Chain(list);
    CheckPolylines(list, lines);
    return lines;
}

Summary RunsOf(const LineList& list) {
    return Summarize(Checked(list));
}

LineList Path(const Points& points) {
    LineList list;
    list.addPath(points);
    return list;
}

LineList FlaggedPath(const Points& points) {
    return Path(points).flagged();
}

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

// --- Joining ---------------------------------------------------------------------------------

// The chains of more than one record: how many records and segments each has, and its kind.
Summary JoinedChains(const Polylines& lines) {
    Summary chains;
    for (const Record& head : lines.runs) {
        if (head.prev == nullptr && head.next != nullptr) {
            std::uint32_t records = 0;
            for (const Record* run = &head; run != nullptr; run = run->next) {
                ++records;
            }
            const auto segments = static_cast<std::uint32_t>(SegmentsOfChain(head).size());
            chains.push_back({records, segments, head.kind});
        }
    }
    std::sort(chains.begin(), chains.end());
    return chains;
}

Summary Joined(const LineList& list) {
    return JoinedChains(Checked(list));
}

// A path with a spoke at every stride-th vertex, its ends left out.
LineList WithSpokes(const Points& path, unsigned int stride, const Vec3& spoke) {
    LineList list = Path(path);
    for (unsigned int v = stride; v + 1 < path.size(); v += stride) {
        list.addSpoke(v, spoke);
    }
    return list;
}

// Gives the segments other places and directions and the vertices other numbers.
LineList Shuffled(const LineList& list, Random& random) {
    std::vector<unsigned int> numbers(list.positions.size());
    for (unsigned int i = 0; i < numbers.size(); ++i) {
        numbers[i] = i;
        std::swap(numbers[i],
                  numbers[static_cast<std::size_t>(random.below(static_cast<int>(i) + 1))]);
    }
    LineList result = list;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        result.positions[numbers[i]] = list.positions[i];
    }
    for (std::size_t i = list.segmentCount(); i > 0; --i) {
        const auto other = static_cast<std::size_t>(random.below(static_cast<int>(i)));
        std::swap(result.indices[2 * i - 2], result.indices[2 * other]);
        std::swap(result.indices[2 * i - 1], result.indices[2 * other + 1]);
        if (!list.flags.empty()) {
            const bool flag = result.flags[i - 1];
            result.flags[i - 1] = result.flags[other];
            result.flags[other] = flag;
        }
        if (random.percent(50)) {
            std::swap(result.indices[2 * i - 2], result.indices[2 * i - 1]);
        }
    }
    for (unsigned int& index : result.indices) {
        index = numbers[index];
    }
    return result;
}

TEST(JoinRuns, ACircleCutBySpokesAtEveryVertexIsOneArc) {
    LineList list = Path(ArcPoints(kCentre, 10.0, 0.0, 360.0, 24));
    list.indices.back() = 0;
    for (unsigned int v = 0; v < 24; ++v) {
        list.addSpoke(v, list.positions[v] - kCentre);
    }
    Random random(1);
    for (int trial = 0; trial < 50; ++trial) {
        const LineList shuffled = Shuffled(list, random);
        const Polylines lines = Checked(shuffled);
        EXPECT_EQ(JoinedChains(lines), (Summary{{24, 24, kArc}}));
        for (const Record& run : lines.runs) {
            EXPECT_TRUE(run.kind == kArc || (run.next == nullptr && run.end - run.first == 2));
        }
    }
}

TEST(JoinRuns, AnArcCutBySpokesIsOneArc) {
    // Pieces of one chord are no arcs by themselves, those of two and four are.
    Random random(2);
    for (const unsigned int stride : {1U, 2U, 4U}) {
        const LineList list =
            WithSpokes(ArcPoints(kCentre, 10.0, 20.0, 120.0, 8), stride, Vec3(0, 0, 20));
        for (int trial = 0; trial < 20; ++trial) {
            EXPECT_EQ(Joined(Shuffled(list, random)), (Summary{{8 / stride, 8, kArc}}));
        }
    }
}

TEST(JoinRuns, EveryJoinHasToReachTheLeastAngle) {
    // Chords of 10 degrees never get there two at a time; neighbours of 12 do.
    EXPECT_EQ(Joined(WithSpokes(ArcPoints(kCentre, 10.0, 20.0, 120.0, 12), 1, Vec3(0, 0, 20))),
              Summary{});
    EXPECT_EQ(Joined(WithSpokes(ArcPoints(kCentre, 10.0, 20.0, 120.0, 10), 1, Vec3(0, 0, 20))),
              (Summary{{10, 10, kArc}}));
}

TEST(JoinRuns, PiecesOfTooShortAnArcAreNotJoined) {
    EXPECT_EQ(Joined(WithSpokes(ArcPoints(kCentre, 10.0, 20.0, 22.4, 2), 1, Vec3(0, 0, 20))),
              Summary{});
    EXPECT_EQ(Joined(WithSpokes(ArcPoints(kCentre, 10.0, 20.0, 22.6, 2), 1, Vec3(0, 0, 20))),
              (Summary{{2, 2, kArc}}));
}

TEST(JoinRuns, StraightRunsGoOnAcrossAJunction) {
    Random random(3);
    const Points line = LinePoints(Vec3(1, 2, 3), Vec3(1, 0.5F, 0), 12);
    for (const unsigned int stride : {1U, 3U, 6U}) {
        const LineList list = WithSpokes(line, stride, Vec3(0, 0, 7)).flagged();
        for (int trial = 0; trial < 20; ++trial) {
            const Polylines lines = Checked(Shuffled(list, random));
            EXPECT_EQ(JoinedChains(lines), (Summary{{12 / stride, 12, kStraight}}));
            EXPECT_EQ(std::count(lines.straight.begin(), lines.straight.end(), true), 12);
        }
    }
}

TEST(JoinRuns, StraightRunsThatBendAreNotJoined) {
    const auto joined = [](double degrees) {
        const auto rise = static_cast<float>(std::tan(degrees * 3.141592653589793 / 180.0));
        return Joined(WithSpokes({Vec3(0, 0, 0), Vec3(1, rise, 0), Vec3(2, 0, 0)}, 1, Vec3(0, 0, 7))
                          .flagged());
    };
    EXPECT_EQ(joined(0.0999), (Summary{{2, 2, kStraight}}));
    EXPECT_EQ(joined(0.1001), Summary{});
}

TEST(JoinRuns, RunsWithOtherFlagsAreNotJoined) {
    LineList list = WithSpokes(LinePoints(Vec3(1, 2, 3), Vec3(1, 0, 0), 8), 4, Vec3(0, 0, 7));
    list.flags.assign(list.segmentCount(), true);
    EXPECT_EQ(Joined(list), (Summary{{2, 8, kStraight}}));
    for (std::size_t i = 4; i < 8; ++i) {
        list.flags[i] = false;
    }
    EXPECT_EQ(Joined(list), Summary{});
}

TEST(JoinRuns, AnArcAndAStraightRunAreNotJoined) {
    LineList list = WithSpokes(Concatenated({LinePoints(Vec3(1, 1, 1), Vec3(0, 1, 0), 8),
                                             ArcPoints(kCentre, 10.0, 0.0, 90.0, 8)}),
                               8, Vec3(0, 0, 50));
    list.flags.assign(list.segmentCount(), false);
    std::fill(list.flags.begin(), list.flags.begin() + 8, true);
    const Polylines lines = Checked(list);
    EXPECT_EQ(Summarize(lines), (Summary{{0, 16, kStraight}, {16, 32, kArc}, {32, 34, 0}}));
    EXPECT_EQ(JoinedChains(lines), Summary{});
}

TEST(JoinRuns, AChainOfMoreThanTwoSegmentsWithoutANameIsNoStart) {
    // 7 degrees a chord: three of them are too short for an arc, and so are two.
    EXPECT_EQ(Joined(WithSpokes(ArcPoints(kCentre, 10.0, 20.0, 42.0, 6), 3, Vec3(0, 0, 20))),
              Summary{});
    LineList list = Path(ArcPoints(kCentre, 10.0, 20.0, 35.0, 5));
    list.addSpoke(2, Vec3(0, 0, 20));
    EXPECT_EQ(Joined(list), (Summary{{2, 5, kArc}}));
}

TEST(JoinRuns, OfTwoThatFitTheStraighterIsTaken) {
    const auto rise = static_cast<float>(1000.0 * std::tan(0.15 * kDegree));
    for (const bool bentFirst : {false, true}) {
        LineList list;
        list.addVertex(Vec3(0, 0, 1));
        list.addVertex(Vec3(1000, 0, 1));
        list.addSegment(0, 1);
        list.addSpoke(1, Vec3(1000, bentFirst ? rise : 0.0F, 0));
        list.addSpoke(1, Vec3(1000, bentFirst ? 0.0F : rise, 0));
        const Polylines lines = Checked(std::move(list).flagged());
        ASSERT_EQ(JoinedChains(lines), (Summary{{2, 2, kStraight}}));
        const auto head = std::find_if(lines.runs.begin(), lines.runs.end(), [](const Record& run) {
            return run.prev == nullptr && run.next != nullptr;
        });
        const unsigned int straightTip = bentFirst ? 3 : 2;
        EXPECT_TRUE(lines.indices[head->first] == straightTip ||
                    lines.indices[head->next->end - 1] == straightTip);
    }
}

TEST(JoinRuns, TwoHalvesOfACircleAreJoinedOnce) {
    LineList list = Path(ArcPoints(kCentre, 10.0, 0.0, 360.0, 24));
    list.indices.back() = 0;
    list.addSpoke(0, Vec3(0, 0, 20));
    list.addSpoke(12, Vec3(0, 0, 20));
    Random random(4);
    for (int trial = 0; trial < 50; ++trial) {
        const LineList shuffled = Shuffled(list, random);
        const Polylines lines = Checked(shuffled);
        EXPECT_EQ(JoinedChains(lines), (Summary{{2, 24, kArc}}));
        for (const Record& run : lines.runs) {
            if (run.kind == kArc && run.prev == nullptr) {
                EXPECT_NEAR(SweptAngle(shuffled, lines, run), 6.283185307179586, 1e-3);
            }
        }
    }
}

TEST(JoinRuns, LinesThatCrossKeepTheirDirections) {
    for (const int lineCount : {2, 3, 4}) {
        LineList list;
        const unsigned int middle = list.addVertex(Vec3(1, 2, 3));
        for (int i = 0; i < 2 * lineCount; ++i) {
            const double angle = 3.141592653589793 * i / lineCount;
            list.addSpoke(middle, Vec3(static_cast<float>(10.0 * std::cos(angle)),
                                       static_cast<float>(10.0 * std::sin(angle)), 0.0F));
        }
        const Summary expected(static_cast<std::size_t>(lineCount), {2, 2, kStraight});
        EXPECT_EQ(Joined(std::move(list).flagged()), expected);
    }
}

// So many spokes around one vertex, evenly spread, each of some segments of its own.
LineList Wheel(int spokes, int segments = 1) {
    LineList list;
    const unsigned int hub = list.addVertex(Vec3(1, 2, 3));
    for (int i = 0; i < spokes; ++i) {
        const double angle = 2.0 * 3.141592653589793 * i / spokes;
        const Vec3 tip(static_cast<float>(10.0 * std::cos(angle)),
                       static_cast<float>(10.0 * std::sin(angle)), 0.0F);
        unsigned int from = hub;
        for (int k = 1; k <= segments; ++k) {
            const float share = static_cast<float>(k) / static_cast<float>(segments);
            const unsigned int to = list.addVertex(Vec3(1, 2, 3) + share * tip);
            list.addSegment(from, to);
            from = to;
        }
    }
    return list;
}

TEST(JoinRuns, OppositeSpokesOfAWheelAreStraightHoweverManyThereAre) {
    Random random(5);
    for (const int spokes : {2, 16, 18, 62, 64, 66, 1000}) {
        const Summary expected(static_cast<std::size_t>(spokes / 2), {2, 2, kStraight});
        const LineList wheel = Wheel(spokes).flagged();
        EXPECT_EQ(Joined(wheel), spokes == 2 ? Summary{} : expected) << spokes;
        EXPECT_EQ(Joined(Shuffled(wheel, random)), spokes == 2 ? Summary{} : expected) << spokes;
        const Summary longer(static_cast<std::size_t>(spokes / 2), {2, 6, kStraight});
        EXPECT_EQ(Joined(Wheel(spokes, 3).flagged()), spokes == 2 ? Summary{} : longer) << spokes;
    }
}

TEST(JoinRuns, SpokesInAllDirectionsOfSpaceFindTheirOpposites) {
    // Of 99 lines through a point, and 40 half ones more.
    LineList list;
    Random random(6);
    const unsigned int hub = list.addVertex(Vec3(1, 2, 3));
    for (int i = 0; i < 139; ++i) {
        Vec3 step(random.uniform(-1, 1), random.uniform(-1, 1), random.uniform(-1, 1));
        step *= 8.0F;
        list.addSpoke(hub, step);
        if (i < 99) {
            list.addSpoke(hub, -1.0F * step);
        }
    }
    EXPECT_EQ(Joined(std::move(list).flagged()), (Summary(99, {2, 2, kStraight})));
}

TEST(JoinRuns, CrowdsOfAnyKindKeepWhatAlwaysHolds) {
    for (int trial = 0; trial < Scaled(20); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        LineList list = Wheel(random.between(60, 200), random.between(1, 3));
        for (std::size_t v = 1; v < list.positions.size(); v += 7) {
            list.addSegment(0, static_cast<unsigned int>(v)); // doubled, or across others
        }
        for (int i = random.below(20); i > 0; --i) {
            list.addSegment(0, i % 2 == 0 ? 0 : list.addVertex(list.positions[0]));
        }
        const int flagShare = 50 * random.below(3);
        for (std::size_t i = 0; i < list.segmentCount(); ++i) {
            list.flags.push_back(random.percent(flagShare));
            list.tags.push_back(static_cast<unsigned char>(random.below(4)));
        }
        const LineList shuffled = Shuffled(list, random);
        const Polylines lines = Checked(shuffled);
        ASSERT_FALSE(HasFailure()) << "trial " << trial;
        ASSERT_TRUE(Same(lines, Chain(shuffled))) << "trial " << trial;
    }
}

TEST(JoinRuns, AHubTakesAboutTheTimeOfItsSpokes) {
    const auto secondsOf = [](const LineList& list) {
        return test_support::SecondsOf([&] { EXPECT_TRUE(Chain(list).done); });
    };
    const double few = secondsOf(Wheel(2000).flagged());
    EXPECT_LT(secondsOf(Wheel(16000).flagged()), 8 * 8 * few);
    EXPECT_LT(secondsOf(Wheel(16000)), 8 * 8 * secondsOf(Wheel(2000)));
}

TEST(JoinRuns, OnlyHeadsOfChainsAreCandidates) {
    // The chain of the second and third piece has its tail where the first piece ends.
    LineList list;
    for (const float x : {0.0F, 1.0F, 2.0F, 3.0F}) {
        list.addVertex(Vec3(x, 0, 1));
    }
    list.addSegment(0, 1);
    list.addSegment(1, 2);
    list.addSegment(2, 3);
    for (const unsigned int vertex : {1U, 2U}) {
        list.addSpoke(vertex, Vec3(0, 0, 7));
    }
    EXPECT_EQ(Joined(std::move(list).flagged()), (Summary{{3, 3, kStraight}}));
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

// A piece of a drawing: curves, cut at random vertices, between which there are stray segments,
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

TEST(FitRuns, EverythingThatAlwaysHoldsDoesOnRandomDrawings) {
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
