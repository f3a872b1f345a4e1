// Which normals tell where a surface is smooth.
#include <kxSceneGraph/kxOutlineMetadata.h>

#include "ShapeBuilders.h"
#include "drawing/scene/MeshBuilder.h"
#include "drawing/scene/Normals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using kxcontour::DropFlatNormals;
using kxcontour::Model;
using kxcontour::Shape;
using tool_test::MakeModel;
using tool_test::MakeShape;
using tool_test::MeshData;
using tool_test::Point;

constexpr double kPi = 3.14159265358979323846;

MeshData Cylinder(int sides) {
    std::vector<Wm4::Vector2<float>> outline;
    for (int i = 0; i < sides; ++i) {
        const double angle = 2.0 * kPi * i / sides;
        outline.emplace_back(static_cast<float>(10.0 * std::cos(angle)),
                             static_cast<float>(10.0 * std::sin(angle)));
    }
    return test_support::Prism(outline, 0.0F, 30.0F);
}

Point FaceNormal(const MeshData& data, std::size_t triangle) {
    const auto corner = [&](std::size_t k) {
        return data.positions[data.indices[3 * triangle + k]];
    };
    Point normal = (corner(1) - corner(0)).Cross(corner(2) - corner(0));
    normal.Normalize();
    return normal;
}

/// The normal of its triangle for every corner, each a vertex of its own.
std::vector<Point> FaceNormals(const MeshData& unwelded) {
    std::vector<Point> normals;
    for (std::size_t i = 0; i < unwelded.indices.size(); ++i) {
        normals.push_back(FaceNormal(unwelded, i / 3));
    }
    return normals;
}

Shape FlatShape(const MeshData& data) {
    const MeshData unwelded = test_support::Unwelded(data);
    return MakeShape(unwelded, FaceNormals(unwelded));
}

/// Every normal turned by an angle about an axis across it.
std::vector<Point> Turned(std::vector<Point> normals, double degrees) {
    const double angle = degrees * kPi / 180.0;
    for (Point& normal : normals) {
        const Point other = std::abs(normal[2]) < 0.9F ? Point(0, 0, 1) : Point(1, 0, 0);
        Point across = normal.Cross(other);
        across.Normalize();
        normal = static_cast<float>(std::cos(angle)) * normal +
                 static_cast<float>(std::sin(angle)) * across;
    }
    return normals;
}

bool KeepsNormals(const Model& model, std::size_t shape = 0) {
    return model.shapes[shape].vertices->GetAttributes().GetNormalChannels() == 3;
}

/// The lines of the outline of the only mesh; -1 where normals decide.
int LineCount(Model model) {
    const kxcontour::BuiltMeshes built = BuildMeshes(model, {});
    const kx::kxTriMesh& mesh = *built.meshes.at(0);
    if (mesh.GetMetadataQuantity() == 0) {
        return -1;
    }
    const auto* outline = static_cast<const kx::kxOutlineMetadata*>(mesh.GetMetadata(0));
    return outline->getIBuffer()->GetIndexQuantity() / 2;
}

Model FlatCylinder(double degreesOff) {
    const MeshData unwelded = test_support::Unwelded(Cylinder(64));
    return MakeModel({MakeShape(unwelded, Turned(FaceNormals(unwelded), degreesOff))});
}

TEST(DropFlatNormals, LeavesTheRimsOfAFlatShadedCylinderToTheAngle) {
    Model model = MakeModel({FlatShape(Cylinder(64))});
    ASSERT_EQ(LineCount(model), -1);
    DropFlatNormals(model);
    EXPECT_FALSE(KeepsNormals(model));
    EXPECT_EQ(model.shapes[0].vertices->GetVertexQuantity(),
              static_cast<int>(Cylinder(64).positions.size()))
        << "vertices in one place are one";
    EXPECT_EQ(LineCount(model), 2 * 64);
}

TEST(DropFlatNormals, LeavesTheEdgesOfABoxToTheAngle) {
    Model model = MakeModel({FlatShape(test_support::Box({0, 0, 0}, {1, 2, 3}))});
    DropFlatNormals(model);
    EXPECT_EQ(LineCount(model), 12);
}

TEST(DropFlatNormals, TakesNormalsThatPointInwardsForFlatToo) {
    const MeshData data = test_support::Unwelded(Cylinder(64));
    std::vector<Point> normals = FaceNormals(data);
    for (Point& normal : normals) {
        normal = -normal;
    }
    Model model = MakeModel({MakeShape(data, normals)});
    DropFlatNormals(model);
    EXPECT_FALSE(KeepsNormals(model));
}

TEST(DropFlatNormals, AllowsNormalsHalfADegreeOffAndNoMore) {
    Model near = FlatCylinder(0.45);
    Model off = FlatCylinder(0.55);
    DropFlatNormals(near);
    DropFlatNormals(off);
    EXPECT_FALSE(KeepsNormals(near));
    EXPECT_TRUE(KeepsNormals(off));
}

TEST(DropFlatNormals, TakesNormalsOfTwoDecimalsForFlat) {
    const MeshData data = test_support::Unwelded(test_support::Sphere({0, 0, 0}, 5.0F, 40, 20));
    std::vector<Point> normals = FaceNormals(data);
    for (Point& normal : normals) {
        for (int axis = 0; axis < 3; ++axis) {
            normal[axis] = std::round(100.0F * normal[axis]) / 100.0F;
        }
    }
    Model model = MakeModel({MakeShape(data, normals)});
    DropFlatNormals(model);
    EXPECT_FALSE(KeepsNormals(model));
    EXPECT_EQ(LineCount(model), 0);
}

TEST(DropFlatNormals, KeepsTheNormalsOfASmoothSphereHoweverFine) {
    for (const int slices : {24, 1024}) {
        const MeshData data = test_support::Sphere({0, 0, 0}, 1.0F, slices, slices / 2);
        Model model = MakeModel({MakeShape(data, data.positions)});
        DropFlatNormals(model);
        EXPECT_TRUE(KeepsNormals(model)) << slices;
        EXPECT_EQ(model.shapes[0].vertices->GetVertexQuantity(),
                  static_cast<int>(data.positions.size()));
    }
}

TEST(DropFlatNormals, KeepsAllNormalsWhereOneTriangleIsSmooth) {
    const MeshData data = test_support::Unwelded(Cylinder(64));
    std::vector<Point> normals = FaceNormals(data);
    normals[100] = Turned({normals[100]}, 3.0)[0];
    Model model = MakeModel({MakeShape(data, normals)});
    DropFlatNormals(model);
    EXPECT_TRUE(KeepsNormals(model));
}

TEST(DropFlatNormals, KeepsFlatPartsOfAnObjectWithSmoothOnes) {
    // A smooth part and its flat lid are one object; another object is flat all over.
    const MeshData ball = test_support::Sphere({0, 0, 0}, 1.0F, 24, 12);
    const MeshData box = test_support::Box({0, 0, 0}, {1, 1, 1});
    Model model = MakeModel({MakeShape(ball, ball.positions), FlatShape(box), FlatShape(box)});
    model.placements[1].object = 0;
    DropFlatNormals(model);
    EXPECT_TRUE(KeepsNormals(model, 0));
    EXPECT_TRUE(KeepsNormals(model, 1));
    EXPECT_FALSE(KeepsNormals(model, 2));
}

TEST(DropFlatNormals, AsksNothingOfNormalsWithoutDirection) {
    const MeshData data = test_support::Unwelded(Cylinder(64));
    std::vector<Point> normals = FaceNormals(data);
    normals[0] = {0, 0, 0};
    normals[7] = {NAN, 0, 1};
    Model model = MakeModel({MakeShape(data, normals)});
    DropFlatNormals(model);
    EXPECT_EQ(LineCount(model), 2 * 64);
}

TEST(DropFlatNormals, AsksNothingOfTrianglesTooThinToHaveAPlane) {
    const MeshData data = test_support::Unwelded(Cylinder(64));
    MeshData withSliver = data;
    std::vector<Point> normals = FaceNormals(data);
    const float next = std::nextafter(10.0F, 11.0F);
    withSliver.addTriangle(Point(10, 0, 0), Point(10, 0, 30), Point(next, 0, 15));
    normals.insert(normals.end(), 3, Point(1, 0, 0));
    Model model = MakeModel({MakeShape(withSliver, normals)});
    DropFlatNormals(model);
    EXPECT_FALSE(KeepsNormals(model));
}

} // namespace
