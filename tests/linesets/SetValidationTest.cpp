// The checks of validate(), and the assertions of operations about their arguments.
#include <ctr/CreaseEdgeInfo.h>
#include <ctr/LineSegmentSet.h>

#include <kxSystem/kxCancelInterfaceReadOnly.h>

#include "linesets/SegmentBuilders.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::IndicesPointer;
using test_support::MakeIndices;
using test_support::MakeSet;
using test_support::MakeVertices;
using test_support::Range;
using test_support::SetPointer;
using test_support::Vec3;
using test_support::VerticesPointer;

const std::vector<Vec3> kCorners = {Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(1, 1, 0)};

SetPointer TwoSegments() {
    SetPointer set = MakeSet(kCorners, {0, 1, 1, 2});
    set->segmentFlags = {true, false};
    set->occlusionIntervals = {{Range(0, 1, 1, 4), Range(1, 2, 2, 2)}, {}};
    set->clipRanges = {{0.0F, 1.0F, 1.0F, 1.0F}, {0.25F, 0.5F, 2.0F, 3.0F}};
    return set;
}

TEST(LineSegmentSetValidate, AcceptsWhatPassesMake) {
    EXPECT_TRUE(LineSegmentSet().validate());
    EXPECT_TRUE(TwoSegments()->validate());
    EXPECT_TRUE(MakeSet(kCorners, {})->validate());
}

TEST(LineSegmentSetValidate, VectorsMayBeEmpty) {
    const SetPointer set = TwoSegments();
    set->segmentFlags.clear();
    EXPECT_TRUE(set->validate());
    set->occlusionIntervals.clear();
    EXPECT_TRUE(set->validate());
    set->clipRanges.clear();
    EXPECT_TRUE(set->validate());
}

TEST(LineSegmentSetValidate, VectorsHaveOneEntryPerSegment) {
    SetPointer set = TwoSegments();
    set->segmentFlags.push_back(true);
    EXPECT_FALSE(set->validate());
    set = TwoSegments();
    set->occlusionIntervals.pop_back();
    EXPECT_FALSE(set->validate());
    set = TwoSegments();
    set->clipRanges.pop_back();
    EXPECT_FALSE(set->validate());
    set = TwoSegments();
    set->SetIndexBuffer(nullptr);
    EXPECT_FALSE(set->validate());
}

TEST(LineSegmentSetValidate, IndicesNumberVertices) {
    EXPECT_FALSE(MakeSet(kCorners, {0, 3})->validate());
    EXPECT_FALSE(MakeSet(kCorners, {0, std::numeric_limits<unsigned int>::max()})->validate());
    const SetPointer set = MakeSet(kCorners, {0, 1});
    set->SetVertexBuffer(nullptr);
    EXPECT_FALSE(set->validate());
    const VerticesPointer withoutPositions(new kx::kxVertexBuffer(kx::kxAttributes(), 3));
    EXPECT_FALSE(MakeSet(withoutPositions, MakeIndices({0, 1}))->validate());
}

TEST(LineSegmentSetValidate, SegmentsHaveTwoEnds) {
    EXPECT_FALSE(MakeSet(kCorners, {0, 1, 2})->validate());
}

TEST(LineSegmentSetValidate, RangesAreFractionsFromZeroToOne) {
    for (const ctr::RationalInterval& wrong :
         {Range(-1, 4, 1, 2), Range(0, 1, 5, 4), Range(0, 0, 1, 1), Range(0, -1, 1, 1),
          Range(0, 1, 1, 0), Range(1, 2, 1, 4)}) {
        const SetPointer set = TwoSegments();
        set->occlusionIntervals[1] = {wrong};
        EXPECT_FALSE(set->validate());
    }
}

TEST(LineSegmentSetValidate, RangesAreInOrderAndApart) {
    const SetPointer set = TwoSegments();
    set->occlusionIntervals[1] = {Range(0, 1, 1, 4), Range(1, 3, 1, 2)};
    EXPECT_TRUE(set->validate());
    set->occlusionIntervals[1] = {Range(1, 3, 1, 2), Range(0, 1, 1, 4)};
    EXPECT_FALSE(set->validate());
    set->occlusionIntervals[1] = {Range(0, 1, 1, 4), Range(1, 8, 1, 2)};
    EXPECT_FALSE(set->validate());
    // They touch: 1/4 is 2/8.
    set->occlusionIntervals[1] = {Range(0, 1, 1, 4), Range(2, 8, 1, 2)};
    EXPECT_FALSE(set->validate());
}

TEST(LineSegmentSetValidate, ClipRecordsAreWithinTheSegment) {
    for (const LineSegmentSet::ClipRange& wrong :
         {LineSegmentSet::ClipRange{-0.5F, 1.0F, 1.0F, 1.0F},
          {0.0F, 1.5F, 1.0F, 1.0F},
          {0.0F, 1.0F, 0.0F, 1.0F},
          {0.0F, 1.0F, 1.0F, -1.0F}}) {
        const SetPointer set = TwoSegments();
        set->clipRanges[1] = wrong;
        EXPECT_FALSE(set->validate());
    }
    // Nothing is inside the view: the rest means nothing.
    const SetPointer set = TwoSegments();
    set->clipRanges[0] = {1.0F, 0.0F, 0.0F, -1.0F};
    set->clipRanges[1] = {0.0F, 0.0F, 0.0F, 0.0F};
    EXPECT_TRUE(set->validate());
    // What is left of a segment whose end is no point.
    set->clipRanges[1] = {0.0F, 1.0F, std::numeric_limits<float>::quiet_NaN(), 1.0F};
    EXPECT_TRUE(set->validate());
}

// Where nothing is asserted, what follows would be undefined.
#ifndef NDEBUG

TEST(LineSegmentSetAssertions, MeshesThatAreThere) {
    const std::atomic<bool> never = false;
    const kx::kxCancelInterfaceProxyReadOnly cancel(never);
    EXPECT_DEATH(LineSegmentSet::GetCreaseEdgesFromTriMesh(nullptr, cancel, 5.0F, false), "mesh");
    EXPECT_DEATH(LineSegmentSet::GetOutlineEdgesFromTriMesh(nullptr, MakeIndices({0, 3})), "mesh");
}

TEST(LineSegmentSetAssertions, RunsWithinTheirFlags) {
    LineSegmentSet::ArcFeature run;
    run.end = 6;
    std::vector<bool> flags(2);
    std::vector<unsigned char> tags(2);
    std::vector<unsigned int> indices(6);
    EXPECT_DEATH(run.removeStraightLineFlags(flags), "straightLineFlags");
    EXPECT_DEATH(run.reverseIndexBuffer(indices.data(), &flags, nullptr), "straightLineFlags");
    EXPECT_DEATH(run.reverseIndexBuffer(indices.data(), nullptr, &tags), "tags");
    run.reverseIndexBuffer(indices.data(), nullptr, nullptr);
}

#endif

} // namespace
