// The points that are merged, and the merges that are refused.
#include "features/Stitching.h"

#include "features/SurfaceShapes.h"

#include <gtest/gtest.h>

namespace {

using ctr::BoundaryEdge;
using ctr::EdgePair;
using ctr::HalfEdges;
using ctr::Stitches;
using features_test::Buffers;
using features_test::BuffersOf;
using test_support::MeshData;
using test_support::Point;
using test_support::Quad;

/// Stitches what the pair search finds.
Stitches StitchesOf(const MeshData& data, double distance) {
    const Buffers buffers = BuffersOf(data);
    const HalfEdges halfEdges(*buffers.vertices, *buffers.triangles);
    const std::vector<BoundaryEdge> edges = MeasureBoundaryEdges(
        ClassifyEdges(halfEdges), halfEdges, *buffers.vertices, *buffers.triangles);
    const std::vector<Point> origins = data.positions;
    const std::vector<EdgePair> pairs = FindEdgePairs(edges, {distance, 0.45, 10.0});
    return StitchPairs(pairs, edges, {*buffers.vertices, *buffers.triangles, halfEdges, origins},
                       distance);
}

MeshData Halves(float gap) {
    MeshData data = Quad(Point(0, 0, 0), Point(5, 0, 0), Point(5, 8, 0), Point(0, 8, 0));
    data.append(Quad(Point(5 + gap, 0, 0), Point(9, 0, 0), Point(9, 8, 0), Point(5 + gap, 8, 0)));
    return data;
}

TEST(StitchPairs, MovesTheEndsOfPairsOntoEachOther) {
    const Stitches stitches = StitchesOf(Halves(0.01F), 0.1);
    EXPECT_EQ(stitches.joinedEdges, 1U);
    EXPECT_EQ(stitches.movedPoints, 2U);
    EXPECT_NEAR(stitches.widestGap, 0.01, 1e-6);
    EXPECT_EQ(stitches.targets[1], stitches.targets[4]);
    EXPECT_EQ(stitches.targets[2], stitches.targets[7]);
    for (const std::uint32_t still : {0U, 3U, 5U, 6U}) {
        EXPECT_EQ(stitches.targets[still], still);
    }
}

TEST(StitchPairs, NeverMakesAClusterWiderThanTheDistance) {
    // Four sheets around a seam, which fan out: each is near the next one, the last far from the
    // first.
    MeshData data;
    for (int i = 0; i < 4; ++i) {
        const auto x = 0.08F * static_cast<float>(i);
        const Point tip = i == 0   ? Point(-5, 4, 0)
                          : i == 1 ? Point(0, 4, -5)
                          : i == 2 ? Point(0, 4, 5)
                                   : Point(5, 4, 0);
        data.addTriangle(Point(x, 0, 0), Point(x, 8, 0), tip);
    }
    const Stitches stitches = StitchesOf(data, 0.1);
    EXPECT_GT(stitches.movedPoints, 0U);
    EXPECT_NE(stitches.targets[0], stitches.targets[9]);
    EXPECT_NE(stitches.targets[0], stitches.targets[6]) << "0.16 apart";
}

TEST(StitchPairs, NeverTurnsATriangleOver) {
    // The rim of a sliver would move past its tip.
    const auto moved = [](float rim) {
        MeshData data;
        data.addTriangle(Point(rim, 8, 0), Point(rim, 0, 0), Point(-3, 4, 0));
        data.addTriangle(Point(5, 0, 0), Point(5, 8, 0), Point(5.02F, 4, 0));
        return StitchesOf(data, 0.1).movedPoints;
    };
    EXPECT_EQ(moved(4.97F), 2U);
    EXPECT_EQ(moved(5.01F), 2U);
    EXPECT_EQ(moved(5.05F), 0U);
}

TEST(StitchPairs, NeverTurnsATriangleOverThatMovedBefore) {
    // A short triangle at the second rim follows the first one to the left; the third rim, of more
    // triangles, would draw both past its tip.
    MeshData data;
    data.addTriangle(Point(0, 8, 0), Point(0, 0, 0), Point(-3, 4, 0));
    data.addTriangle(Point(0.03F, 0, 0), Point(0.03F, 8, 0), Point(0.035F, 4, 0));
    const unsigned int low = data.addVertex(Point(0.09F, 0, 0));
    const unsigned int high = data.addVertex(Point(0.09F, 8, 0));
    const unsigned int tip = data.addVertex(Point(5, 4, 0));
    data.addTriangle(low, high, tip);
    for (const float z : {1.0F, 2.0F, 3.0F}) {
        data.addTriangle(low, tip, data.addVertex(Point(4, -4, z)));
        data.addTriangle(high, tip, data.addVertex(Point(4, 12, z)));
    }
    const Buffers buffers = BuffersOf(data);
    const HalfEdges halfEdges(*buffers.vertices, *buffers.triangles);
    const std::vector<BoundaryEdge> edges = MeasureBoundaryEdges(
        ClassifyEdges(halfEdges), halfEdges, *buffers.vertices, *buffers.triangles);
    ASSERT_EQ(edges.at(6).corner, 6U) << "the third rim";
    const Stitches stitches =
        StitchPairs({{0, 3, false, 0.03}, {0, 6, false, 0.09}}, edges,
                    {*buffers.vertices, *buffers.triangles, halfEdges, data.positions}, 0.1);
    EXPECT_EQ(stitches.joinedEdges, 1U);
    EXPECT_EQ(stitches.targets[3], stitches.targets[1]);
    EXPECT_EQ(stitches.targets[4], stitches.targets[0]);
    EXPECT_NE(stitches.targets[low], stitches.targets[1]);
    EXPECT_NE(stitches.targets[high], stitches.targets[0]);
}

TEST(StitchPairs, NeverJoinsTwoCornersOfATriangle) {
    // Across the end of a strip that is narrower than the distance.
    MeshData strip;
    for (int i = 0; i < 4; ++i) {
        const auto y = static_cast<float>(2 * i);
        strip.append(
            Quad(Point(0, y, 0), Point(0.05F, y, 0), Point(0.05F, y + 2, 0), Point(0, y + 2, 0)));
    }
    const Stitches stitches = StitchesOf(strip, 0.1);
    EXPECT_EQ(stitches.movedPoints, 0U);
}

} // namespace
