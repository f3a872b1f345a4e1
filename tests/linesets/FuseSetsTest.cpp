// Fusing of sets: which sets take part, and which of their records are copied.
#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::Bits;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::MakeIndices;
using test_support::MakeSet;
using test_support::MakeVertices;
using test_support::NumbersOf;
using test_support::PositionsOf;
using test_support::Random;
using test_support::Range;
using test_support::ScaleAndMove;
using test_support::Scaled;
using test_support::SetPointer;
using test_support::Vec3;
using test_support::VerticesPointer;

SetPointer Fuse(const std::vector<SetPointer>& sets) {
    std::vector<LineSegmentSet*> list;
    list.reserve(sets.size());
    for (const SetPointer& set : sets) {
        list.push_back(set.get());
    }
    return {LineSegmentSet::FuseLineSegmentSets(list)};
}

SetPointer OneSegment(float x) {
    return MakeSet({Vec3(x, 0, 0), Vec3(x, 1, 0)}, {0, 1});
}

TEST(FuseLineSegmentSets, NothingGivesNull) {
    EXPECT_FALSE(Fuse({}));
    EXPECT_FALSE(Fuse({SetPointer(), SetPointer()}));
}

TEST(FuseLineSegmentSets, SetsWithoutBuffersTakeNoPart) {
    const SetPointer empty(new LineSegmentSet);
    const SetPointer noIndices = MakeSet(MakeVertices({Vec3(1, 1, 1)}), IndicesPointer());
    const SetPointer noVertices = MakeSet(VerticesPointer(), MakeIndices({0, 1}));
    EXPECT_FALSE(Fuse({empty, noIndices, noVertices}));
    const SetPointer fused = Fuse({noVertices, OneSegment(3), noIndices, empty});
    ASSERT_TRUE(fused);
    EXPECT_EQ(IndicesOf(*fused), (std::vector<unsigned int>{0, 1}));
    EXPECT_EQ(PositionsOf(*fused), (std::vector<Vec3>{Vec3(3, 0, 0), Vec3(3, 1, 0)}));
}

TEST(FuseLineSegmentSets, NoSegmentsOrNoVerticesGiveNull) {
    EXPECT_FALSE(Fuse({MakeSet({Vec3(1, 1, 1)}, {})}));
    EXPECT_FALSE(Fuse({MakeSet({Vec3(1, 1, 1)}, {0})})); // half a segment
    EXPECT_FALSE(Fuse({MakeSet(std::vector<Vec3>(), {0, 1})}));
}

TEST(FuseLineSegmentSets, VerticesOfSetsWithoutSegmentsComeAlong) {
    const SetPointer idle = MakeSet({Vec3(9, 9, 9), Vec3(8, 8, 8)}, {});
    const SetPointer fused = Fuse({idle, OneSegment(1)});
    ASSERT_TRUE(fused);
    EXPECT_EQ(PositionsOf(*fused).size(), 4U);
    EXPECT_EQ(IndicesOf(*fused), (std::vector<unsigned int>{2, 3}));
}

TEST(FuseLineSegmentSets, NullSetsAreSkipped) {
    const SetPointer fused = Fuse({SetPointer(), OneSegment(1), SetPointer(), OneSegment(2)});
    ASSERT_TRUE(fused);
    EXPECT_EQ(IndicesOf(*fused), (std::vector<unsigned int>{0, 1, 2, 3}));
}

TEST(FuseLineSegmentSets, PutsEverySetIntoWorldSpace) {
    const SetPointer a = MakeSet({Vec3(1, 2, 3), Vec3(4, 5, 6)}, {0, 1});
    a->SetLocalTransformation(ScaleAndMove(Vec3(9, 9, 9), Vec3(9, 9, 9))); // must not matter
    a->SetWorldTransformation(ScaleAndMove(Vec3(2, 3, 4), Vec3(10, 20, 30)));
    const SetPointer b = OneSegment(7);
    const SetPointer fused = Fuse({a, b});
    ASSERT_TRUE(fused);
    EXPECT_EQ(PositionsOf(*fused), (std::vector<Vec3>{Vec3(12, 26, 42), Vec3(18, 35, 54),
                                                      Vec3(7, 0, 0), Vec3(7, 1, 0)}));
    EXPECT_TRUE(fused->GetWorldTransformation().IsIdentity());
    EXPECT_TRUE(fused->GetLocalTransformation().IsIdentity());
}

TEST(FuseLineSegmentSets, TheIdentityKeepsEveryBit) {
    const Vec3 odd(-0.0F, 1e-40F, 0.1F);
    const SetPointer fused = Fuse({MakeSet({odd, Vec3(1, 1, 1)}, {0, 1})});
    ASSERT_TRUE(fused);
    EXPECT_EQ(Bits(PositionsOf(*fused)[0]), Bits(odd));
}

TEST(FuseLineSegmentSets, KeepsEqualVerticesAndEqualSegmentsApart) {
    const SetPointer fused = Fuse({OneSegment(1), OneSegment(1)});
    ASSERT_TRUE(fused);
    EXPECT_EQ(PositionsOf(*fused).size(), 4U);
    EXPECT_EQ(IndicesOf(*fused), (std::vector<unsigned int>{0, 1, 2, 3}));
}

TEST(FuseLineSegmentSets, AnOddLastIndexIsDropped) {
    const SetPointer odd = MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0)}, {0, 1, 1});
    odd->occlusionIntervals = {{Range(1, 4, 1, 2)}};
    const SetPointer next = OneSegment(5);
    next->occlusionIntervals = {{Range(0, 1, 1, 3)}};
    const SetPointer fused = Fuse({odd, next});
    ASSERT_TRUE(fused);
    EXPECT_EQ(IndicesOf(*fused), (std::vector<unsigned int>{0, 1, 2, 3}));
    ASSERT_EQ(fused->occlusionIntervals.size(), 2U);
    EXPECT_EQ(NumbersOf(fused->occlusionIntervals[1]), NumbersOf(next->occlusionIntervals[0]));
}

TEST(FuseLineSegmentSets, CarriesHiddenRangesButNoClipRecordsAndNoFlags) {
    const SetPointer a = OneSegment(1);
    a->occlusionIntervals = {{Range(0, 1, 2, 4), Range(3, 4, 1, 1)}};
    a->clipRanges = {{0.25F, 0.75F, 2.0F, 3.0F}};
    a->segmentFlags = {true};
    const SetPointer fused = Fuse({a});
    ASSERT_TRUE(fused);
    ASSERT_EQ(fused->occlusionIntervals.size(), 1U);
    EXPECT_EQ(NumbersOf(fused->occlusionIntervals[0]), NumbersOf(a->occlusionIntervals[0]));
    EXPECT_TRUE(fused->clipRanges.empty());
    EXPECT_TRUE(fused->segmentFlags.empty());
}

TEST(FuseLineSegmentSets, EverySegmentGetsAListOfHiddenRanges) {
    const SetPointer fused = Fuse({OneSegment(1), OneSegment(2)});
    ASSERT_TRUE(fused);
    ASSERT_EQ(fused->occlusionIntervals.size(), 2U);
    EXPECT_TRUE(fused->occlusionIntervals[0].empty());
    EXPECT_TRUE(fused->occlusionIntervals[1].empty());
}

TEST(FuseLineSegmentSets, MissingListsStayEmptyAndSurplusListsAreLeft) {
    const std::vector<Vec3> positions{Vec3(0, 0, 0), Vec3(1, 0, 0)};
    const SetPointer few = MakeSet(positions, {0, 1, 1, 0, 0, 1});
    few->occlusionIntervals = {{Range(1, 9, 2, 9)}};
    const SetPointer many = MakeSet(positions, {0, 1});
    many->occlusionIntervals = {{Range(3, 9, 4, 9)}, {Range(5, 9, 6, 9)}, {}};
    const SetPointer last = OneSegment(4);
    const SetPointer fused = Fuse({few, many, last});
    ASSERT_TRUE(fused);
    ASSERT_EQ(fused->occlusionIntervals.size(), 5U);
    EXPECT_EQ(NumbersOf(fused->occlusionIntervals[0]), NumbersOf(few->occlusionIntervals[0]));
    EXPECT_TRUE(fused->occlusionIntervals[1].empty());
    EXPECT_TRUE(fused->occlusionIntervals[2].empty());
    EXPECT_EQ(NumbersOf(fused->occlusionIntervals[3]), NumbersOf(many->occlusionIntervals[0]));
    EXPECT_TRUE(fused->occlusionIntervals[4].empty());
}

TEST(FuseLineSegmentSets, MakesBuffersOfItsOwn) {
    const SetPointer a = OneSegment(1);
    const SetPointer fused = Fuse({a});
    ASSERT_TRUE(fused);
    EXPECT_NE(fused->GetVertexBuffer(), a->GetVertexBuffer());
    EXPECT_NE(fused->GetIndexBuffer(), a->GetIndexBuffer());
    EXPECT_EQ(fused->GetIndexBuffer()->GetIndexBufferType(), kx::IBT_LINES);
    EXPECT_EQ(fused->GetVertexBuffer()->GetAttributes().GetPositionChannels(), 3);
    EXPECT_EQ(fused->GetVertexBuffer()->GetAttributes().GetNormalChannels(), 0);
    EXPECT_EQ(fused->GetVertexBuffer()->GetReferences(), 1);
    EXPECT_EQ(fused->GetIndexBuffer()->GetReferences(), 1);
}

SetPointer RandomSet(Random& random) {
    if (random.percent(10)) {
        return {};
    }
    const int vertexCount = random.between(1, 6);
    std::vector<Vec3> positions(static_cast<std::size_t>(vertexCount));
    for (Vec3& p : positions) {
        p = Vec3{random.uniform(-1, 1), random.uniform(-1, 1), random.uniform(-1, 1)};
    }
    std::vector<unsigned int> indices(static_cast<std::size_t>(random.below(10)));
    for (unsigned int& index : indices) {
        index = static_cast<unsigned int>(random.below(vertexCount));
    }
    SetPointer set = MakeSet(positions, indices);
    const int lists = random.below(7);
    for (int i = 0; i < lists; ++i) {
        set->occlusionIntervals.emplace_back();
        for (int k = random.below(3); k > 0; --k) {
            const int start = random.below(9);
            set->occlusionIntervals.back().push_back(Range(start, 9, random.between(1, 9), 9));
        }
    }
    set->clipRanges.resize(static_cast<std::size_t>(random.below(7)));
    if (random.percent(50)) {
        set->SetWorldTransformation(
            ScaleAndMove(Vec3(2.5F, 0.3F, -1), Vec3(random.uniform(-1, 1), 0.1F, 7)));
    }
    return set;
}

TEST(FuseLineSegmentSets, IsThePlainConcatenation) {
    Random random(61);
    std::size_t fusedSegments = 0;
    const int trials = Scaled(2000);
    for (int trial = 0; trial < trials; ++trial) {
        std::vector<SetPointer> sets(static_cast<std::size_t>(random.below(5)));
        std::vector<Vec3> positions;
        std::vector<unsigned int> indices;
        std::vector<std::vector<std::array<long, 4>>> hidden;
        for (SetPointer& set : sets) {
            set = RandomSet(random);
            if (!set) {
                continue;
            }
            const auto base = static_cast<unsigned int>(positions.size());
            for (const Vec3& p : PositionsOf(*set)) {
                positions.push_back(set->GetWorldTransformation().ApplyForward(p, true));
            }
            const std::vector<unsigned int> own = IndicesOf(*set);
            for (std::size_t i = 0; i < own.size() / 2; ++i) {
                indices.push_back(own[2 * i] + base);
                indices.push_back(own[2 * i + 1] + base);
                hidden.push_back(i < set->occlusionIntervals.size()
                                     ? NumbersOf(set->occlusionIntervals[i])
                                     : std::vector<std::array<long, 4>>());
            }
        }
        const SetPointer fused = Fuse(sets);
        ASSERT_EQ(static_cast<bool>(fused), !indices.empty()) << "trial " << trial;
        if (!fused) {
            continue;
        }
        ASSERT_EQ(IndicesOf(*fused), indices) << "trial " << trial;
        ASSERT_EQ(fused->GetVertexBuffer()->GetVertexQuantity(),
                  static_cast<int>(positions.size()));
        for (std::size_t i = 0; i < positions.size(); ++i) {
            ASSERT_EQ(Bits(fused->GetVertexBuffer()->Position3(static_cast<int>(i))),
                      Bits(positions[i]));
        }
        ASSERT_EQ(fused->occlusionIntervals.size(), hidden.size());
        for (std::size_t i = 0; i < hidden.size(); ++i) {
            ASSERT_EQ(NumbersOf(fused->occlusionIntervals[i]), hidden[i]) << "trial " << trial;
        }
        ASSERT_TRUE(fused->clipRanges.empty());
        fusedSegments += hidden.size();
    }
    EXPECT_GT(fusedSegments, static_cast<std::size_t>(trials));
}

} // namespace
