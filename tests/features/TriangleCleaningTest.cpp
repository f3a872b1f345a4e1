// The triangles that are dropped, and their counts.
#include <ctr/Surface.h>

#include "features/SurfaceShapes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using ctr::CleanTriangles;
using ctr::DroppedTriangles;
using features_test::Buffers;
using features_test::BuffersOf;
using test_support::MeshData;
using test_support::Point;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

DroppedTriangles Clean(const MeshData& data, int expectedToStay) {
    const Buffers buffers = BuffersOf(data);
    const DroppedTriangles dropped = CleanTriangles(*buffers.vertices, *buffers.triangles);
    EXPECT_EQ(buffers.triangles->GetIndexQuantity(), 3 * expectedToStay);
    return dropped;
}

TEST(CleanTriangles, KeepsGoodTrianglesInTheirOrder) {
    MeshData data = test_support::Box({0, 0, 0}, {1, 1, 1});
    const std::vector<unsigned int> good = data.indices;
    data.indices.insert(data.indices.begin() + 6, {0, 0, 1});
    const Buffers buffers = BuffersOf(data);
    EXPECT_EQ(CleanTriangles(*buffers.vertices, *buffers.triangles).total(), 1U);
    EXPECT_EQ(features_test::ContentsOf(*buffers.vertices, *buffers.triangles).indices, good);
}

TEST(CleanTriangles, DropsEqualCornersByIndexOrPosition) {
    MeshData data;
    data.addTriangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0));
    data.addTriangle(0, 1, 1);
    data.addTriangle(Point(0, 0, 0), Point(1, 0, 0), Point(1, 0, 0));
    data.addTriangle(Point(0.0F, 1, 0), Point(-0.0F, 1, 0), Point(1, 0, 0));
    EXPECT_EQ(Clean(data, 1).degenerate, 3U);
}

TEST(CleanTriangles, DropsCornersOnALineAndNothingNearIt) {
    MeshData data;
    data.addTriangle(Point(0, 0, 0), Point(1, 2, 3), Point(2, 4, 6));
    data.addTriangle(Point(0.1F, 0, 0), Point(0.2F, 0, 0), Point(0.3F, 0, 0));
    // The least that a float can lift a corner off its line.
    data.addTriangle(Point(0, 1, 0), Point(1, std::nextafter(1.0F, 2.0F), 0), Point(2, 1, 0));
    data.addTriangle(Point(0, 0, 0), Point(1e-30F, 0, 0), Point(0, 1e-30F, 0));
    data.addTriangle(Point(0, 0, 0), Point(1e-44F, 0, 0), Point(0, 1e-44F, 0));
    EXPECT_EQ(Clean(data, 3).degenerate, 2U);
}

TEST(CleanTriangles, DropsWhatIsNotFinite) {
    MeshData data;
    data.addTriangle(Point(0, 0, NAN), Point(1, 0, 0), Point(0, 1, 0));
    data.addTriangle(Point(0, 0, 0), Point(kInfinity, 0, 0), Point(0, 1, 0));
    data.addTriangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, -kInfinity, 0));
    data.addTriangle(Point(0, 0, 0), Point(3e38F, 0, 0), Point(0, -3e38F, 0));
    EXPECT_EQ(Clean(data, 1).notFinite, 3U);
}

TEST(CleanTriangles, DropsIndicesOutOfRange) {
    MeshData data = test_support::Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    data.addTriangle(0, 1, 3);
    data.addTriangle(0xFFFFFFFFU, 1, 2);
    data.addTriangle(0, 0x80000000U, 2);
    EXPECT_EQ(Clean(data, 1).badIndex, 3U);
}

TEST(CleanTriangles, TakesVerticesWithoutPositionsForNone) {
    const Buffers box = BuffersOf(test_support::Box({0, 0, 0}, {1, 1, 1}));
    EXPECT_EQ(CleanTriangles(kx::kxVertexBuffer(kx::kxAttributes(), 8), *box.triangles).badIndex,
              12U);
    EXPECT_EQ(box.triangles->GetIndexQuantity(), 0);
}

TEST(CleanTriangles, DropsAnIncompleteTriangleWithoutCountingIt) {
    MeshData data = test_support::Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    data.indices.insert(data.indices.end(), {0, 1});
    EXPECT_EQ(Clean(data, 1).total(), 0U);
}

} // namespace
