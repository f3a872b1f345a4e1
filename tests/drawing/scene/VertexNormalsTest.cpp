// Normals as files have them: long, short, missing.
#include "ShapeBuilders.h"
#include "drawing/scene/Normals.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using kxcontour::RepairNormals;
using kxcontour::Shape;
using tool_test::MakeShape;
using tool_test::MeshData;
using tool_test::Point;

MeshData FlatTriangle() {
    return test_support::Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
}

TEST(RepairNormals, LeavesUnitNormalsBitForBit) {
    const Point slanted(0.6F, 0.0F, 0.8F);
    Shape shape = MakeShape(FlatTriangle(), {slanted, slanted, slanted});
    EXPECT_TRUE(RepairNormals(*shape.vertices, *shape.triangles));
    EXPECT_EQ(shape.vertices->Normal3(0), slanted);
}

TEST(RepairNormals, ScalesToUnitLengthWhateverTheLength) {
    Shape shape = MakeShape(FlatTriangle(), {{0, 0, 127}, {0, 1e-30F, 0}, {3e38F, 0, 3e38F}});
    EXPECT_TRUE(RepairNormals(*shape.vertices, *shape.triangles));
    EXPECT_EQ(shape.vertices->Normal3(0), Point(0, 0, 1));
    EXPECT_EQ(shape.vertices->Normal3(1), Point(0, 1, 0));
    EXPECT_FLOAT_EQ(shape.vertices->Normal3(2)[0], std::sqrt(0.5F));
}

TEST(RepairNormals, PutsTheNormalsOfFacesWhereThereIsNone) {
    Shape shape = MakeShape(FlatTriangle(), {{0, 0, 0}, {NAN, 0, 1}, {0, 1, 0}});
    EXPECT_TRUE(RepairNormals(*shape.vertices, *shape.triangles));
    EXPECT_EQ(shape.vertices->Normal3(0), Point(0, 0, 1));
    EXPECT_EQ(shape.vertices->Normal3(1), Point(0, 0, 1));
    EXPECT_EQ(shape.vertices->Normal3(2), Point(0, 1, 0)) << "the file's own stays";
}

TEST(RepairNormals, TakesTheMeanOfTheFacesAtAVertex) {
    MeshData roof = FlatTriangle();
    roof.addVertex({0, 0, 1});
    roof.addTriangle(0, 2, 3);
    Shape shape = MakeShape(roof, {{0, 0, 0}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}});
    EXPECT_TRUE(RepairNormals(*shape.vertices, *shape.triangles));
    EXPECT_FLOAT_EQ(shape.vertices->Normal3(0)[0], std::sqrt(0.5F));
    EXPECT_FLOAT_EQ(shape.vertices->Normal3(0)[2], std::sqrt(0.5F));
}

TEST(RepairNormals, SaysWhenThereIsNoNormalAtAll) {
    MeshData data = FlatTriangle();
    data.addVertex({5, 5, 5});
    // The only good normal is at a vertex that no triangle uses.
    Shape shape = MakeShape(data, {{0, 0, 0}, {NAN, 0, 0}, {INFINITY, 0, 0}, {0, 0, 1}});
    EXPECT_FALSE(RepairNormals(*shape.vertices, *shape.triangles));
}

} // namespace
