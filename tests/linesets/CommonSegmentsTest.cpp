// Removal of common segments: which segments are equal, and the records of those that remain.
#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"
#include "support/LineAgreement.h"
#include "support/Random.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::MakeSet;
using test_support::MakeVertices;
using test_support::MarkSegments;
using test_support::NamesOf;
using test_support::NumbersOf;
using test_support::PositionsOf;
using test_support::Random;
using test_support::RecordNamesOf;
using test_support::Scaled;
using test_support::SetPointer;
using test_support::Vec3;
using Indices = std::vector<unsigned int>;

// Corners of a unit square and two points more.
const std::vector<Vec3> kPoints{Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(1, 1, 0),
                                Vec3(0, 1, 0), Vec3(5, 5, 5), Vec3(6, 6, 6)};

SetPointer Marked(const Indices& indices) {
    SetPointer set = MakeSet(kPoints, indices);
    MarkSegments(*set, indices.size() / 2, indices.size() / 2);
    return set;
}

TEST(RemoveCommonSegments, WithoutEitherSetNothingHappens) {
    const SetPointer a = Marked({0, 1});
    LineSegmentSet::RemoveCommonSegments(a.get(), nullptr);
    LineSegmentSet::RemoveCommonSegments(nullptr, a.get());
    LineSegmentSet::RemoveCommonSegments(nullptr, nullptr);
    EXPECT_EQ(IndicesOf(*a), (Indices{0, 1}));
    EXPECT_EQ(NamesOf(*a), (std::vector<long>{0}));
}

TEST(RemoveCommonSegments, DirectionDoesNotMatter) {
    const SetPointer a = Marked({0, 1, 1, 2, 2, 3});
    const SetPointer b = MakeSet(kPoints, {1, 0, 2, 3});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(IndicesOf(*a), (Indices{1, 2}));
}

TEST(RemoveCommonSegments, PositionsDecideAndNotIndices) {
    const SetPointer a = Marked({0, 1, 2, 3});
    const SetPointer b = MakeSet({Vec3(1, 1, 0), Vec3(0, 1, 0)}, {0, 1});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(IndicesOf(*a), (Indices{0, 1}));
}

TEST(RemoveCommonSegments, OneFloatBitKeepsASegment) {
    for (int axis = 0; axis < 3; ++axis) {
        for (const float towards : {-10.0F, 10.0F}) {
            Vec3 near(1, 1, 0);
            near[axis] = std::nextafter(near[axis], towards);
            const SetPointer a = Marked({1, 2});
            const SetPointer b = MakeSet({Vec3(1, 0, 0), near}, {0, 1});
            LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
            EXPECT_EQ(IndicesOf(*a), (Indices{1, 2}));
        }
    }
}

TEST(RemoveCommonSegments, ZerosOfEitherSignAreEqual) {
    const SetPointer a = Marked({0, 1});
    const SetPointer b = MakeSet({Vec3(1, -0.0F, 0), Vec3(-0.0F, 0, -0.0F)}, {0, 1});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(a->GetIndexBuffer(), nullptr);
}

TEST(RemoveCommonSegments, TransformationsAreNotApplied) {
    const SetPointer a = Marked({0, 1});
    const SetPointer b = MakeSet(kPoints, {0, 1});
    b->SetWorldTransformation(test_support::ScaleAndMove(Vec3(2, 2, 2), Vec3(9, 9, 9)));
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(a->GetIndexBuffer(), nullptr);
}

TEST(RemoveCommonSegments, WhatStaysKeepsItsOrderDirectionAndRecords) {
    const SetPointer a = Marked({4, 5, 0, 1, 3, 2, 1, 2, 5, 0});
    const SetPointer b = MakeSet(kPoints, {0, 1, 2, 1});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(IndicesOf(*a), (Indices{4, 5, 3, 2, 5, 0}));
    EXPECT_EQ(NamesOf(*a), (std::vector<long>{0, 2, 4}));
    EXPECT_EQ(RecordNamesOf(*a), (std::vector<long>{0, 2, 4}));
    EXPECT_EQ(PositionsOf(*a), kPoints); // vertices stay, used or not
}

TEST(RemoveCommonSegments, EveryCopyOfACommonSegmentGoes) {
    const SetPointer a = Marked({0, 1, 1, 0, 4, 5, 0, 1});
    const SetPointer b = MakeSet(kPoints, {0, 1});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(IndicesOf(*a), (Indices{4, 5}));
    EXPECT_EQ(NamesOf(*a), (std::vector<long>{2}));
}

TEST(RemoveCommonSegments, ASegmentWithoutLengthIsComparedLikeAnyOther) {
    const SetPointer a = Marked({4, 4, 5, 5, 4, 5});
    const SetPointer b = MakeSet(kPoints, {4, 4});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(IndicesOf(*a), (Indices{5, 5, 4, 5}));
}

TEST(RemoveCommonSegments, AnEmptiedSetHasNoIndexBufferAndNoRecords) {
    const SetPointer a = Marked({0, 1, 2, 3});
    const SetPointer b = MakeSet(kPoints, {3, 2, 4, 5, 1, 0});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(a->GetIndexBuffer(), nullptr);
    EXPECT_NE(a->GetVertexBuffer(), nullptr);
    EXPECT_TRUE(a->occlusionIntervals.empty());
    EXPECT_TRUE(a->clipRanges.empty());
}

TEST(RemoveCommonSegments, ASetThatHadNoSegmentsLosesItsIndexBufferToo) {
    for (const SetPointer& b : {MakeSet(kPoints, {0, 1}), MakeSet(kPoints, {})}) {
        const SetPointer a = MakeSet(kPoints, {});
        MarkSegments(*a, 2, 1);
        LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
        EXPECT_EQ(a->GetIndexBuffer(), nullptr);
        EXPECT_TRUE(a->occlusionIntervals.empty());
        EXPECT_TRUE(a->clipRanges.empty());
    }
}

TEST(RemoveCommonSegments, ASecondSetWithoutSegmentsChangesNothing) {
    for (const SetPointer& b :
         {MakeSet(kPoints, {}), MakeSet(MakeVertices(kPoints), IndicesPointer()),
          SetPointer(new LineSegmentSet)}) {
        const SetPointer a = Marked({0, 1, 2, 3});
        LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
        EXPECT_EQ(IndicesOf(*a), (Indices{0, 1, 2, 3}));
        EXPECT_EQ(NamesOf(*a), (std::vector<long>{0, 1}));
        EXPECT_EQ(RecordNamesOf(*a), (std::vector<long>{0, 1}));
    }
}

TEST(RemoveCommonSegments, TheSecondSetIsOnlyRead) {
    const SetPointer a = Marked({0, 1, 1, 2});
    const SetPointer b = Marked({5, 4, 2, 1});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(IndicesOf(*b), (Indices{5, 4, 2, 1}));
    EXPECT_EQ(NamesOf(*b), (std::vector<long>{0, 1}));
}

TEST(RemoveCommonSegments, ASetMinusItselfIsEmpty) {
    const SetPointer a = Marked({0, 1, 1, 2, 2, 0});
    LineSegmentSet::RemoveCommonSegments(a.get(), a.get());
    EXPECT_EQ(a->GetIndexBuffer(), nullptr);
    EXPECT_TRUE(a->occlusionIntervals.empty());
}

TEST(RemoveCommonSegments, SetsWithoutRecordsGetAnEmptyOneForEverySegmentThatStays) {
    const SetPointer a = MakeSet(kPoints, {0, 1, 1, 2, 2, 3});
    const SetPointer b = MakeSet(kPoints, {0, 1});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(IndicesOf(*a), (Indices{1, 2, 2, 3}));
    EXPECT_EQ(NamesOf(*a), (std::vector<long>{-1, -1}));
    ASSERT_EQ(a->clipRanges.size(), 2U);
    for (const auto& record : a->clipRanges) {
        EXPECT_EQ(NumbersOf(record), (std::array<float, 4>{0, 0, 0, 0}));
    }
}

TEST(RemoveCommonSegments, ShortRecordsAreGrownToTheSegmentsThatStay) {
    const SetPointer a = MakeSet(kPoints, {0, 1, 1, 2, 2, 3, 3, 0});
    MarkSegments(*a, 1, 2);
    const SetPointer b = MakeSet(kPoints, {3, 0});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(NamesOf(*a), (std::vector<long>{0, -1, -1}));
    ASSERT_EQ(a->clipRanges.size(), 3U);
    EXPECT_EQ(a->clipRanges[1].t0, 1.0F);
    EXPECT_EQ(NumbersOf(a->clipRanges[2]), (std::array<float, 4>{0, 0, 0, 0}));
}

TEST(RemoveCommonSegments, RecordsAreExchangedOnlyForSegmentsThatHaveOne) {
    // Segment 1 moves to place 0 and its list with it; segment 2 has none to move.
    const SetPointer a = MakeSet(kPoints, {0, 1, 1, 2, 2, 3});
    MarkSegments(*a, 2, 2);
    const SetPointer b = MakeSet(kPoints, {0, 1});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(NamesOf(*a), (std::vector<long>{1, 0}));
    EXPECT_EQ(RecordNamesOf(*a), (std::vector<long>{1, 0}));
}

TEST(RemoveCommonSegments, SurplusRecordsAreIntersectionOff) {
    const SetPointer a = MakeSet(kPoints, {0, 1, 1, 2});
    MarkSegments(*a, 5, 6);
    const SetPointer b = MakeSet(kPoints, {4, 5});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(NamesOf(*a), (std::vector<long>{0, 1}));
    EXPECT_EQ(RecordNamesOf(*a), (std::vector<long>{0, 1}));
}

TEST(RemoveCommonSegments, FlagsStayWithTheirSegments) {
    const SetPointer a = MakeSet(kPoints, {0, 1, 1, 2, 2, 3, 3, 0, 4, 5});
    a->segmentFlags = {true, false, true, true, false};
    const SetPointer b = MakeSet(kPoints, {0, 1, 3, 2});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(IndicesOf(*a), (Indices{1, 2, 3, 0, 4, 5}));
    EXPECT_EQ(a->segmentFlags, (std::vector<bool>{false, true, false}));
    LineSegmentSet::RemoveCommonSegments(a.get(), a.get());
    EXPECT_TRUE(a->segmentFlags.empty());
}

TEST(RemoveCommonSegments, FlagsThatAreNotThereStayAway) {
    const SetPointer a = Marked({0, 1, 1, 2});
    const SetPointer b = MakeSet(kPoints, {0, 1});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_TRUE(a->segmentFlags.empty());
}

TEST(RemoveCommonSegments, FlagsOfAnotherLengthEndAsOneASegment) {
    const SetPointer a = MakeSet(kPoints, {0, 1, 1, 2, 2, 3});
    const SetPointer b = MakeSet(kPoints, {0, 1});
    a->segmentFlags = {true, true};
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(a->segmentFlags, (std::vector<bool>{true, false}));
    a->segmentFlags = {true, false, true};
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(a->segmentFlags, (std::vector<bool>{true, false}));
}

TEST(RemoveCommonSegments, TheOutlineOfAMeshStaysAsItIs) {
    const IndicesPointer outline = test_support::MakeIndices({0, 1, 1, 2, 2, 3, 3, 0});
    kx::kxPointer<kx::kxTriMesh> mesh =
        test_support::MakeMesh({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 1, 2, 0, 2, 3});
    const SetPointer a(LineSegmentSet::GetOutlineEdgesFromTriMesh(mesh.get(), outline));
    ASSERT_EQ(a->GetIndexBuffer(), outline.get());
    LineSegmentSet::RemoveCommonSegments(a.get(), MakeSet(kPoints, {1, 2, 3, 0}).get());
    EXPECT_EQ(IndicesOf(*a), (Indices{0, 1, 2, 3}));
    EXPECT_EQ(a->GetIndexBuffer()->GetIndexBufferType(), kx::IBT_LINES);
    EXPECT_EQ(IndicesOf(outline.get()), (Indices{0, 1, 1, 2, 2, 3, 3, 0}));
    EXPECT_EQ(outline->GetReferences(), 1);
}

TEST(RemoveCommonSegments, ABufferThatNobodyElseHoldsIsWrittenInPlace) {
    const SetPointer a = Marked({0, 1, 1, 2});
    const kx::kxIndexBuffer* const before = a->GetIndexBuffer();
    LineSegmentSet::RemoveCommonSegments(a.get(), MakeSet(kPoints, {0, 1}).get());
    EXPECT_EQ(a->GetIndexBuffer(), before);
    EXPECT_EQ(a->GetIndexBuffer()->GetReferences(), 1);
    EXPECT_EQ(IndicesOf(*a), (Indices{1, 2}));
}

TEST(RemoveCommonSegments, KeepsWhatAPlainMapDoesNotHold) {
    test_support::CommonSegmentCounts counts;
    const int trials = Scaled(10000);
    for (int trial = 0; trial < trials; ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const SetPointer a = test_support::RandomCornerSet(random, 20);
        const SetPointer b = test_support::RandomCornerSet(random, 15);
        if (IndicesOf(*b).empty()) {
            continue;
        }
        ASSERT_EQ(CompareCommonSegments(*a, *b, counts), "") << "seed " << trial;
    }
    EXPECT_GT(counts.removed, trials / 4);
    EXPECT_GT(counts.kept, trials);
}

TEST(RemoveCommonSegments, TheOtherSetCountsAsItWasWhereTheIndicesAreShared) {
    // Keeping the second segment of a overwrites the first one of both, which the third one equals.
    const IndicesPointer shared = test_support::MakeIndices({0, 1, 2, 3, 1, 0});
    const SetPointer a = MakeSet(MakeVertices(kPoints), shared);
    std::vector<Vec3> moved = kPoints;
    moved[3] = Vec3(9, 9, 9);
    const SetPointer b = MakeSet(MakeVertices(moved), shared);
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(IndicesOf(*a), (Indices{2, 3}));
}

} // namespace
