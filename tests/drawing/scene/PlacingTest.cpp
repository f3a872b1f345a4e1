// Boxes of shapes, and the origin that keeps coordinates small.
#include "drawing/scene/Placing.h"

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using kxcontour::BoxOf;
using kxcontour::ChooseOrigin;
using kxcontour::Model;
using tool_test::MakeModel;
using tool_test::MakeShape;
using tool_test::Matrix;

using Vector = Wm4::Vector3<double>;

Model CubeAt(double x, double y, double z) {
    Model model = MakeModel({MakeShape(test_support::Box({0, 0, 0}, {1, 1, 1}))});
    model.placements[0].world = tool_test::ScaleAndMove(1, 1, 1, x, y, z);
    return model;
}

TEST(BoxOf, HoldsTheCornersOfTrianglesOnly) {
    test_support::MeshData data = test_support::Triangle({1, 2, 3}, {4, 2, 3}, {1, 5, 2});
    data.addVertex({99, 99, 99});
    const kxcontour::Box box = BoxOf(MakeShape(data));
    EXPECT_EQ(box.min, Vector(1, 2, 2));
    EXPECT_EQ(box.max, Vector(4, 5, 3));
    EXPECT_TRUE(BoxOf(MakeShape({})).isEmpty());
}

TEST(ChooseOrigin, StaysWhereItIsForModelsNearby) {
    EXPECT_EQ(ChooseOrigin(CubeAt(0, 0, 0)), Vector(0, 0, 0));
    EXPECT_EQ(ChooseOrigin(CubeAt(7, -7, 7)), Vector(0, 0, 0));
    EXPECT_EQ(ChooseOrigin(Model()), Vector(0, 0, 0));
}

TEST(ChooseOrigin, GoesToModelsFarAway) {
    EXPECT_EQ(ChooseOrigin(CubeAt(3e6, 5e6, 0)), Vector(3000000.5, 5000000.5, 0.5));
}

TEST(ChooseOrigin, CoversAllPlacements) {
    Model model = CubeAt(1000, 0, 0);
    model.placements.push_back({0, 0, tool_test::ScaleAndMove(1, 1, 1, -1000, 0, 0)});
    EXPECT_EQ(ChooseOrigin(model), Vector(0, 0, 0)) << "large, but around the origin";
}

TEST(ChooseOrigin, DoesNotFollowPlacementsThatAreNotFinite) {
    Model model = CubeAt(3e6, 0, 0);
    model.placements.push_back({0, 0, tool_test::ScaleAndMove(1, 1, 1, INFINITY, 0, 0)});
    model.placements.push_back({0, 0, tool_test::ScaleAndMove(NAN, 1, 1, 0, 0, 0)});
    EXPECT_EQ(ChooseOrigin(model), Vector(3000000.5, 0.5, 0.5));
}

} // namespace
