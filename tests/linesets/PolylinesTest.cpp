// Sets of polylines, and operations on their runs.
#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::IndicesOf;
using test_support::MakeSet;
using test_support::PositionsOf;
using test_support::SetPointer;
using test_support::Vec3;
using ArcFeature = LineSegmentSet::ArcFeature;
using Indices = std::vector<unsigned int>;
using Points = std::vector<Vec3>;
using Flags = std::vector<bool>;
using Tags = std::vector<unsigned char>;

SetPointer SquareSet() {
    SetPointer set = MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(1, 1, 0), Vec3(0, 1, 0)},
                             {0, 1, 1, 2, 2, 3, 3, 0});
    set->segmentFlags = Flags(4, true);
    return set;
}

TEST(BuildPolylines, SharesTheVerticesUnlessCompacted) {
    const SetPointer source = SquareSet();
    std::vector<ArcFeature> arcs;
    const SetPointer shared(LineSegmentSet::BuildPolylines(*source, arcs, false));
    ASSERT_TRUE(shared);
    EXPECT_EQ(shared->GetVertexBuffer(), source->GetVertexBuffer());
    EXPECT_NE(shared->GetIndexBuffer(), source->GetIndexBuffer());
    EXPECT_EQ(IndicesOf(*shared), (Indices{1, 2, 2, 3, 3, 0, 0, 1}));
    EXPECT_EQ(arcs.size(), 1U);

    std::vector<ArcFeature> compactedArcs;
    const SetPointer compacted(LineSegmentSet::BuildPolylines(*source, compactedArcs, true));
    ASSERT_TRUE(compacted);
    EXPECT_NE(compacted->GetVertexBuffer(), source->GetVertexBuffer());
    // Sorted by position: 0, 3, 1, 2.
    EXPECT_EQ(PositionsOf(*compacted),
              (Points{Vec3(0, 0, 0), Vec3(0, 1, 0), Vec3(1, 0, 0), Vec3(1, 1, 0)}));
    EXPECT_EQ(IndicesOf(*compacted), (Indices{2, 3, 3, 1, 1, 0, 0, 2}));
}

TEST(BuildPolylines, LeavesTheSourceAsItIs) {
    const SetPointer source = SquareSet();
    std::vector<ArcFeature> arcs;
    const SetPointer polylines(LineSegmentSet::BuildPolylines(*source, arcs, true));
    EXPECT_EQ(IndicesOf(*source), (Indices{0, 1, 1, 2, 2, 3, 3, 0}));
    EXPECT_EQ(source->segmentFlags, Flags(4, true));
    EXPECT_EQ(PositionsOf(*source).size(), 4U);
}

TEST(BuildPolylines, TakesTransformationsAndLook) {
    const SetPointer source = SquareSet();
    const auto local = test_support::ScaleAndMove(Vec3(2, 2, 2), Vec3(1, 0, 0));
    const auto world = test_support::ScaleAndMove(Vec3(1, 3, 1), Vec3(0, 4, 0));
    source->SetLocalTransformation(local);
    source->SetWorldTransformation(world);
    source->setColor(Wm4::ColorRGBA(0.5F, 0.25F, 0.125F, 0.75F));
    source->setWidth(3.0F);
    for (const bool compact : {false, true}) {
        std::vector<ArcFeature> arcs;
        const SetPointer polylines(LineSegmentSet::BuildPolylines(*source, arcs, compact));
        ASSERT_TRUE(polylines);
        EXPECT_EQ(polylines->GetLocalTransformation(), local);
        EXPECT_EQ(polylines->GetWorldTransformation(), world);
        EXPECT_EQ(polylines->getColor(), source->getColor());
        EXPECT_EQ(polylines->getWidth(), 3.0F);
    }
}

TEST(BuildPolylines, HasStraightFlagsInPlaceOfTheSourcesAndNoRecords) {
    const SetPointer source = SquareSet();
    source->occlusionIntervals.resize(4);
    source->clipRanges.resize(4);
    std::vector<ArcFeature> arcs;
    const SetPointer polylines(LineSegmentSet::BuildPolylines(*source, arcs, false));
    ASSERT_TRUE(polylines);
    EXPECT_EQ(polylines->segmentFlags, Flags(4, false));
    EXPECT_TRUE(polylines->occlusionIntervals.empty());
    EXPECT_TRUE(polylines->clipRanges.empty());
}

TEST(BuildPolylines, VerticesAreWeldedAfterChaining) {
    // Two segments that meet in space but not in their indices are two chains.
    const SetPointer source =
        MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(1, 0, 0), Vec3(1, 1, 0)}, {0, 1, 2, 3});
    std::vector<ArcFeature> arcs;
    const SetPointer polylines(LineSegmentSet::BuildPolylines(*source, arcs, true));
    ASSERT_TRUE(polylines);
    EXPECT_EQ(arcs.size(), 2U);
    EXPECT_EQ(PositionsOf(*polylines).size(), 3U);
    EXPECT_EQ(IndicesOf(*polylines), (Indices{0, 1, 1, 2}));
}

TEST(BuildPolylines, NoSegmentsGiveNullAndLeaveTheRecords) {
    std::vector<ArcFeature> arcs(2);
    EXPECT_EQ(LineSegmentSet::BuildPolylines(*SetPointer(new LineSegmentSet), arcs, true), nullptr);
    const SetPointer withoutLines = MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0)}, {0, 1});
    withoutLines->SetIndexBuffer(nullptr);
    EXPECT_EQ(LineSegmentSet::BuildPolylines(*withoutLines, arcs, true), nullptr);
    EXPECT_EQ(LineSegmentSet::BuildPolylines(*MakeSet({Vec3(0, 0, 0)}, {0}), arcs, true), nullptr);
    EXPECT_EQ(LineSegmentSet::BuildPolylines(*MakeSet({Vec3(0, 0, 0)}, {0, 9}), arcs, false),
              nullptr);
    EXPECT_EQ(arcs.size(), 2U);
}

// Three linked records over 12 indices and one, at the front, that is not in the chain.
struct LinkedRuns {
    std::array<ArcFeature, 4> runs;

    LinkedRuns() {
        const std::array<std::pair<unsigned int, unsigned int>, 4> ranges{
            {{0, 2}, {2, 6}, {6, 8}, {10, 12}}};
        for (std::size_t i = 0; i < 4; ++i) {
            runs[i].first = ranges[i].first;
            runs[i].end = ranges[i].second;
        }
        for (std::size_t i = 1; i + 1 < 4; ++i) {
            runs[i].next = &runs[i + 1];
            runs[i + 1].prev = &runs[i];
        }
    }
};

TEST(ArcFeature, ClearsStraightFlagsFromItselfToTheEndOfItsChain) {
    const LinkedRuns linked;
    Flags flags(6, true);
    linked.runs[1].removeStraightLineFlags(flags);
    EXPECT_EQ(flags, (Flags{true, false, false, false, true, false}));
    flags.assign(6, true);
    linked.runs[2].removeStraightLineFlags(flags); // what comes before it is left alone
    EXPECT_EQ(flags, (Flags{true, true, true, false, true, false}));
    flags.assign(6, true);
    linked.runs[0].removeStraightLineFlags(flags);
    EXPECT_EQ(flags, (Flags{false, true, true, true, true, true}));
}

TEST(ArcFeature, TurnsEveryRecordOfTheChainByItself) {
    const LinkedRuns linked;
    Indices indices{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    Flags flags{true, true, false, true, false, false};
    Tags tags{0, 1, 2, 3, 0, 1};
    linked.runs[1].reverseIndexBuffer(indices.data(), &flags, &tags);
    EXPECT_EQ(indices, (Indices{0, 1, 5, 4, 3, 2, 7, 6, 8, 9, 11, 10}));
    EXPECT_EQ(flags, (Flags{true, false, true, true, false, false}));
    EXPECT_EQ(tags, (Tags{0, 2, 1, 3, 0, 1}));
}

TEST(ArcFeature, TurnsIndicesAloneToo) {
    const LinkedRuns linked;
    Indices indices{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    linked.runs[2].reverseIndexBuffer(indices.data(), nullptr, nullptr);
    EXPECT_EQ(indices, (Indices{0, 1, 2, 3, 4, 5, 7, 6, 8, 9, 11, 10}));
    linked.runs[0].reverseIndexBuffer(indices.data(), nullptr, nullptr);
    EXPECT_EQ(indices, (Indices{1, 0, 2, 3, 4, 5, 7, 6, 8, 9, 11, 10}));
}

TEST(ArcFeature, OfAnyLengthTurnsToItsMirrorImageAndBack) {
    for (unsigned int segments = 1; segments < 40; ++segments) {
        ArcFeature run;
        run.first = 4;
        run.end = 4 + 2 * segments;
        Indices indices;
        Flags flags;
        Tags tags;
        for (unsigned int i = 0; i < 2 * segments + 8; ++i) {
            indices.push_back(100 + i);
        }
        for (unsigned int i = 0; i < segments + 4; ++i) {
            flags.push_back(i % 3 == 0);
            tags.push_back(static_cast<unsigned char>(i % 4));
        }
        Indices expected = indices;
        Flags expectedFlags = flags;
        Tags expectedTags = tags;
        std::reverse(expected.begin() + 4, expected.end() - 4);
        std::reverse(expectedFlags.begin() + 2, expectedFlags.end() - 2);
        std::reverse(expectedTags.begin() + 2, expectedTags.end() - 2);
        const Indices before = indices;
        run.reverseIndexBuffer(indices.data(), &flags, &tags);
        ASSERT_EQ(indices, expected) << segments;
        ASSERT_EQ(flags, expectedFlags) << segments;
        ASSERT_EQ(tags, expectedTags) << segments;
        run.reverseIndexBuffer(indices.data(), &flags, &tags);
        ASSERT_EQ(indices, before) << segments;
    }
}

} // namespace
