// Visible pieces as geometry: the pieces, the vertices they reuse, and the exact points in space at
// which occluded intervals end.
#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using ctr::RationalInterval;
using test_support::Bits;
using test_support::EndsOf;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::MakeIndices;
using test_support::MakeSet;
using test_support::MakeVertices;
using test_support::PositionsOf;
using test_support::Random;
using test_support::Range;
using test_support::Scaled;
using test_support::SetPointer;
using test_support::Vec3;
using test_support::VerticesPointer;
using Indices = std::vector<unsigned int>;
using Points = std::vector<Vec3>;

constexpr LineSegmentSet::ClipRange kUnclipped{0.0F, 1.0F, 1.0F, 1.0F};

SetPointer Bake(const SetPointer& source) {
    return {LineSegmentSet::BakeVisibleSegments(source.get())};
}

// The segment from (0, 0, 0) to (8, 0, 0) with these hidden ranges.
SetPointer OneSegment(const std::vector<RationalInterval>& hidden) {
    SetPointer set = MakeSet({Vec3(0, 0, 0), Vec3(8, 0, 0)}, {0, 1});
    set->occlusionIntervals = {hidden};
    return set;
}

// From and to of every piece of a set along the x axis.
std::vector<std::pair<float, float>> PiecesAlongX(const SetPointer& set) {
    std::vector<std::pair<float, float>> pieces;
    if (set) {
        for (const auto& [p, q] : EndsOf(*set)) {
            EXPECT_EQ(p[1], 0.0F);
            EXPECT_EQ(q[2], 0.0F);
            pieces.emplace_back(p[0], q[0]);
        }
    }
    return pieces;
}

using Pieces = std::vector<std::pair<float, float>>;

TEST(BakeVisibleSegments, NeedsASetWithBothBuffers) {
    EXPECT_EQ(LineSegmentSet::BakeVisibleSegments(nullptr), nullptr);
    EXPECT_FALSE(Bake(SetPointer(new LineSegmentSet)));
    EXPECT_FALSE(Bake(MakeSet(MakeVertices({Vec3(0, 0, 0)}), IndicesPointer())));
    EXPECT_FALSE(Bake(MakeSet(VerticesPointer(), MakeIndices({0, 1}))));
}

TEST(BakeVisibleSegments, ASetThatWasNeverOccludedSharesItsBuffers) {
    const SetPointer set = MakeSet({Vec3(0, 0, 0), Vec3(8, 0, 0), Vec3(1, 1, 1)}, {0, 1, 1});
    const SetPointer baked = Bake(set);
    ASSERT_TRUE(baked);
    EXPECT_NE(baked.get(), set.get());
    EXPECT_EQ(baked->GetVertexBuffer(), set->GetVertexBuffer());
    EXPECT_EQ(baked->GetIndexBuffer(), set->GetIndexBuffer());
    EXPECT_TRUE(baked->occlusionIntervals.empty());
}

TEST(BakeVisibleSegments, ASetWithoutSegmentsSharesItsBuffersToo) {
    const SetPointer set = MakeSet({Vec3(0, 0, 0)}, {0});
    set->occlusionIntervals.resize(3);
    const SetPointer baked = Bake(set);
    ASSERT_TRUE(baked);
    EXPECT_EQ(baked->GetIndexBuffer(), set->GetIndexBuffer());
}

TEST(BakeVisibleSegments, ASharingSetTakesTheLookButNoRecords) {
    const SetPointer set = MakeSet({Vec3(0, 0, 0), Vec3(8, 0, 0)}, {0, 1});
    set->setColor(Wm4::ColorRGBA(0.5F, 0.25F, 0.125F, 0.75F));
    set->setWidth(3.0F);
    set->clipRanges = {kUnclipped};
    set->segmentFlags = {true};
    const auto local = test_support::ScaleAndMove(Vec3(2, 2, 2), Vec3(1, 0, 0));
    const auto world = test_support::ScaleAndMove(Vec3(1, 3, 1), Vec3(0, 4, 0));
    set->SetLocalTransformation(local);
    set->SetWorldTransformation(world);
    for (const bool occluded : {false, true}) {
        set->occlusionIntervals.resize(occluded ? 1 : 0);
        const SetPointer baked = Bake(set);
        ASSERT_TRUE(baked);
        EXPECT_EQ(baked->getColor(), set->getColor());
        EXPECT_EQ(baked->getWidth(), 3.0F);
        EXPECT_EQ(baked->GetLocalTransformation(), local);
        EXPECT_EQ(baked->GetWorldTransformation(), world);
        EXPECT_TRUE(baked->clipRanges.empty());
        EXPECT_TRUE(baked->segmentFlags.empty());
        EXPECT_TRUE(baked->occlusionIntervals.empty());
        EXPECT_EQ(baked->GetModelBound().max[0], 8.0F);
    }
}

TEST(BakeVisibleSegments, AVisibleSegmentIsCopiedWithItsVertices) {
    const SetPointer set =
        MakeSet({Vec3(9, 9, 9), Vec3(1, 2, 3), Vec3(9, 9, 9), Vec3(4, 5, 6)}, {3, 1});
    set->occlusionIntervals.resize(1);
    const SetPointer baked = Bake(set);
    ASSERT_TRUE(baked);
    EXPECT_EQ(PositionsOf(*baked), (Points{Vec3(1, 2, 3), Vec3(4, 5, 6)}));
    EXPECT_EQ(IndicesOf(*baked), (Indices{1, 0}));
    EXPECT_NE(baked->GetVertexBuffer(), set->GetVertexBuffer());
    EXPECT_EQ(baked->GetVertexBuffer()->GetAttributes().GetPositionChannels(), 3);
    EXPECT_EQ(baked->GetVertexBuffer()->GetAttributes().GetNormalChannels(), 0);
    EXPECT_EQ(baked->GetIndexBuffer()->GetIndexBufferType(), kx::IBT_LINES);
}

TEST(BakeVisibleSegments, HiddenAsAWholeLeavesNothing) {
    EXPECT_FALSE(Bake(OneSegment({Range(0, 1, 1, 1)})));
    EXPECT_FALSE(Bake(OneSegment({Range(0, 9, 7, 7)})));
}

TEST(BakeVisibleSegments, HiddenAtTheStartLeavesTheEnd) {
    const SetPointer baked = Bake(OneSegment({Range(0, 1, 1, 2)}));
    EXPECT_EQ(PiecesAlongX(baked), (Pieces{{4.0F, 8.0F}}));
    EXPECT_EQ(IndicesOf(*baked), (Indices{1, 0})); // the vertex kept comes first in the buffer
}

TEST(BakeVisibleSegments, HiddenAtTheEndLeavesTheStart) {
    EXPECT_EQ(PiecesAlongX(Bake(OneSegment({Range(3, 4, 4, 4)}))), (Pieces{{0.0F, 6.0F}}));
}

TEST(BakeVisibleSegments, EveryGapBetweenHiddenRangesIsAPiece) {
    EXPECT_EQ(PiecesAlongX(Bake(OneSegment({Range(1, 4, 1, 2), Range(3, 4, 1, 1)}))),
              (Pieces{{0.0F, 2.0F}, {4.0F, 6.0F}}));
    EXPECT_EQ(
        PiecesAlongX(Bake(OneSegment({Range(0, 1, 1, 8), Range(1, 4, 3, 8), Range(4, 8, 14, 16)}))),
        (Pieces{{1.0F, 2.0F}, {3.0F, 4.0F}, {7.0F, 8.0F}}));
}

TEST(BakeVisibleSegments, NoPieceIsTooShort) {
    constexpr long kHuge = 1L << 62;
    // The gap at the end is far below the spacing of floats, but the end is below 1 exactly.
    EXPECT_EQ(PiecesAlongX(Bake(OneSegment({Range(0, 1, kHuge - 1, kHuge)}))),
              (Pieces{{8.0F, 8.0F}}));
    EXPECT_EQ(PiecesAlongX(Bake(OneSegment({Range(1, kHuge, 1, 1)}))).size(), 1U);
    EXPECT_EQ(PiecesAlongX(
                  Bake(OneSegment({Range(0, 1, kHuge - 2, kHuge), Range(kHuge - 1, kHuge, 1, 1)}))),
              (Pieces{{8.0F, 8.0F}}));
}

TEST(BakeVisibleSegments, RangeEndsAreMappedWithPerspective) {
    const SetPointer set = OneSegment({Range(1, 2, 1, 1)});
    set->clipRanges = {{0.0F, 1.0F, 1.0F, 3.0F}};
    EXPECT_EQ(PiecesAlongX(Bake(set)), (Pieces{{0.0F, 2.0F}}));
    set->clipRanges = {{0.0F, 1.0F, 3.0F, 1.0F}};
    EXPECT_EQ(PiecesAlongX(Bake(set)), (Pieces{{0.0F, 6.0F}}));
}

TEST(BakeVisibleSegments, ParametersAreThoseOfTheClippedPart) {
    const SetPointer set = OneSegment({Range(1, 4, 1, 2)});
    set->clipRanges = {{0.25F, 0.75F, 1.0F, 1.0F}};
    EXPECT_EQ(PiecesAlongX(Bake(set)), (Pieces{{2.0F, 3.0F}, {4.0F, 6.0F}}));
}

TEST(BakeVisibleSegments, OnlyUnclippedEndsKeepTheirVertices) {
    const Points points{Vec3(0, 0, 0), Vec3(8, 0, 0)};
    for (const auto& [clip, vertexCount, indices] :
         std::vector<std::tuple<LineSegmentSet::ClipRange, std::size_t, Indices>>{
             {{0.0F, 1.0F, 1.0F, 1.0F}, 2, {0, 1}},
             {{-0.0F, 1.0F, 1.0F, 1.0F}, 2, {0, 1}},
             {{0.25F, 1.0F, 1.0F, 1.0F}, 2, {1, 0}},
             {{0.0F, 0.75F, 1.0F, 1.0F}, 2, {0, 1}},
             {{0.25F, 0.75F, 1.0F, 1.0F}, 2, {0, 1}}}) {
        const SetPointer set = MakeSet(points, {0, 1});
        set->occlusionIntervals.resize(1);
        set->clipRanges = {clip};
        const SetPointer baked = Bake(set);
        ASSERT_TRUE(baked);
        EXPECT_EQ(PositionsOf(*baked).size(), vertexCount);
        EXPECT_EQ(IndicesOf(*baked), indices) << clip.t0 << " " << clip.t1;
        EXPECT_EQ(PiecesAlongX(baked), (Pieces{{8.0F * clip.t0, 8.0F * clip.t1}}));
    }
}

TEST(BakeVisibleSegments, AReusedVertexIsCopiedBitForBit) {
    const Vec3 odd(-0.0F, 1e-42F, 0.1F);
    const SetPointer set = MakeSet({odd, Vec3(1, 1, 1)}, {0, 1});
    set->occlusionIntervals = {{Range(1, 2, 1, 1)}};
    const SetPointer baked = Bake(set);
    ASSERT_TRUE(baked);
    EXPECT_EQ(Bits(PositionsOf(*baked)[0]), Bits(odd));
}

TEST(BakeVisibleSegments, ReusedVerticesComeFirstInSourceOrderThenNewOnesAsTheyAreMade) {
    const SetPointer set =
        MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(2, 0, 0), Vec3(3, 0, 0)}, {3, 1, 1, 0, 2, 3});
    set->occlusionIntervals = {{Range(1, 4, 1, 2)},  // 3 -> 2.5, 2 -> 1
                               {},                   // 1 -> 0
                               {Range(0, 1, 1, 2)}}; // 2.5 -> 3; vertex 2 is not used
    const SetPointer baked = Bake(set);
    ASSERT_TRUE(baked);
    EXPECT_EQ(PositionsOf(*baked), (Points{Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(3, 0, 0),
                                           Vec3(2.5F, 0, 0), Vec3(2, 0, 0), Vec3(2.5F, 0, 0)}));
    EXPECT_EQ(IndicesOf(*baked), (Indices{2, 3, 4, 1, 1, 0, 5, 2}));
}

TEST(BakeVisibleSegments, NeighbouringPiecesShareNoNewVertex) {
    const SetPointer baked =
        Bake(OneSegment({Range(1, 8, 2, 8), Range(3, 8, 4, 8), Range(5, 8, 6, 8)}));
    ASSERT_TRUE(baked);
    EXPECT_EQ(IndicesOf(*baked), (Indices{0, 2, 3, 4, 5, 6, 7, 1}));
}

TEST(BakeVisibleSegments, OnlySegmentsWithAListAreBaked) {
    const Points points{Vec3(0, 0, 0), Vec3(8, 0, 0)};
    const SetPointer fewLists = MakeSet(points, {0, 1, 1, 0, 0, 1});
    fewLists->occlusionIntervals.resize(2);
    EXPECT_EQ(PiecesAlongX(Bake(fewLists)), (Pieces{{0.0F, 8.0F}, {8.0F, 0.0F}}));
    const SetPointer manyLists = MakeSet(points, {0, 1, 1});
    manyLists->occlusionIntervals.resize(5);
    EXPECT_EQ(PiecesAlongX(Bake(manyLists)), (Pieces{{0.0F, 8.0F}}));
}

TEST(BakeVisibleSegments, SegmentsBeyondTheClipRecordsCountAsUnclipped) {
    const SetPointer set = MakeSet({Vec3(0, 0, 0), Vec3(8, 0, 0)}, {0, 1, 0, 1});
    set->occlusionIntervals = {{Range(1, 2, 1, 1)}, {Range(1, 2, 1, 1)}};
    set->clipRanges = {{0.5F, 1.0F, 1.0F, 1.0F}};
    EXPECT_EQ(PiecesAlongX(Bake(set)), (Pieces{{4.0F, 6.0F}, {0.0F, 4.0F}}));
}

TEST(BakeVisibleSegments, AnEmptyClipRecordIsNotLookedAt) {
    // The generator also hides a segment that is outside the view; here it is not hidden.
    const SetPointer set = OneSegment({});
    set->clipRanges = {{1.0F, 0.0F, 1.0F, 1.0F}};
    EXPECT_EQ(PiecesAlongX(Bake(set)), (Pieces{{8.0F, 0.0F}}));
}

TEST(BakeVisibleSegments, TheSourceStaysAsItIs) {
    const SetPointer set = OneSegment({Range(1, 4, 1, 2)});
    set->clipRanges = {{0.25F, 0.75F, 1.0F, 2.0F}};
    const SetPointer baked = Bake(set);
    EXPECT_EQ(IndicesOf(*set), (Indices{0, 1}));
    EXPECT_EQ(set->occlusionIntervals[0].size(), 1U);
    EXPECT_EQ(set->clipRanges.size(), 1U);
    EXPECT_EQ(PositionsOf(*set).size(), 2U);
}

// ---------------------------------------------------------------------------------------------
// The whole operation once more, plainly, for random sets.

struct Expected {
    Points positions;
    Indices indices;
};

float AsFloat(const Wm4::Vector2<std::int64_t>& fraction) {
    return static_cast<float>(fraction[0]) / static_cast<float>(fraction[1]);
}

Vec3 Between(const Vec3& p, const Vec3& q, float t) {
    Vec3 point;
    for (int i = 0; i < 3; ++i) {
        point[i] = (1.0F - t) * p[i] + t * q[i];
    }
    return point;
}

// A piece end: a vertex of the source (>= 0) or a point of its own.
struct End {
    int source;
    Vec3 point;
};

std::vector<std::pair<End, End>> PiecesOf(const LineSegmentSet& set, std::size_t i) {
    const Indices indices = IndicesOf(set);
    const auto a = static_cast<int>(indices[2 * i]);
    const auto b = static_cast<int>(indices[2 * i + 1]);
    const LineSegmentSet::ClipRange clip =
        i < set.clipRanges.size() ? set.clipRanges[i] : kUnclipped;
    const Vec3& pa = set.GetVertexBuffer()->Position3(a);
    const Vec3& pb = set.GetVertexBuffer()->Position3(b);
    const Vec3 q0 = Between(pa, pb, clip.t0);
    const Vec3 q1 = Between(pa, pb, clip.t1);
    const auto map = [&](const Wm4::Vector2<std::int64_t>& fraction) {
        const float s = AsFloat(fraction);
        const float t = (clip.w0 * s) / ((clip.w0 - clip.w1) * s + clip.w1);
        return End{-1, Between(q0, q1, t)};
    };
    const End first{clip.t0 == 0.0F ? a : -1, q0};
    const End last{clip.t1 == 1.0F ? b : -1, q1};
    std::vector<std::pair<End, End>> pieces;
    End from = first;
    bool visible = true;
    for (const RationalInterval& hidden : set.occlusionIntervals[i]) {
        if (hidden.start[0] != 0) {
            pieces.emplace_back(from, map(hidden.start));
        }
        from = map(hidden.end);
        visible = hidden.end[0] < hidden.end[1];
    }
    if (visible) {
        pieces.emplace_back(from, last);
    }
    return pieces;
}

Expected Baked(const LineSegmentSet& set) {
    std::vector<std::pair<End, End>> pieces;
    const std::size_t count = std::min(IndicesOf(set).size() / 2, set.occlusionIntervals.size());
    for (std::size_t i = 0; i < count; ++i) {
        const auto own = PiecesOf(set, i);
        pieces.insert(pieces.end(), own.begin(), own.end());
    }
    std::map<int, unsigned int> reused; // in source order
    for (const auto& [from, to] : pieces) {
        reused[from.source] = 0;
        reused[to.source] = 0;
    }
    reused.erase(-1);
    Expected expected;
    for (auto& [source, number] : reused) {
        number = static_cast<unsigned int>(expected.positions.size());
        expected.positions.push_back(set.GetVertexBuffer()->Position3(source));
    }
    for (const auto& [from, to] : pieces) {
        for (const End* end : {&from, &to}) {
            if (end->source >= 0) {
                expected.indices.push_back(reused[end->source]);
            } else {
                expected.indices.push_back(static_cast<unsigned int>(expected.positions.size()));
                expected.positions.push_back(end->point);
            }
        }
    }
    return expected;
}

// Up to four disjoint ranges in order, with denominators that floats cannot all hold.
std::vector<RationalInterval> RandomHidden(Random& random) {
    const long power = 1L << random.between(20, 50);
    const long scale = random.percent(50) ? 1 : power + random.below(1000);
    std::vector<long> ends;
    for (int i = 2 * random.below(5); i > 0; --i) {
        ends.push_back(random.below(17));
    }
    std::sort(ends.begin(), ends.end());
    std::vector<RationalInterval> hidden;
    long last = -1;
    for (std::size_t i = 0; i + 1 < ends.size(); i += 2) {
        if (ends[i] > last && ends[i] < ends[i + 1]) {
            hidden.push_back(Range(ends[i] * scale, 16 * scale, ends[i + 1] * scale, 16 * scale));
            last = ends[i + 1];
        }
    }
    return hidden;
}

SetPointer RandomSet(Random& random) {
    const int vertexCount = random.between(2, 8);
    Points positions(static_cast<std::size_t>(vertexCount));
    for (Vec3& p : positions) {
        p = Vec3{random.uniform(-9, 9), random.uniform(-9, 9), random.uniform(-9, 9)};
    }
    const std::size_t segments = static_cast<std::size_t>(random.between(1, 8));
    Indices indices;
    for (std::size_t i = 0; i < 2 * segments; ++i) {
        indices.push_back(static_cast<unsigned int>(random.below(vertexCount)));
    }
    SetPointer set = MakeSet(positions, indices);
    for (std::size_t i = 0; i < segments; ++i) {
        set->occlusionIntervals.push_back(RandomHidden(random));
    }
    const int records = random.below(static_cast<int>(segments) + 1);
    for (int i = 0; i < records; ++i) {
        set->clipRanges.push_back({random.percent(50) ? 0.0F : random.uniform(0.0F, 0.4F),
                                   random.percent(50) ? 1.0F : random.uniform(0.6F, 1.0F),
                                   random.uniform(0.1F, 5.0F), random.uniform(0.1F, 5.0F)});
    }
    return set;
}

TEST(BakeVisibleSegments, FollowsItsFormulasBitForBitOnRandomSets) {
    Random random(81);
    std::size_t pieces = 0;
    const int trials = Scaled(4000);
    for (int trial = 0; trial < trials; ++trial) {
        const SetPointer set = RandomSet(random);
        const Expected expected = Baked(*set);
        const SetPointer baked = Bake(set);
        ASSERT_EQ(static_cast<bool>(baked), !expected.indices.empty()) << "trial " << trial;
        if (!baked) {
            continue;
        }
        ASSERT_EQ(IndicesOf(*baked), expected.indices) << "trial " << trial;
        const Points positions = PositionsOf(*baked);
        ASSERT_EQ(positions.size(), expected.positions.size()) << "trial " << trial;
        for (std::size_t i = 0; i < positions.size(); ++i) {
            ASSERT_EQ(Bits(positions[i]), Bits(expected.positions[i])) << "trial " << trial;
        }
        pieces += expected.indices.size() / 2;
    }
    EXPECT_GT(pieces, 4U * static_cast<unsigned int>(trials));
}

} // namespace
