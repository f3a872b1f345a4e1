// Each visible line once, in records too.
#include "drawing/lines/RepeatedLines.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

using kxcontour::LineKind;
using kxcontour::MarkRepeated;
using kxcontour::PageLine;
using kxdrawing::Line;

using Range = std::array<double, 2>;

kxdrawing::Line Record(LineKind family, const PageLine& onPaper) {
    kxdrawing::Line record;
    record.kind = family;
    record.onPage = onPaper;
    return record;
}

void ExpectRanges(const std::vector<Range>& ranges, const std::vector<Range>& expected) {
    ASSERT_EQ(ranges.size(), expected.size());
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        EXPECT_NEAR(ranges[i][0], expected[i][0], 1e-12);
        EXPECT_NEAR(ranges[i][1], expected[i][1], 1e-12);
    }
}

TEST(MarkRepeated, TheSecondOfTwoLinesOnOnePlaceIsRepeated) {
    std::vector<kxdrawing::Line> records{Record(LineKind::Crease, {{0, 0}, {10, 0}}),
                                         Record(LineKind::Crease, {{10, 0}, {0, 0}}),
                                         Record(LineKind::Silhouette, {{5, 0.01}, {20, 0.01}}),
                                         Record(LineKind::Silhouette, {{0, 5}, {10, 5}})};
    MarkRepeated(records, {});
    ExpectRanges(records[2].repeated, {});
    ExpectRanges(records[3].repeated, {});
    ExpectRanges(records[0].repeated, {{0.5, 1.0}});
    ExpectRanges(records[1].repeated, {{0.0, 1.0}});
}

TEST(MarkRepeated, OnlyVisibleRangesAreRepeatedAndRepeat) {
    std::vector<kxdrawing::Line> records{Record(LineKind::Silhouette, {{0, 0}, {10, 0}}),
                                         Record(LineKind::Crease, {{0, 0}, {10, 0}})};
    records[0].hidden = {{{1, 5}, {2, 5}}};
    records[1].hidden = {{{0, 1}, {1, 10}}, {{1, 2}, {4, 5}}};
    MarkRepeated(records, {});
    ExpectRanges(records[0].repeated, {});
    ExpectRanges(records[1].repeated, {{0.1, 0.2}, {0.4, 0.5}, {0.8, 1.0}});
    EXPECT_EQ(records[1].hidden.size(), 2U) << "the exact ranges stay";
}

TEST(MarkRepeated, WhatIsHiddenAltogetherShowsNothing) {
    std::vector<kxdrawing::Line> records{Record(LineKind::Silhouette, {{0, 0}, {10, 0}}),
                                         Record(LineKind::Crease, {{0, 0}, {10, 0}})};
    records[0].hidden = {{{0, 1}, {1, 1}}};
    MarkRepeated(records, {});
    ExpectRanges(records[0].repeated, {});
    ExpectRanges(records[1].repeated, {});
}

TEST(MarkRepeated, LinesOfNoLengthAreNotOnPaper) {
    std::vector<kxdrawing::Line> records{Record(LineKind::Crease, {{3, 3}, {3, 3.0005}}),
                                         Record(LineKind::Crease, {{3, 3}, {3, 3.5}})};
    records[0].hidden = {{{0, 1}, {1, 1}}};
    MarkRepeated(records, {});
    EXPECT_FALSE(records[0].onPage);
    EXPECT_EQ(records[0].hidden.size(), 1U);
    EXPECT_TRUE(records[1].onPage);
}

TEST(MarkRepeated, TakesRecordsOutsideTheView) {
    std::vector<kxdrawing::Line> records(2);
    MarkRepeated(records, {});
    EXPECT_TRUE(records[0].repeated.empty());
    records.clear();
    MarkRepeated(records, {});
    EXPECT_TRUE(records.empty());
}

} // namespace
