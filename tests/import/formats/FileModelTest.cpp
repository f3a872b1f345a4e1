// From what a file holds to shapes, places and names.
#include "import/formats/FileModel.h"

#include "ModelText.h"
#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using kxcontour::FileModel;
using kxcontour::FilePoint;
using kxcontour::kNoIndex;
using kxcontour::Model;

FileModel Triangle(const FilePoint& at) {
    FileModel file;
    file.format = "Wavefront Object Importer";
    file.positions = {{at[0], at[1], at[2]}, {at[0] + 1, at[1], at[2]}, {at[0], at[1] + 1, at[2]}};
    file.objects.push_back({"t", {0, 1, 2}, {}});
    return file;
}

Model Make(const FileModel& file) {
    return kxcontour::ModelFromFile(file, tool_test::FileRequest("a.obj"));
}

Wm4::Vector3<double> Placed(const Model& model, int vertex) {
    const Wm4::Vector3<float>& p = model.shapes.at(0).vertices->Position3(vertex);
    const Wm4::Vector4<double> q =
        Wm4::Vector4<double>(static_cast<double>(p[0]), static_cast<double>(p[1]),
                             static_cast<double>(p[2]), 1.0) *
        model.placements.at(0).world;
    return {q[0], q[1], q[2]};
}

TEST(ModelFromFile, LeavesWhatIsNearTheOriginWhereItIs) {
    const Model model = Make(Triangle({7, 0, 0}));
    EXPECT_EQ(model.shapes.at(0).vertices->Position3(0), tool_test::Point(7, 0, 0));
    EXPECT_TRUE(model.placements.at(0).world == tool_test::Matrix(false));
}

TEST(ModelFromFile, PutsAnOriginOfFewDigitsBackInDoubles) {
    const Model model = Make(Triangle({5000000.123, -3000000.456, 1000000.789}));
    EXPECT_LT(std::abs(model.shapes.at(0).vertices->Position3(0)[0]), 2.0F);
    const Wm4::Vector3<double> placed = Placed(model, 0);
    EXPECT_NEAR(placed[0], 5000000.123, 1e-6);
    EXPECT_NEAR(placed[1], -3000000.456, 1e-6);
    EXPECT_NEAR(placed[2], 1000000.789, 1e-6);
    for (int axis = 0; axis < 3; ++axis) {
        const double origin = model.placements[0].world[3][axis];
        EXPECT_EQ(origin, std::round(origin)) << "of whole units";
    }
}

TEST(ModelFromFile, TurnsTheOriginWithTheAxes) {
    FileModel file = Triangle({5000000.25, 0, 0});
    file.format = "Stereolithography (STL) Importer";
    file.positions[0] = {5000000.25, 1, 2};
    const Model model = Make(file);
    EXPECT_EQ(Placed(model, 0), Wm4::Vector3<double>(5000000.25, 2, -1));
}

TEST(ModelFromFile, AsksOnlyCornersOfTrianglesWhereTheModelIs) {
    // A point that no triangle uses, such as a survey's, does not make the model large.
    FileModel file = Triangle({5000000.5, 0, 0});
    file.positions.push_back({0, 0, 0});
    file.positions.push_back({NAN, 1e300, 0});
    file.objects.push_back({"bad", {0, 1, 4}, {}});
    EXPECT_LT(std::abs(Make(file).shapes.at(0).vertices->Position3(0)[0]), 2.0F);
}

TEST(ModelFromFile, HasNoObjectsWithoutTriangles) {
    FileModel file = Triangle({0, 0, 0});
    file.objects.insert(file.objects.begin(), {"empty", {}, {}});
    const Model model = Make(file);
    EXPECT_EQ(model.objects, std::vector<std::string>{"t"});
    EXPECT_EQ(model.placements.at(0).object, 0U);
}

TEST(ModelFromFile, SharesVerticesWithOneNormal) {
    FileModel file = Triangle({0, 0, 0});
    file.positions.push_back({1, 1, 0});
    file.normals = {{0, 0, 1}, {0, 1, 0}};
    file.objects[0].corners = {0, 1, 2, 2, 1, 3};
    file.objects[0].normals = {0, 0, 0, 0, 1, 0};
    const Model model = Make(file);
    EXPECT_EQ(model.shapes[0].vertices->GetVertexQuantity(), 5);
    EXPECT_EQ(model.shapes[0].triangles->GetData()[3], 2U);
    EXPECT_EQ(model.shapes[0].triangles->GetData()[4], 3U);
    EXPECT_EQ(model.shapes[0].vertices->Normal3(3), tool_test::Point(0, 1, 0));
}

TEST(ModelFromFile, GivesCornersWithoutNormalsVerticesOfTheirOwn) {
    FileModel file = Triangle({0, 0, 0});
    file.normals = {{0, 0, 1}};
    file.objects[0].corners = {0, 1, 2, 0, 2, 1, 0, 1, 2};
    file.objects[0].normals = {0, 0, 0, kNoIndex, kNoIndex, kNoIndex, kNoIndex, kNoIndex, 0};
    EXPECT_EQ(Make(file).shapes[0].vertices->GetVertexQuantity(), 3 + 3 + 2);
}

TEST(ModelFromFile, KeepsIndicesOfNoVertex) {
    FileModel file = Triangle({0, 0, 0});
    file.objects[0].corners = {0, 1, 3, 0, kNoIndex, 2};
    const Model model = Make(file);
    const auto count = static_cast<unsigned int>(model.shapes[0].vertices->GetVertexQuantity());
    EXPECT_GE(model.shapes[0].triangles->GetData()[2], count);
    EXPECT_GE(model.shapes[0].triangles->GetData()[4], count);
}

TEST(ModelFromFile, SaysWhatFloatsHaveLost) {
    FileModel file = Triangle({5000000.5, 0, 0});
    EXPECT_EQ(Make(file).coordinateStep, 0.0);
    file.fromFloats = true;
    EXPECT_EQ(Make(file).coordinateStep, 0.5);
}

} // namespace
