// Runs joined across junctions: each rule on a drawing made for it, and hubs of many runs.
#include <ctr/LineSegmentSet.h>

#include "linesets/RunBuilders.h"
#include "linesets/RunChecks.h"
#include "linesets/SegmentBuilders.h"
#include "support/BestTime.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

using test_support::ArcPoints;
using test_support::Chain;
using test_support::Checked;
using test_support::Concatenated;
using test_support::kArc;
using test_support::kCentre;
using test_support::kDegree;
using test_support::kStraight;
using test_support::LineList;
using test_support::LinePoints;
using test_support::Path;
using test_support::Points;
using test_support::Polylines;
using test_support::Random;
using test_support::Record;
using test_support::Same;
using test_support::Scaled;
using test_support::SegmentsOfChain;
using test_support::Shuffled;
using test_support::Summarize;
using test_support::Summary;
using test_support::SweptAngle;
using test_support::Vec3;

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

TEST(JoinRuns, ACircleWithSpokesAtEveryVertexIsOneArc) {
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

TEST(JoinRuns, AnArcWithSpokesIsOneArc) {
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

TEST(JoinRuns, HubsOfAnyKindKeepTheInvariants) {
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

} // namespace
