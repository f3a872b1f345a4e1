// The points at which edges are split, and the resulting triangles.
#include "features/TJunctions.h"

#include "features/SurfaceShapes.h"

#include <gtest/gtest.h>

namespace {

using ctr::BoundaryEdge;
using ctr::HalfEdges;
using ctr::SplitTriangles;
using ctr::TJunction;
using features_test::Buffers;
using features_test::BuffersOf;
using test_support::MeshData;
using test_support::Point;
using test_support::Quad;

struct Found {
    std::vector<TJunction> junctions;
    SplitTriangles split;
};

Found FindIn(const MeshData& data, double distance) {
    const Buffers buffers = BuffersOf(data);
    const HalfEdges halfEdges(*buffers.vertices, *buffers.triangles);
    const std::vector<BoundaryEdge> edges = MeasureBoundaryEdges(
        ClassifyEdges(halfEdges), halfEdges, *buffers.vertices, *buffers.triangles);
    const ctr::SurfaceView surface{*buffers.vertices, *buffers.triangles, halfEdges,
                                   data.positions};
    Found found;
    found.junctions = FindTJunctions(edges, surface, distance);
    found.split = SplitAtTJunctions(found.junctions, surface);
    return found;
}

/// A triangle over the x axis from 0 to 10, and below it a row of others from x to x.
MeshData Row(const std::vector<float>& xs, float y = 0.0F) {
    MeshData data = test_support::Triangle(Point(0, 0, 0), Point(10, 0, 0), Point(5, 6, 0));
    for (std::size_t i = 0; i + 1 < xs.size(); ++i) {
        data.append(test_support::Triangle(Point(xs[i + 1], y, 0), Point(xs[i], y, 0),
                                           Point(xs[i], y - 3, 0)));
    }
    return data;
}

TEST(FindTJunctions, FindsCornersOnAnEdgeInTheirOrder) {
    const Found found = FindIn(Row({0, 3, 4, 8, 10}), 1e-3);
    ASSERT_EQ(found.junctions.size(), 3U);
    for (const TJunction& junction : found.junctions) {
        EXPECT_EQ(junction.corner, 0U);
    }
    EXPECT_NEAR(found.junctions[0].along, 0.3, 1e-9);
    EXPECT_NEAR(found.junctions[1].along, 0.4, 1e-9);
    EXPECT_NEAR(found.junctions[2].along, 0.8, 1e-9);
}

TEST(FindTJunctions, SplitsBothOfTwoEdgesThatOverlap) {
    const Found found = FindIn(Row({-4, 7}), 1e-3);
    ASSERT_EQ(found.junctions.size(), 2U);
    EXPECT_EQ(found.junctions[0].corner, 0U);
    EXPECT_NEAR(found.junctions[0].along, 0.7, 1e-9);
    EXPECT_EQ(found.junctions[1].corner, 3U);
    EXPECT_NEAR(found.junctions[1].along, 7.0 / 11.0, 1e-9);
}

TEST(FindTJunctions, TakesNoCornerThatIsFarOrOnlyTouches) {
    EXPECT_TRUE(FindIn(Row({0, 3, 10}, -0.01F), 1e-3).junctions.empty()) << "too far";
    MeshData tip = Row({});
    tip.append(test_support::Triangle(Point(5, 0, 0), Point(3, -4, 0), Point(7, -4, 0)));
    EXPECT_TRUE(FindIn(tip, 1e-3).junctions.empty()) << "a tip on an edge";
    MeshData back = Row({});
    back.append(test_support::Triangle(Point(0, 0, 0), Point(5, 0, 0), Point(3, 2, 0)));
    EXPECT_TRUE(FindIn(back, 1e-3).junctions.empty()) << "one lies on the other";
    EXPECT_TRUE(FindIn(Row({0, 10}), 1e-3).junctions.empty()) << "the same ends";
}

TEST(SplitAtTJunctions, MakesAFanAroundTheCornerOpposite) {
    const SplitTriangles split = FindIn(Row({0, 3, 10}), 1e-3).split;
    EXPECT_EQ(split.splitEdges, 1U);
    ASSERT_EQ(split.added.size(), 1U);
    EXPECT_EQ(split.added[0].from, 0U);
    EXPECT_EQ(split.added[0].to, 1U);
    EXPECT_NEAR(split.added[0].along, 0.3, 1e-9);
    EXPECT_EQ(split.indices, (std::vector<std::uint32_t>{0, 9, 2, 9, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(SplitAtTJunctions, SplitsAllSidesOfATriangle) {
    // A large triangle in the middle of three pairs of small ones.
    const Point a(0, 0, 0);
    const Point b(12, 0, 0);
    const Point c(0, 12, 0);
    MeshData data = test_support::Triangle(a, b, c);
    const auto addPair = [&](const Point& from, const Point& to, const Point& tip) {
        const Point middle = 0.5F * (from + to);
        data.append(test_support::Triangle(middle, from, tip));
        data.append(test_support::Triangle(to, middle, tip));
    };
    addPair(a, b, Point(6, -5, 0));
    addPair(b, c, Point(12, 12, 0));
    addPair(c, a, Point(-5, 6, 0));
    const SplitTriangles split = FindIn(data, 1e-3).split;
    EXPECT_EQ(split.splitEdges, 3U);
    EXPECT_EQ(split.added.size(), 3U);
    EXPECT_EQ(split.indices.size(), 3U * (4U + 6U));
}

} // namespace
