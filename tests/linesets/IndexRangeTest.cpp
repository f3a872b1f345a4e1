// Segments and triangles with indices out of range, as files may contain them: every operation
// skips them and processes the others as if they were absent.
#include <ctr/CreaseEdgeInfo.h>
#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::MakeIndices;
using test_support::MakeSet;
using test_support::MakeVertices;
using test_support::PositionsOf;
using test_support::SetPointer;
using test_support::Vec3;
using test_support::VerticesPointer;

const std::vector<Vec3> kCorners = {Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0, 1, 0)};

/// As many vertices, but without positions.
VerticesPointer WithoutPositions(int count) {
    kx::kxAttributes attributes;
    attributes.SetNormalChannels(3);
    return VerticesPointer(new kx::kxVertexBuffer(attributes, count));
}

std::vector<ctr::CreaseEdgeInfo> CreasesOf(const VerticesPointer& vertices,
                                           const std::vector<unsigned int>& triangles) {
    const std::atomic<bool> never = false;
    const kx::kxCancelInterfaceProxyReadOnly cancel(never);
    std::vector<ctr::CreaseEdgeInfo> edges;
    ComputeCreaseEdgeInfo(edges, vertices.get(), MakeIndices(triangles, kx::IBT_TRIANGLES).get(),
                          5.0F, cancel);
    return edges;
}

TEST(IndexRange, TrianglesHaveNoCreases) {
    const VerticesPointer corners = MakeVertices(kCorners);
    const std::vector<ctr::CreaseEdgeInfo> all = CreasesOf(corners, {0, 1, 2});
    ASSERT_EQ(all.size(), 3U);
    for (const unsigned int missing : {3U, 1000000U, 0x7fffffffU, 0xffffffffU}) {
        EXPECT_TRUE(CreasesOf(corners, {0, 1, missing}).empty());
        EXPECT_TRUE(CreasesOf(corners, {missing, 1, 2}).empty());
        const auto edges = CreasesOf(corners, {0, missing, 2, 0, 1, 2, missing, missing, missing});
        ASSERT_EQ(edges.size(), 3U);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(edges[i].vertexA, all[i].vertexA);
            EXPECT_EQ(edges[i].vertexB, all[i].vertexB);
        }
    }
    EXPECT_TRUE(CreasesOf(WithoutPositions(3), {0, 1, 2}).empty());
}

TEST(IndexRange, SegmentsOfAListAreNoEdges) {
    const VerticesPointer corners = MakeVertices(kCorners);
    std::vector<ctr::CreaseEdgeInfo> edges;
    std::vector<unsigned char> tags;
    const IndicesPointer lines = MakeIndices({2, 3, 2, 0, 9, 1});
    EXPECT_TRUE(ComputeEdgeInfoFromIBuffer(edges, corners.get(), lines.get(), tags));
    ASSERT_EQ(edges.size(), 1U);
    EXPECT_EQ(tags, (std::vector<unsigned char>{1}));
    EXPECT_EQ(edges[0].vertexA, 0U);
    // Turned where it exists, left as it is where it does not.
    EXPECT_EQ(IndicesOf(lines.get()), (std::vector<unsigned int>{2, 3, 0, 2, 9, 1}));
    EXPECT_FALSE(ComputeEdgeInfoFromIBuffer(edges, WithoutPositions(3).get(), lines.get(), tags));
}

// Numbers are shifted by the vertices of the sets before: what lay beyond one set must not name the
// vertices of the next.
TEST(IndexRange, AreMissingInTheFusedSetToo) {
    const SetPointer first = MakeSet(kCorners, {0, 1, 1, 3, 2, 4});
    const SetPointer second = MakeSet(kCorners, {1, 2});
    const SetPointer bare = MakeSet(WithoutPositions(2), MakeIndices({0, 1}));
    const SetPointer fused(
        LineSegmentSet::FuseLineSegmentSets({first.get(), bare.get(), second.get()}));
    ASSERT_TRUE(fused);
    const std::vector<unsigned int> indices = IndicesOf(*fused);
    const auto count = static_cast<unsigned int>(PositionsOf(*fused).size());
    EXPECT_EQ(count, 6U);
    ASSERT_EQ(indices.size(), 10U);
    EXPECT_EQ(indices[0], 0U);
    EXPECT_EQ(indices[2], 1U);
    EXPECT_EQ(indices[8], 4U);
    for (const std::size_t missing : {3U, 5U, 6U, 7U}) {
        EXPECT_GE(indices[missing], count);
    }
}

TEST(IndexRange, SegmentsAreNeverCommon) {
    const SetPointer a = MakeSet(kCorners, {0, 1, 1, 3, 1, 2});
    const SetPointer b = MakeSet(kCorners, {1, 3, 2, 1, 7, 8});
    LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
    EXPECT_EQ(IndicesOf(*a), (std::vector<unsigned int>{0, 1, 1, 3}));
}

TEST(IndexRange, SegmentsHaveNoVisiblePieces) {
    const SetPointer set = MakeSet(kCorners, {1, 3, 1, 2, 9, 0});
    set->occlusionIntervals.resize(3);
    const SetPointer pieces(LineSegmentSet::BakeVisibleSegments(set.get()));
    ASSERT_TRUE(pieces);
    EXPECT_EQ(PositionsOf(*pieces), (std::vector<Vec3>{kCorners[1], kCorners[2]}));
    EXPECT_EQ(IndicesOf(*pieces), (std::vector<unsigned int>{0, 1}));
    const SetPointer none = MakeSet(WithoutPositions(3), MakeIndices({0, 1}));
    none->occlusionIntervals.resize(1);
    EXPECT_FALSE(SetPointer(LineSegmentSet::BakeVisibleSegments(none.get())));
}

TEST(IndexRange, AreMissingInAFilteredBufferToo) {
    VerticesPointer filtered;
    const VerticesPointer corners = MakeVertices(kCorners);
    const IndicesPointer lines = MakeIndices({2, 3, 2, 1});
    LineSegmentSet::CreateFilteredVertexBufferPatched(*corners, *lines, filtered);
    ASSERT_EQ(filtered->GetVertexQuantity(), 2);
    const std::vector<unsigned int> indices = IndicesOf(lines.get());
    EXPECT_EQ(filtered->Position3(static_cast<int>(indices[0])), kCorners[2]);
    EXPECT_GE(indices[1], 2U);
    EXPECT_EQ(filtered->Position3(static_cast<int>(indices[3])), kCorners[1]);
}

TEST(IndexRange, MakeNoPolylines) {
    std::vector<LineSegmentSet::ArcFeature> arcs;
    const SetPointer beyond = MakeSet(kCorners, {0, 1, 1, 3});
    EXPECT_FALSE(SetPointer(LineSegmentSet::BuildPolylines(*beyond, arcs, true)));
    const SetPointer bare = MakeSet(WithoutPositions(2), MakeIndices({0, 1}));
    EXPECT_FALSE(SetPointer(LineSegmentSet::BuildPolylines(*bare, arcs, true)));
}

} // namespace
