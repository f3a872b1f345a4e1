// What comes out of model files: shapes, places, and whether their normals count.
#include "import/ModelReader.h"

#include "ModelText.h"
#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using kxcontour::Model;
using tool_test::FailureOf;
using tool_test::Holds;
using tool_test::MeshData;
using tool_test::TemporaryFolder;

Model ReadModel(const std::string& path) {
    return kxcontour::ReadModel(tool_test::FileRequest(path));
}

MeshData Cube() {
    return test_support::Box({0, 0, 0}, {1, 2, 3});
}

bool HasNormals(const kxcontour::Shape& shape) {
    return shape.vertices->GetAttributes().GetNormalChannels() == 3;
}

int TriangleCount(const Model& model) {
    int count = 0;
    for (const kxcontour::Placement& placement : model.placements) {
        count += model.shapes[placement.shape].triangles->GetIndexQuantity() / 3;
    }
    return count;
}

/// Where the placement takes a point of its shape.
Wm4::Vector3<double> Placed(const kxcontour::Placement& placement, const Wm4::Vector3<double>& p) {
    const Wm4::Vector4<double> q = Wm4::Vector4<double>(p[0], p[1], p[2], 1.0) * placement.world;
    return {q[0], q[1], q[2]};
}

TEST(ReadModel, ReadsSimpleFormatsWithoutNormals) {
    const TemporaryFolder folder;
    for (const std::string& path : {folder.write("a.obj", tool_test::ObjText(Cube())),
                                    folder.write("a.ply", tool_test::PlyText(Cube())),
                                    folder.write("b.ply", tool_test::PlyBytes(Cube(), false)),
                                    folder.write("a.off", tool_test::OffText(Cube()))}) {
        const Model model = ReadModel(path);
        ASSERT_EQ(model.placements.size(), 1U) << path;
        EXPECT_EQ(TriangleCount(model), 12) << path;
        EXPECT_FALSE(HasNormals(model.shapes[0])) << path;
        EXPECT_EQ(Placed(model.placements[0], {1, 2, 3}), Wm4::Vector3<double>(1, 2, 3)) << path;
    }
}

TEST(ReadModel, TakesFacetNormalsOfStlForNone) {
    const TemporaryFolder folder;
    for (const std::string& path : {folder.write("a.stl", tool_test::StlText(Cube())),
                                    folder.write("b.stl", tool_test::StlBytes(Cube()))}) {
        const Model model = ReadModel(path);
        EXPECT_EQ(TriangleCount(model), 12);
        EXPECT_FALSE(HasNormals(model.shapes[0]));
    }
}

TEST(ReadModel, StandsFormatsWithZUpOnTheirFeet) {
    const TemporaryFolder folder;
    const Model model = ReadModel(folder.write("a.stl", tool_test::StlBytes(Cube())));
    EXPECT_EQ(Placed(model.placements[0], {1, 2, 3}), Wm4::Vector3<double>(1, 3, -2));
}

TEST(ReadModel, FollowsTheUpAxisThatAFileStates) {
    const Model zUp = ReadModel(ASSIMP_MODELS "/FBX/embedded_ascii/box.FBX");
    EXPECT_EQ(
        Placed(zUp.placements.at(0), {0, 0, 1})[1] - Placed(zUp.placements.at(0), {0, 0, 0})[1],
        Placed(zUp.placements.at(0), {1, 0, 0})[0] - Placed(zUp.placements.at(0), {0, 0, 0})[0]);
    const Model yUp = ReadModel(ASSIMP_MODELS "/FBX/box.fbx");
    EXPECT_NE(Placed(yUp.placements.at(0), {0, 1, 0})[1],
              Placed(yUp.placements.at(0), {0, 0, 0})[1]);
}

TEST(ReadModel, KeepsTheNormalsOfFiles) {
    const TemporaryFolder folder;
    const Model model =
        ReadModel(folder.write("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3//1\n"));
    ASSERT_TRUE(HasNormals(model.shapes.at(0)));
    EXPECT_EQ(model.shapes[0].vertices->Normal3(0), tool_test::Point(0, 0, 1));
}

TEST(ReadModel, TakesAveragedNormalsOfBlenderForNone) {
    const Model model = ReadModel(ASSIMP_MODELS "/BLEND/BlenderDefault_276.blend");
    EXPECT_FALSE(HasNormals(model.shapes.at(0)));
}

TEST(ReadModel, CutsPolygonsIntoTrianglesAndLeavesOutTheRest) {
    const TemporaryFolder folder;
    const Model model = ReadModel(folder.write(
        "a.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\nl 1 3\nl 2 4\np 1\nf 1 2 3\n"));
    EXPECT_EQ(TriangleCount(model), 3);
}

TEST(ReadModel, KeepsObjectsApart) {
    const TemporaryFolder folder;
    const Model model = ReadModel(
        folder.write("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\no first\nf 1 2 3\no second\nf 1 3 2\n"));
    EXPECT_EQ(model.placements.size(), 2U);
}

TEST(ReadModel, CountsWhatItCutsAndLeavesOut) {
    const TemporaryFolder folder;
    const Model model = ReadModel(folder.write(
        "a.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\nl 1 3\np 1\nf 1 2 3\n"));
    EXPECT_EQ(model.cutPolygons, 1U);
    EXPECT_EQ(model.leftOutPolygons, 2U);
}

TEST(ReadModel, SharesShapesAmongTheirPlacements) {
    const Model engine =
        ReadModel(ASSIMP_MODELS "/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb");
    EXPECT_EQ(engine.shapes.size(), 34U);
    EXPECT_EQ(engine.placements.size(), 115U);
    std::set<std::size_t> used;
    for (const kxcontour::Placement& placement : engine.placements) {
        used.insert(placement.shape);
    }
    EXPECT_EQ(used.size(), engine.shapes.size());
}

TEST(ReadModel, MultipliesTransformationsFromTheLeafUp) {
    // A child moved by (1, 0, 0) below a parent that doubles and moves by (0, 5, 0).
    const TemporaryFolder folder;
    const Model model = ReadModel(folder.write(
        "a.dae",
        tool_test::DaeText(Cube(), "<node id=\"a\"><translate>0 5 0</translate><scale>2 2 2</scale>"
                                   "<node id=\"b\"><translate>1 0 0</translate>"
                                   "<instance_geometry url=\"#m\"/></node></node>")));
    ASSERT_EQ(model.placements.size(), 1U);
    EXPECT_EQ(Placed(model.placements[0], {0, 0, 0}), Wm4::Vector3<double>(2, 5, 0));
    EXPECT_EQ(Placed(model.placements[0], {1, 1, 1}), Wm4::Vector3<double>(4, 7, 2));
}

TEST(ReadModel, GivesAnEmptyModelWhereThereAreNoTriangles) {
    for (const char* name : {"/PLY/points.ply", "/OBJ/testline.obj", "/BVH/01_01.bvh"}) {
        EXPECT_TRUE(ReadModel(std::string(ASSIMP_MODELS) + name).placements.empty()) << name;
    }
}

TEST(ReadModel, RefusesWhatIsNoModel) {
    const TemporaryFolder folder;
    const auto refusal = [](const std::string& path) {
        return FailureOf<kxdrawing::CannotRead>([&] { ReadModel(path); });
    };
    EXPECT_TRUE(Holds(refusal(folder.write("a.txt", "Dear reader\n")), "a.txt: cannot read"));
    EXPECT_TRUE(Holds(refusal(folder.write("a.glb", "glTF")), "a.glb: cannot read"));
    EXPECT_TRUE(Holds(refusal(folder.path("none.obj")), "none.obj: No such file"));
    EXPECT_FALSE(Holds(refusal(folder.write("b.fbx", "\n\n\x01\n")), "\n")) << "one line";
}

} // namespace
