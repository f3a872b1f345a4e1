// What is dropped of a whole model, and how that is told.
#include "drawing/scene/Cleaning.h"

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::CleanShapes;
using kxcontour::DescribeDropped;
using kxcontour::DroppedTriangles;
using kxcontour::Model;
using tool_test::MakeModel;
using tool_test::MakeShape;
using tool_test::MeshData;
using tool_test::Point;

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
