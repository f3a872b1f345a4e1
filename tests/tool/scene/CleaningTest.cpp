// Which triangles are dropped, and how they are counted.
#include "scene/Cleaning.h"

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using kxcontour::CleanShapes;
using kxcontour::DescribeDropped;
using kxcontour::DroppedTriangles;
using kxcontour::Model;
using tool_test::MakeModel;
using tool_test::MakeShape;
using tool_test::MeshData;
using tool_test::Point;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

DroppedTriangles Clean(const MeshData& data, int expectedToStay) {
    Model model = MakeModel({MakeShape(data)});
    const DroppedTriangles dropped = CleanShapes(model);
    EXPECT_EQ(model.shapes[0].triangles->GetIndexQuantity(), 3 * expectedToStay);
    return dropped;
}

TEST(CleanShapes, KeepsGoodTrianglesInTheirOrder) {
    const MeshData data = test_support::Box({0, 0, 0}, {1, 1, 1});
    Model model = MakeModel({MakeShape(data)});
    EXPECT_EQ(CleanShapes(model).total(), 0U);
    const unsigned int* indices = model.shapes[0].triangles->GetData();
    EXPECT_EQ(std::vector<unsigned int>(indices, indices + 36), data.indices);
}

TEST(CleanShapes, DropsEqualCornersByNumberOrPlace) {
    MeshData data;
    data.addTriangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0));
    data.addTriangle(0, 1, 1);
    data.addTriangle(Point(0, 0, 0), Point(1, 0, 0), Point(1, 0, 0));
    data.addTriangle(Point(0.0F, 1, 0), Point(-0.0F, 1, 0), Point(1, 0, 0));
    EXPECT_EQ(Clean(data, 1).degenerate, 3U);
}

TEST(CleanShapes, DropsCornersOnALineAndNothingNearIt) {
    MeshData data;
    data.addTriangle(Point(0, 0, 0), Point(1, 2, 3), Point(2, 4, 6));
    data.addTriangle(Point(0.1F, 0, 0), Point(0.2F, 0, 0), Point(0.3F, 0, 0));
    // The least that a float can lift a corner off its line.
    data.addTriangle(Point(0, 1, 0), Point(1, std::nextafter(1.0F, 2.0F), 0), Point(2, 1, 0));
    data.addTriangle(Point(0, 0, 0), Point(1e-30F, 0, 0), Point(0, 1e-30F, 0));
    data.addTriangle(Point(0, 0, 0), Point(1e-44F, 0, 0), Point(0, 1e-44F, 0));
    EXPECT_EQ(Clean(data, 3).degenerate, 2U);
}

TEST(CleanShapes, DropsWhatIsNotFinite) {
    MeshData data;
    data.addTriangle(Point(0, 0, NAN), Point(1, 0, 0), Point(0, 1, 0));
    data.addTriangle(Point(0, 0, 0), Point(kInfinity, 0, 0), Point(0, 1, 0));
    data.addTriangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, -kInfinity, 0));
    data.addTriangle(Point(0, 0, 0), Point(3e38F, 0, 0), Point(0, -3e38F, 0));
    EXPECT_EQ(Clean(data, 1).notFinite, 3U);
}

TEST(CleanShapes, DropsIndicesOutOfRange) {
    MeshData data = test_support::Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    data.addTriangle(0, 1, 3);
    data.addTriangle(0xFFFFFFFFU, 1, 2);
    data.addTriangle(0, 0x80000000U, 2);
    EXPECT_EQ(Clean(data, 1).badIndex, 3U);
}

TEST(CleanShapes, CountsOverAllShapes) {
    MeshData bad;
    bad.addTriangle(Point(0, 0, 0), Point(0, 0, 0), Point(0, 1, 0));
    Model model = MakeModel({MakeShape(bad), MakeShape(bad)});
    EXPECT_EQ(CleanShapes(model).total(), 2U);
}

TEST(DescribeDropped, CountsEachKindThatThereIs) {
    EXPECT_EQ(DescribeDropped(DroppedTriangles{0, 0, 1}), "left out 1 triangle: 1 degenerate");
    EXPECT_EQ(DescribeDropped(DroppedTriangles{1, 2, 3}),
              "left out 6 triangles: 3 degenerate, 2 not finite, 1 with an index out of range");
}

TEST(DroppedTriangles, AddUp) {
    DroppedTriangles sum{1, 2, 3};
    kxcontour::Add(sum, {10, 20, 30});
    EXPECT_EQ(sum.badIndex, 11U);
    EXPECT_EQ(sum.notFinite, 22U);
    EXPECT_EQ(sum.degenerate, 33U);
    EXPECT_EQ(sum.total(), 66U);
}

} // namespace
