// Fusing of hidden ranges, against the union as a set of numbers.
#include <ctr/IntervalTools.h>

#include "support/ExactFractions.h"
#include "support/LineAgreement.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

namespace {

using ctr::RationalInterval;
using test_support::Compare;
using test_support::Random;
using test_support::RandomRanges;
using test_support::SameForm;
using test_support::Scaled;
using test_support::Shuffle;
using test_support::Text;

using Intervals = std::vector<RationalInterval>;

RationalInterval
Range(long startNumerator, long startDenominator, long endNumerator, long endDenominator) {
    return {{startNumerator, startDenominator}, {endNumerator, endDenominator}};
}

Intervals Fused(Intervals intervals) {
    ctr::IntervalTools::FuseOverlappingIntervals(intervals);
    return intervals;
}

testing::AssertionResult Gives(const Intervals& input, const Intervals& expected) {
    const Intervals output = Fused(input);
    if (SameForm(output, expected)) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << Text(input) << " gave " << Text(output) << ", not " << Text(expected);
}

TEST(FuseOverlappingIntervals, TouchingRangesBecomeOne) {
    EXPECT_TRUE(Gives({Range(0, 1, 1, 4), Range(1, 4, 1, 2)}, {Range(0, 1, 1, 2)}));
    EXPECT_TRUE(Gives({Range(0, 1, 1, 2), Range(2, 4, 1, 1)}, {Range(0, 1, 1, 1)}));
}

TEST(FuseOverlappingIntervals, RangesApartStayApartAndAreSorted) {
    const Intervals apart = {Range(0, 1, 1, 4), Range(3, 10, 1, 2)};
    EXPECT_TRUE(Gives(apart, apart));
    EXPECT_TRUE(Gives({apart[1], apart[0]}, apart));
}

TEST(FuseOverlappingIntervals, OverlappingRangesBecomeOne) {
    EXPECT_TRUE(Gives({Range(1, 2, 1, 1), Range(0, 1, 3, 4)}, {Range(0, 1, 1, 1)}));
}

TEST(FuseOverlappingIntervals, AContainedRangeChangesNothing) {
    EXPECT_TRUE(Gives({Range(0, 1, 1, 1), Range(1, 4, 1, 2)}, {Range(0, 1, 1, 1)}));
}

TEST(FuseOverlappingIntervals, NothingStaysNothing) {
    EXPECT_TRUE(Gives({}, {}));
}

TEST(FuseOverlappingIntervals, OneRangeStaysAsItIs) {
    EXPECT_TRUE(Gives({Range(2, 8, 6, 8)}, {Range(2, 8, 6, 8)}));
    EXPECT_TRUE(Gives({Range(1, 2, 1, 2)}, {Range(1, 2, 1, 2)}));
}

TEST(FuseOverlappingIntervals, ALaterEqualEndDoesNotReplaceTheFirst) {
    EXPECT_TRUE(
        Gives({Range(0, 1, 2, 4), Range(1, 8, 1, 2), Range(1, 4, 3, 6)}, {Range(0, 1, 2, 4)}));
}

TEST(FuseOverlappingIntervals, KeepsTheSmallerNumeratorOfEqualStarts) {
    const Intervals expected = {Range(1, 4, 3, 4)};
    EXPECT_TRUE(Gives({Range(2, 8, 3, 4), Range(1, 4, 1, 2)}, expected));
    EXPECT_TRUE(Gives({Range(1, 4, 1, 2), Range(2, 8, 3, 4)}, expected));
}

TEST(FuseOverlappingIntervals, KeepsTheEndOfTheRangeThatSortsFirst) {
    // Starts are equal in value: the one written 1/2 comes first, and with it the end 4/4.
    const Intervals byStart = {Range(1, 2, 4, 4)};
    EXPECT_TRUE(Gives({Range(2, 4, 1, 1), Range(1, 2, 4, 4)}, byStart));
    EXPECT_TRUE(Gives({Range(1, 2, 4, 4), Range(2, 4, 1, 1)}, byStart));
    // Starts are equal in form too: the end with the smaller numerator comes first.
    const Intervals byEnd = {Range(1, 2, 1, 1)};
    EXPECT_TRUE(Gives({Range(1, 2, 4, 4), Range(1, 2, 1, 1)}, byEnd));
    EXPECT_TRUE(Gives({Range(1, 2, 1, 1), Range(1, 2, 4, 4)}, byEnd));
}

TEST(FuseOverlappingIntervals, ANegativeStartSortsFirst) {
    const Intervals expected = {Range(-1, 1, 1, 4), Range(1, 2, 1, 1)};
    EXPECT_TRUE(Gives({Range(1, 2, 1, 1), Range(-1, 1, 1, 4)}, expected));
    EXPECT_TRUE(Gives({Range(-1, 1, 1, 4), Range(1, 2, 1, 1)}, expected));
}

TEST(FuseOverlappingIntervals, NegativeStartsFuseWithEachOther) {
    Random random(7);
    Intervals intervals = {Range(-1, 1, 1, 8), Range(-5, 1, 1, 4), Range(-2, 3, 1, 16),
                           Range(0, 1, 1, 2), Range(3, 4, 1, 1)};
    for (int order = 0; order < 200; ++order) {
        Shuffle(random, intervals);
        const Intervals output = Fused(intervals);
        ASSERT_EQ(output.size(), 2U) << Text(output);
        EXPECT_LT(output[0].start.X(), 0);
        EXPECT_TRUE(SameForm(output[0].end, {1, 2})) << Text(output);
        EXPECT_TRUE(SameForm(output[1], Range(3, 4, 1, 1))) << Text(output);
    }
}

TEST(FuseOverlappingIntervals, ManyNegativeStartsSortWithoutHarm) {
    Intervals intervals;
    for (int i = 0; i < 500; ++i) {
        intervals.push_back(Range(i % 3 == 0 ? -1 - i : i, 1000, i, 500));
    }
    const Intervals output = Fused(intervals);
    ASSERT_EQ(output.size(), 1U);
    EXPECT_LT(output[0].start.X(), 0);
    EXPECT_TRUE(SameForm(output[0].end, {499, 500}));
}

TEST(FuseOverlappingIntervals, ANegativeEndNeverExtends) {
    EXPECT_TRUE(Gives({Range(0, 1, 1, 2), Range(1, 4, -1, 1)}, {Range(0, 1, 1, 2)}));
}

TEST(FuseOverlappingIntervals, WorksInPlace) {
    Intervals intervals = {Range(1, 2, 1, 1), Range(0, 1, 1, 8), Range(1, 4, 1, 2)};
    const RationalInterval* const memory = intervals.data();
    const std::size_t capacity = intervals.capacity();
    ctr::IntervalTools::FuseOverlappingIntervals(intervals);
    EXPECT_EQ(intervals.data(), memory);
    EXPECT_EQ(intervals.capacity(), capacity);
    EXPECT_EQ(intervals.size(), 2U);
}

TEST(FuseOverlappingIntervals, IsTheUnionOfTheRanges) {
    int fused = 0;
    int apart = 0;
    for (int trial = 0; trial < Scaled(50000); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const Intervals input = RandomRanges(random);
        ASSERT_EQ(test_support::CompareFusing(input), "") << "trial " << trial;
        const Intervals output = Fused(input);
        fused += output.size() < input.size() ? 1 : 0;
        apart += output.size() > 1 ? 1 : 0;
    }
    EXPECT_GT(fused, Scaled(50000) / 2);
    EXPECT_GT(apart, Scaled(50000) / 10);
}

TEST(FuseOverlappingIntervals, DoesNotDependOnTheOrderOfTheInput) {
    for (int trial = 0; trial < Scaled(10000); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        Intervals input = RandomRanges(random);
        const Intervals output = Fused(input);
        for (int order = 0; order < 4; ++order) {
            Shuffle(random, input);
            ASSERT_TRUE(Gives(input, output)) << "trial " << trial;
        }
    }
}

TEST(FuseOverlappingIntervals, ChangesNothingASecondTime) {
    for (int trial = 0; trial < Scaled(10000); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const Intervals output = Fused(RandomRanges(random));
        ASSERT_TRUE(Gives(output, output)) << "trial " << trial;
    }
}

// By start, its numerator, end, its numerator, last by denominators: all four numbers decide.
bool IsBefore(const RationalInterval& x, const RationalInterval& y) {
    if (const int order = Compare(x.start, y.start); order != 0) {
        return order < 0;
    }
    if (x.start.X() != y.start.X()) {
        return x.start.X() < y.start.X();
    }
    if (const int order = Compare(x.end, y.end); order != 0) {
        return order < 0;
    }
    return std::make_tuple(x.end.X(), x.start.Y(), x.end.Y()) <
           std::make_tuple(y.end.X(), y.start.Y(), y.end.Y());
}

// The union after a sort that compares every two ranges exactly.
Intervals PlainUnion(Intervals ranges) {
    std::sort(ranges.begin(), ranges.end(), IsBefore);
    Intervals result;
    for (const RationalInterval& range : ranges) {
        if (result.empty() || Compare(range.start, result.back().end) > 0) {
            result.push_back(range);
        } else if (Compare(range.end, result.back().end) > 0) {
            result.back().end = range.end;
        }
    }
    return result;
}

bool AreTheSame(const Intervals& a, const Intervals& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.start == y.start && x.end == y.end;
    });
}

// Around one number, the ranges a hair apart: doubles hold neither the numerators nor the
// distances.
class CloseRanges {
public:
    explicit CloseRanges(Random& random)
        : random_(random), units_(random.percent(50) ? kParts / 2 : 1 + random.below(1 << 30)) {}

    RationalInterval next() {
        const long scale = (1L << 29) + random_.below(1 << 29);
        const long start = std::max(0L, units_ * scale + random_.between(-3, 3));
        return Range(start, kParts * scale, start + (random_.percent(5) ? 1 : 0), kParts * scale);
    }

private:
    static constexpr long kParts = 1L << 32;

    Random& random_;
    long units_;
};

// A few numbers, 0 and 1 among them, written in many ways.
RationalInterval RangeOfFewNumbers(Random& random) {
    constexpr int kParts = 40;
    const int start = random.below(kParts + 1);
    const long end = start < kParts && random.percent(1) ? start + 1 : start;
    const long startForm = 1 + random.below(1000);
    const long endForm = 1 + random.below(1000);
    return Range(start * startForm, kParts * startForm, end * endForm, kParts * endForm);
}

TEST(FuseOverlappingIntervals, ManyRangesAreTheUnionAfterAPlainSort) {
    int parts = 0;
    for (int trial = 0; trial < Scaled(400); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        CloseRanges close(random);
        const int shareClose = 50 * random.below(3);
        const int count = random.percent(20) ? random.between(2040, 2056) : random.between(2, 300);
        Intervals ranges;
        for (int i = 0; i < count; ++i) {
            ranges.push_back(random.percent(shareClose) ? close.next() : RangeOfFewNumbers(random));
        }
        const Intervals output = Fused(ranges);
        ASSERT_TRUE(AreTheSame(output, PlainUnion(ranges))) << "trial " << trial;
        parts += static_cast<int>(output.size());
    }
    EXPECT_GT(parts, Scaled(400) * 10);
}

TEST(FuseOverlappingIntervals, HiddenAndVisibleTileTheEdge) {
    int hiddenSamples = 0;
    int visibleSamples = 0;
    for (int trial = 0; trial < Scaled(10000); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        Intervals input;
        for (int i = random.below(8); i > 0; --i) {
            input.push_back(test_support::RandomRange(random));
        }
        const Intervals output = Fused(input);
        for (std::size_t i = 1; i < output.size(); ++i) {
            ASSERT_LT(Compare(output[i - 1].end, output[i].start), 0) << "trial " << trial;
        }
        for (const auto& sample : test_support::SamplesBetweenEnds(input)) {
            const bool hidden = test_support::Contains(input, sample);
            ASSERT_EQ(test_support::Contains(output, sample), hidden)
                << "trial " << trial << " at " << Text(sample) << ": " << Text(input) << " gave "
                << Text(output);
            ++(hidden ? hiddenSamples : visibleSamples);
        }
    }
    EXPECT_GT(hiddenSamples, Scaled(10000));
    EXPECT_GT(visibleSamples, Scaled(10000) / 4);
}

testing::AssertionResult Leaves(const Intervals& ranges, const Intervals& expected) {
    const Intervals gaps = ctr::IntervalTools::Complement(ranges);
    if (SameForm(gaps, expected)) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << Text(ranges) << " left " << Text(gaps) << ", not " << Text(expected);
}

TEST(Complement, OfNothingIsTheWholeSegment) {
    EXPECT_TRUE(Leaves({}, {Range(0, 1, 1, 1)}));
}

TEST(Complement, OfTheWholeSegmentIsNothing) {
    EXPECT_TRUE(Leaves({Range(0, 7, 5, 5)}, {}));
}

TEST(Complement, GapsKeepTheFractionsOfTheRanges) {
    EXPECT_TRUE(Leaves({Range(2, 8, 1, 2), Range(6, 8, 9, 10)},
                       {Range(0, 1, 2, 8), Range(1, 2, 6, 8), Range(9, 10, 1, 1)}));
}

TEST(Complement, RangesAtTheEndsLeaveNoGapThere) {
    EXPECT_TRUE(Leaves({Range(0, 3, 1, 3), Range(1, 2, 4, 4)}, {Range(1, 3, 1, 2)}));
}

TEST(Complement, HoldsWhatTheRangesDoNot) {
    int gapCount = 0;
    for (int trial = 0; trial < Scaled(10000); ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        Intervals input;
        for (int i = random.below(8); i > 0; --i) {
            input.push_back(test_support::RandomRange(random));
        }
        const Intervals gaps = ctr::IntervalTools::Complement(Fused(input));
        for (const auto& sample : test_support::SamplesBetweenEnds(input)) {
            ASSERT_NE(test_support::Contains(gaps, sample), test_support::Contains(input, sample))
                << "trial " << trial << " at " << Text(sample) << ": " << Text(input) << " left "
                << Text(gaps);
        }
        gapCount += static_cast<int>(gaps.size());
    }
    EXPECT_GT(gapCount, Scaled(10000) / 2);
}

} // namespace
