// Which shapes become one, and which placements share it.
#include "drawing/scene/ObjectShapes.h"

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::JoinShapesOfObjects;
using kxcontour::Model;
using kxcontour::Shape;
using test_support::Triangle;
using tool_test::MakeModel;
using tool_test::MakeShape;
using tool_test::Matrix;
using tool_test::Point;

Shape Tooth(float x) {
    return MakeShape(Triangle(Point(x, 0, 0), Point(x + 1, 0, 0), Point(x, 1, 0)));
}

Shape ToothWithNormals(float x) {
    return MakeShape(Triangle(Point(x, 0, 0), Point(x + 1, 0, 0), Point(x, 1, 0)),
                     {Point(0, 0, 1), Point(0, 0, 1), Point(0, 1, x)});
}

int TriangleCount(const Model& model, std::size_t placement) {
    return model.shapes.at(model.placements.at(placement).shape).triangles->GetIndexQuantity() / 3;
}

TEST(JoinShapesOfObjects, MakesOneShapeOfTheShapesOfAnObject) {
    Model model = MakeModel({Tooth(0), Tooth(1), Tooth(2)});
    model.placements[1].object = 0;
    const Shape last = model.shapes[2];
    JoinShapesOfObjects(model);
    ASSERT_EQ(model.placements.size(), 2U);
    EXPECT_EQ(TriangleCount(model, 0), 2);
    EXPECT_EQ(model.placements[0].object, 0U);
    EXPECT_EQ(model.placements[1].object, 2U);
    const Shape& joined = model.shapes[model.placements[0].shape];
    const std::vector<unsigned int> indices(joined.triangles->GetData(),
                                            joined.triangles->GetData() + 6);
    EXPECT_EQ(indices, (std::vector<unsigned int>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(joined.vertices->Position3(4), Point(2, 0, 0));
    EXPECT_EQ(model.shapes[model.placements[1].shape].vertices, last.vertices) << "not copied";
    EXPECT_EQ(model.objects.size(), 3U);
}

TEST(JoinShapesOfObjects, KeepsShapesWithNormalsFromThoseWithout) {
    Model model = MakeModel({Tooth(0), ToothWithNormals(1), Tooth(2), ToothWithNormals(3)});
    for (kxcontour::Placement& placement : model.placements) {
        placement.object = 0;
    }
    JoinShapesOfObjects(model);
    ASSERT_EQ(model.placements.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(TriangleCount(model, i), 2);
        const Shape& shape = model.shapes[model.placements[i].shape];
        const bool normals = shape.vertices->GetAttributes().GetNormalChannels() == 3;
        EXPECT_EQ(shape.vertices->Position3(3), Point(normals ? 3.0F : 2.0F, 0, 0));
        if (normals) {
            EXPECT_EQ(shape.vertices->Normal3(5), Point(0, 1, 3));
        }
    }
}

TEST(JoinShapesOfObjects, SharesTheResultAmongObjectsOfTheSameShapes) {
    Model model = MakeModel({Tooth(0), Tooth(1)});
    model.placements.clear();
    for (std::size_t object = 0; object < 1000; ++object) {
        const Matrix world = tool_test::ScaleAndMove(1, 1, 1, static_cast<double>(object), 0, 0);
        model.placements.push_back({0, object, world});
        model.placements.push_back({1, object, world});
    }
    model.objects.assign(1000, "tooth");
    JoinShapesOfObjects(model);
    EXPECT_EQ(model.shapes.size(), 1U);
    ASSERT_EQ(model.placements.size(), 1000U);
    EXPECT_EQ(model.placements[7].object, 7U);
    EXPECT_EQ(model.placements[7].world[3][0], 7.0);
}

TEST(JoinShapesOfObjects, KeepsPlacementsApartThatLieElsewhere) {
    Model model = MakeModel({Tooth(0), Tooth(1)});
    model.placements[1].object = 0;
    model.placements[1].world = tool_test::ScaleAndMove(1, 1, 1, 5, 0, 0);
    JoinShapesOfObjects(model);
    EXPECT_EQ(model.shapes.size(), 2U);
    EXPECT_EQ(model.placements.size(), 2U);
}

} // namespace
