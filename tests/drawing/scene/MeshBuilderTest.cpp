// From a model to meshes: places, shared buffers, outlines and normals.
#include "drawing/scene/MeshBuilder.h"

#include <kxSceneGraph/kxOutlineMetadata.h>

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using kxcontour::BuildMeshes;
using kxcontour::BuiltMeshes;
using kxcontour::MeshRules;
using kxcontour::Model;
using tool_test::MakeModel;
using tool_test::MakeShape;
using tool_test::MeshData;
using tool_test::Point;
using tool_test::ScaleAndMove;

MeshData Cube() {
    return test_support::Box({0, 0, 0}, {1, 1, 1});
}

std::vector<Point> NormalsUp(const MeshData& data) {
    return std::vector<Point>(data.positions.size(), Point(0, 0, 1));
}

/// The outline of a mesh; null when it has none.
const kx::kxOutlineMetadata* OutlineOf(const kx::kxTriMesh& mesh) {
    for (int i = 0; i < mesh.GetMetadataQuantity(); ++i) {
        const kx::kxMetadata* metadata = mesh.GetMetadata(i);
        if (metadata->GetMetadataTypeId() == kx::kxOutlineMetadata::MetadataTypeId) {
            return static_cast<const kx::kxOutlineMetadata*>(metadata);
        }
    }
    return nullptr;
}

int LineCount(const kx::kxTriMesh& mesh) {
    const kx::kxOutlineMetadata* outline = OutlineOf(mesh);
    return outline == nullptr ? -1 : outline->getIBuffer()->GetIndexQuantity() / 2;
}

BuiltMeshes Build(Model model, const kxcontour::MeshRules& rules) {
    return BuildMeshes(model, rules);
}

TEST(BuildMeshes, MakesOneMeshForEachPlacementInOrder) {
    Model model = MakeModel({MakeShape(Cube()), MakeShape(Cube())});
    model.placements.push_back({0, 0, ScaleAndMove(2, 3, 4, 5, 6, 7)});
    const BuiltMeshes built = Build(model, {});
    ASSERT_EQ(built.meshes.size(), 3U);
    EXPECT_EQ(built.meshes[0]->GetVertexBuffer(), model.shapes[0].vertices.get());
    EXPECT_EQ(built.meshes[1]->GetVertexBuffer(), model.shapes[1].vertices.get());
    EXPECT_EQ(built.meshes[2]->GetVertexBuffer(), model.shapes[0].vertices.get());
    EXPECT_EQ(built.meshes[2]->GetIndexBuffer(), built.meshes[0]->GetIndexBuffer()) << "shared";
    EXPECT_EQ(built.dropped.total(), 0U);
}

TEST(BuildMeshes, TellsTheObjectOfEveryMesh) {
    Model model = MakeModel({MakeShape(Cube()), MakeShape({}), MakeShape(Cube())});
    model.placements.push_back({0, 1, ScaleAndMove(1, 1, 1, 9, 0, 0)});
    const BuiltMeshes built = Build(model, {});
    ASSERT_EQ(built.meshes.size(), 3U);
    EXPECT_EQ(built.objects, (std::vector<std::size_t>{0, 2, 1})) << "no mesh of the empty shape";
}

TEST(BuildMeshes, ScalesAboutTheModelsOwnOriginBeforeItIsMoved) {
    Model model = MakeModel({MakeShape(Cube())});
    model.placements[0].world = ScaleAndMove(1, 1, 1, 1000000.0, 2, 3);
    MeshRules rules;
    rules.scale = 25.4;
    rules.origin = {25400000.0, 0.0, 0.0};
    const kx::kxPointer<kx::kxTriMesh> mesh = Build(model, rules).meshes.at(0);
    EXPECT_EQ(mesh->GetWorldTransformation().ApplyForward({0, 0, 0}, true), Point(0, 50.8F, 76.2F));
    EXPECT_EQ(mesh->GetWorldTransformation().ApplyForward({1, 0, 0}, true),
              Point(25.4F, 50.8F, 76.2F));
}

TEST(BuildMeshes, KeepsPlacesOnTheMeshesNotInTheVertices) {
    Model model = MakeModel({MakeShape(Cube())});
    model.placements[0].world = ScaleAndMove(2, 3, 4, 5, 6, 7);
    const BuiltMeshes built = Build(model, {});
    const kx::kxTriMesh& mesh = *built.meshes[0];
    EXPECT_EQ(mesh.GetVertexBuffer()->Position3(0), Cube().positions[0]);
    EXPECT_EQ(mesh.GetWorldTransformation().ApplyForward({1, 1, 1}, true), Point(7, 9, 11));
    EXPECT_TRUE(mesh.GetLocalTransformation() == mesh.GetWorldTransformation());
}

TEST(BuildMeshes, LeavesTheIdentityTheIdentity) {
    const BuiltMeshes built = Build(MakeModel({MakeShape(Cube())}), {});
    EXPECT_TRUE(built.meshes[0]->GetWorldTransformation().IsIdentity());
}

TEST(BuildMeshes, MovesTheOriginBeforeRounding) {
    Model model = MakeModel({MakeShape(Cube())});
    // In single precision, neither number could keep its quarter.
    model.placements[0].world = ScaleAndMove(1, 1, 1, 30000000.25, -50000000.25, 0);
    MeshRules rules;
    rules.origin = {30000000.0, -50000000.0, 0.0};
    const BuiltMeshes built = Build(model, rules);
    EXPECT_EQ(built.meshes[0]->GetWorldTransformation().ApplyForward({0, 0, 0}, true),
              Point(0.25F, -0.25F, 0));
}

TEST(BuildMeshes, GivesMeshesWithoutNormalsAnOutline) {
    const BuiltMeshes built = Build(MakeModel({MakeShape(Cube())}), {});
    EXPECT_EQ(LineCount(*built.meshes[0]), 12);
}

TEST(BuildMeshes, GivesASmoothPartAnEmptyOutlineNotNone) {
    const MeshData sphere = test_support::Sphere({0, 0, 0}, 1.0F, 48, 24);
    const BuiltMeshes built = Build(MakeModel({MakeShape(sphere)}), {});
    EXPECT_EQ(LineCount(*built.meshes[0]), 0);
}

TEST(BuildMeshes, LetsNormalsDecideWhereThereAreSome) {
    const Model model = MakeModel({MakeShape(Cube(), NormalsUp(Cube()))});
    EXPECT_EQ(OutlineOf(*Build(model, {}).meshes[0]), nullptr);
}

TEST(BuildMeshes, LetsAGivenAngleDecideInAnyCase) {
    const Model model = MakeModel({MakeShape(Cube(), NormalsUp(Cube())), MakeShape(Cube())});
    MeshRules rules;
    rules.creaseAngle = 89.0;
    const BuiltMeshes sharp = Build(model, rules);
    EXPECT_EQ(LineCount(*sharp.meshes[0]), 12);
    EXPECT_EQ(LineCount(*sharp.meshes[1]), 12);
    rules.creaseAngle = 91.0;
    EXPECT_EQ(LineCount(*Build(model, rules).meshes[0]), 0);
}

TEST(BuildMeshes, TakesNormalsWithoutAnyDirectionForNone) {
    const std::vector<Point> zeros(Cube().positions.size(), Point(0, 0, 0));
    const BuiltMeshes built = Build(MakeModel({MakeShape(Cube(), zeros)}), {});
    EXPECT_EQ(LineCount(*built.meshes[0]), 12);
}

TEST(BuildMeshes, BringsNormalsToUnitLength) {
    std::vector<Point> normals(Cube().positions.size(), Point(0, 0, 5));
    const BuiltMeshes built = Build(MakeModel({MakeShape(Cube(), normals)}), {});
    EXPECT_EQ(built.meshes[0]->GetVertexBuffer()->Normal3(3), Point(0, 0, 1));
}

TEST(BuildMeshes, GivesOccludersNoOutline) {
    MeshRules rules;
    rules.drawn = false;
    rules.creaseAngle = 10.0;
    const BuiltMeshes built = Build(MakeModel({MakeShape(Cube())}), rules);
    EXPECT_EQ(built.meshes[0]->GetMetadataQuantity(), 0);
}

TEST(BuildMeshes, SharesTheOutlineAmongPlacementsThatKeepAngles) {
    Model model = MakeModel({MakeShape(Cube())});
    // Turned by a quarter and doubled; then pressed flat.
    model.placements.push_back(
        {0, 0, tool_test::Matrix(0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 9, 9, 9, 1)});
    model.placements.push_back({0, 0, ScaleAndMove(1, 1, 0.01, 0, 0, 0)});
    const BuiltMeshes built = Build(model, {});
    EXPECT_EQ(OutlineOf(*built.meshes[0]), OutlineOf(*built.meshes[1]));
    EXPECT_NE(OutlineOf(*built.meshes[0]), OutlineOf(*built.meshes[2]));
}

TEST(BuildMeshes, MeasuresBendsAsPlaced) {
    // A roof of 90 degrees that one placement presses down to 11.
    MeshData roof = test_support::Quad({0, 0, 0}, {1, 0, 1}, {1, 1, 1}, {0, 1, 0});
    roof.append(test_support::Quad({1, 0, 1}, {2, 0, 0}, {2, 1, 0}, {1, 1, 1}));
    Model model = MakeModel({MakeShape(roof)});
    model.placements.push_back({0, 0, ScaleAndMove(1, 1, 0.1, 0, 0, 0)});
    const BuiltMeshes built = Build(model, {});
    EXPECT_EQ(LineCount(*built.meshes[0]), 7) << "ridge and border";
    EXPECT_EQ(LineCount(*built.meshes[1]), 6) << "border";
}

TEST(BuildMeshes, DropsTrianglesThatOverflowWhereTheyArePlaced) {
    MeshData data = test_support::Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    data.addTriangle(Point(0, 0, 0), Point(1e20F, 0, 0), Point(0, 1e20F, 0));
    Model model = MakeModel({MakeShape(data)});
    model.placements.push_back({0, 0, ScaleAndMove(1e20, 1, 1, 0, 0, 0)});
    const BuiltMeshes built = Build(model, {});
    ASSERT_EQ(built.meshes.size(), 2U);
    EXPECT_EQ(built.meshes[0]->GetTriangleQuantity(), 2);
    EXPECT_EQ(built.meshes[1]->GetTriangleQuantity(), 1);
    EXPECT_EQ(LineCount(*built.meshes[1]), 3);
    EXPECT_EQ(built.dropped.notFinite, 1U);
}

TEST(BuildMeshes, MakesNoMeshOfAPlacementThatIsNotFinite) {
    for (const double bad : {static_cast<double>(NAN), static_cast<double>(INFINITY), 1e39}) {
        Model model = MakeModel({MakeShape(Cube())});
        model.placements[0].world = ScaleAndMove(1, 1, 1, bad, 0, 0);
        const BuiltMeshes built = Build(model, {});
        EXPECT_TRUE(built.meshes.empty());
        EXPECT_EQ(built.dropped.notFinite, 12U);
    }
}

TEST(BuildMeshes, MakesNoMeshOfAShapeWithoutTriangles) {
    EXPECT_TRUE(Build(MakeModel({MakeShape({})}), {}).meshes.empty());
    EXPECT_TRUE(Build(Model(), {}).meshes.empty());
}

} // namespace
