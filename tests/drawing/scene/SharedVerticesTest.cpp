// Vertices without normals in one place become one, and nothing of a drawing changes by that.
#include "ModelText.h"
#include "ShapeBuilders.h"
#include "drawing/scene/Cleaning.h"
#include "drawing/scene/MeshBuilder.h"
#include "import/ModelReader.h"
#include "import/importer/SceneConversion.h"
#include "options/Parsing.h"
#include "support/Random.h"
#include "tool/jobs/DrawingJob.h"

#include <assimp/scene.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using kxcontour::Model;
using test_support::Random;
using tool_test::FileRequest;
using tool_test::MeshData;
using tool_test::Point;
using tool_test::TemporaryFolder;

struct Drawn {
    std::string bytes;
    kxcontour::DroppedTriangles dropped;
};

/// The drawing of a model from above one corner, as the tool makes it.
Drawn Draw(Model model) {
    const TemporaryFolder folder;
    Drawn drawn;
    kxcontour::Scene scene;
    drawn.dropped = CleanShapes(model);
    const kxcontour::BuiltMeshes built = BuildMeshes(model, {});
    scene.meshes = built.meshes;
    scene.objectOf = built.objects;
    scene.objects = model.objects;
    const std::string path = folder.path("o.svg");
    const auto command =
        tool_test::ParseAs<kxcontour::DrawCommand>({"m.obj", "-o", path, "--view", "iso"});
    kxcontour::DrawingObserver observer;
    DrawToFile(scene, command.options, observer);
    drawn.bytes = tool_test::ReadBytes(path);
    return drawn;
}

int VertexCount(const Model& model) {
    return model.shapes.at(0).vertices->GetVertexQuantity();
}

/// Bodies that hide and cut each other, with smooth parts and creases, about the origin.
MeshData Bodies() {
    MeshData data = test_support::Sphere({0, 0, 0}, 4.0F, 12, 8);
    data.append(test_support::Box({-3, -3, -1}, {5, 0, 6}));
    data.append(test_support::Box({0, 0, 0}, {2, 2, 2}));
    return data;
}

/// Each corner with a vertex of its own, and zeros of any sign.
MeshData Scattered(const MeshData& data) {
    Random random(7);
    MeshData scattered = test_support::Unwelded(data);
    for (Point& p : scattered.positions) {
        for (int axis = 0; axis < 3; ++axis) {
            p[axis] = p[axis] == 0.0F && random.percent(50) ? -0.0F : p[axis];
        }
    }
    return scattered;
}

/// One mesh as an importer hands it over.
std::unique_ptr<aiScene> ImportedScene(const MeshData& data,
                                       const std::vector<Point>& normals = {}) {
    const auto copied = [](const std::vector<Point>& from) {
        auto* to = new aiVector3D[from.size()];
        std::transform(from.begin(), from.end(), to,
                       [](const Point& p) { return aiVector3D(p[0], p[1], p[2]); });
        return to;
    };
    auto* mesh = new aiMesh;
    mesh->mNumVertices = static_cast<unsigned int>(data.positions.size());
    mesh->mVertices = copied(data.positions);
    mesh->mNormals = normals.empty() ? nullptr : copied(normals);
    mesh->mNumFaces = static_cast<unsigned int>(data.triangleCount());
    mesh->mFaces = new aiFace[mesh->mNumFaces];
    for (std::size_t i = 0; i < mesh->mNumFaces; ++i) {
        mesh->mFaces[i].mNumIndices = 3;
        mesh->mFaces[i].mIndices = new unsigned int[3];
        std::copy_n(data.indices.data() + 3 * i, 3, mesh->mFaces[i].mIndices);
    }
    auto scene = std::make_unique<aiScene>();
    scene->mNumMeshes = 1;
    scene->mMeshes = new aiMesh* [1] { mesh };
    scene->mRootNode = new aiNode("part");
    scene->mRootNode->mNumMeshes = 1;
    scene->mRootNode->mMeshes = new unsigned int[1]{0};
    return scene;
}

Model ModelOf(const MeshData& data, const std::vector<Point>& normals = {}) {
    const std::unique_ptr<aiScene> scene = ImportedScene(data, normals);
    return ModelFromScene(*scene, FileRequest("part"), "");
}

TEST(SharedVertices, DrawTheSameBytesAsAWeldedMesh) {
    const Model welded = ModelOf(Bodies());
    ASSERT_EQ(VertexCount(welded), static_cast<int>(Bodies().positions.size()));
    const Model scattered = ModelOf(Scattered(Bodies()));
    EXPECT_EQ(VertexCount(scattered), VertexCount(welded));
    const std::string drawing = Draw(welded).bytes;
    EXPECT_GT(std::count(drawing.begin(), drawing.end(), 'L'), 20);
    EXPECT_EQ(Draw(scattered).bytes, drawing);
}

TEST(SharedVertices, DrawTheSameBytesFromFiles) {
    const TemporaryFolder folder;
    const auto read = [&](const std::string& name, const std::string& text) {
        return kxcontour::ReadModel(FileRequest(folder.write(name, text)));
    };
    const std::string welded = Draw(read("a.off", tool_test::OffText(Bodies()))).bytes;
    const Model scattered = read("b.obj", tool_test::ObjText(Scattered(Bodies())));
    EXPECT_EQ(VertexCount(scattered), static_cast<int>(Bodies().positions.size()));
    EXPECT_EQ(Draw(scattered).bytes, welded);
    EXPECT_EQ(Draw(read("c.obj", tool_test::ObjText(Bodies()))).bytes, welded);
}

/// Bodies with a corner that does not exist, one that is no number and one that is infinite.
MeshData Spoilt() {
    MeshData data = Bodies();
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    const unsigned int none = data.addVertex({kNone, 1, 2});
    const unsigned int infinite = data.addVertex({1, std::numeric_limits<float>::infinity(), 2});
    data.addTriangle(0, none, 3);
    data.addTriangle(none, 4, 5);
    data.addTriangle(infinite, 4, 7);
    return data;
}

TEST(SharedVertices, KeepWhatIsWrongWithTriangles) {
    MeshData welded = Spoilt();
    MeshData scattered = Scattered(Spoilt());
    for (MeshData* data : {&welded, &scattered}) {
        const auto count = static_cast<unsigned int>(data->positions.size());
        data->addTriangle(1, 2, count);
        data->addTriangle(1, 0xFFFFFFFFU, 2);
    }
    const Drawn expected = Draw(ModelOf(welded));
    const Model model = ModelOf(scattered);
    ASSERT_EQ(VertexCount(model), static_cast<int>(welded.positions.size()));
    const Drawn found = Draw(model);
    EXPECT_EQ(expected.dropped.badIndex, 2U);
    EXPECT_EQ(expected.dropped.notFinite, 3U);
    EXPECT_EQ(found.dropped.badIndex, 2U);
    EXPECT_EQ(found.dropped.notFinite, 3U);
    EXPECT_EQ(found.dropped.degenerate, expected.dropped.degenerate);
    EXPECT_EQ(found.bytes, expected.bytes);
}

TEST(SharedVertices, LeaveNumbersOfNoVertexAlone) {
    MeshData data = test_support::Unwelded(test_support::Box({0, 0, 0}, {1, 1, 1}));
    const auto count = static_cast<unsigned int>(data.positions.size());
    data.addTriangle(0, count, 0xFFFFFFFFU);
    data.addTriangle(1, count + 1, 2);
    const Model model = ModelOf(data);
    EXPECT_EQ(VertexCount(model), 8);
    const kx::kxIndexBuffer& triangles = *model.shapes[0].triangles;
    const unsigned int* last = triangles.GetData() + triangles.GetIndexQuantity() - 6;
    EXPECT_EQ(last[1], count);
    EXPECT_EQ(last[2], 0xFFFFFFFFU);
    EXPECT_EQ(last[4], count + 1);
}

TEST(SharedVertices, ArePositionsThatDifferByNothing) {
    // The two triangles share a side, but for the last bit of one of its ends.
    const float next = std::nextafter(1.0F, 2.0F);
    MeshData data = test_support::Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    data.append(test_support::Triangle({next, 0, -0.0F}, {-0.0F, 1, 0}, {1, 1, 0}));
    const Model model = ModelOf(data);
    EXPECT_EQ(VertexCount(model), 5);
    const unsigned int* corners = model.shapes[0].triangles->GetData();
    EXPECT_EQ(corners[4], corners[2]);
    EXPECT_NE(corners[3], corners[1]);
}

void ExpectVertices(const Model& model, const MeshData& data) {
    ASSERT_EQ(VertexCount(model), static_cast<int>(data.positions.size()));
    for (int i = 0; i < VertexCount(model); ++i) {
        EXPECT_EQ(model.shapes[0].vertices->Position3(i),
                  data.positions[static_cast<std::size_t>(i)]);
    }
    const unsigned int* corners = model.shapes[0].triangles->GetData();
    EXPECT_TRUE(std::equal(data.indices.begin(), data.indices.end(), corners));
}

TEST(SharedVertices, AreNotMadeOfVerticesWithNormals) {
    const MeshData data = test_support::Unwelded(test_support::Box({0, 0, 0}, {1, 2, 3}));
    const std::vector<Point> normals(data.positions.size(), Point(0, 0, 1));
    const Model model = ModelOf(data, normals);
    ExpectVertices(model, data);
    EXPECT_EQ(model.shapes[0].vertices->GetAttributes().GetNormalChannels(), 3);
    EXPECT_EQ(model.shapes[0].vertices->Normal3(5), Point(0, 0, 1));
}

TEST(SharedVertices, AreNotSoughtWhereThereAreNoMoreVerticesThanTriangles) {
    MeshData data = test_support::Sphere({0, 0, 0}, 4.0F, 12, 8);
    data.append(test_support::Sphere({0, 0, 0}, 4.0F, 12, 8));
    ExpectVertices(ModelOf(data), data);
}

} // namespace
