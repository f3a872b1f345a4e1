// Feature edges of meshes with any normals and vertices: cracked, with T-junctions, and with
// invalid triangles.
#include <ctr/FeatureEdges.h>
#include <ctr/GeometricFeaturesGenerator.h>

#include "features/SurfaceShapes.h"
#include "features/WornShapes.h"
#include "support/Random.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

namespace {

using ctr::FeatureEdgeOptions;
using ctr::FindFeatureEdges;
using ctr::Welding;
using features_test::Contents;
using features_test::Cracked;
using features_test::NamedShape;
using features_test::SoundShapes;
using features_test::WithJunctions;
using test_support::Box;
using test_support::MakeMesh;
using test_support::MeshData;
using test_support::Point;
using test_support::Quad;
using test_support::Unwelded;

/// The indices of a mesh's feature edges, all of which are in range.
std::vector<unsigned int> IndicesOf(const kx::kxTriMesh& mesh,
                                    const FeatureEdgeOptions& options = {}) {
    const kx::kxPointer<kx::kxIndexBuffer> lines = FindFeatureEdges(mesh, options)->getIBuffer();
    EXPECT_EQ(lines->GetIndexBufferType(), kx::IBT_LINES);
    EXPECT_EQ(lines->GetIndexQuantity() % 2, 0);
    std::vector<unsigned int> indices(lines->GetData(),
                                      lines->GetData() + lines->GetIndexQuantity());
    for (const unsigned int index : indices) {
        EXPECT_LT(index, static_cast<unsigned int>(mesh.GetVertexBuffer()->GetVertexQuantity()));
    }
    return indices;
}

/// The number of lines, no two of which join the same two points.
std::size_t LineCount(const kx::kxTriMesh& mesh, const FeatureEdgeOptions& options = {}) {
    const std::vector<unsigned int> indices = IndicesOf(mesh, options);
    std::set<std::set<std::array<float, 3>>> different;
    for (std::size_t i = 0; i < indices.size(); i += 2) {
        std::set<std::array<float, 3>> ends;
        for (std::size_t k = i; k < i + 2; ++k) {
            const Point& p = mesh.GetVertexBuffer()->Position3(static_cast<int>(indices[k]));
            ends.insert({p[0] + 0.0F, p[1] + 0.0F, p[2] + 0.0F});
        }
        EXPECT_EQ(ends.size(), 2U);
        EXPECT_TRUE(different.insert(ends).second) << "line " << i / 2 << " is there twice";
    }
    return indices.size() / 2;
}

double LengthOfLines(const kx::kxTriMesh& mesh, const FeatureEdgeOptions& options = {}) {
    const std::vector<unsigned int> indices = IndicesOf(mesh, options);
    double length = 0.0;
    for (std::size_t i = 0; i < indices.size(); i += 2) {
        const Point along = mesh.GetVertexBuffer()->Position3(static_cast<int>(indices[i + 1])) -
                            mesh.GetVertexBuffer()->Position3(static_cast<int>(indices[i]));
        length += static_cast<double>(std::sqrt(along.Dot(along)));
    }
    return length;
}

MeshData Brick() {
    return Box(Point(1, 2, 3), Point(51, 32, 23));
}
constexpr double kLengthOfBrick = 4.0 * (50.0 + 30.0 + 20.0);

/// Each vertex with the normal of the first triangle that has it, or with one for all.
kx::kxPointer<kx::kxTriMesh> WithNormals(const MeshData& data, bool ofFaces) {
    std::vector<Point> normals(data.positions.size(), Point(0, 0, 1));
    for (std::size_t i = 0; ofFaces && i < data.indices.size(); i += 3) {
        const auto at = [&](std::size_t k) { return data.positions[data.indices[i + k]]; };
        Point normal = (at(1) - at(0)).Cross(at(2) - at(0));
        normal.Normalize();
        for (std::size_t k = 0; k < 3; ++k) {
            normals[data.indices[i + k]] = normal;
        }
    }
    return MakeMesh(data.positions, normals, data.indices);
}

TEST(FindFeatureEdges, OfABoxAreTheTwelveWhateverItsVerticesAre) {
    EXPECT_EQ(LineCount(*MakeMesh(Brick())), 12U) << "positions alone";
    EXPECT_EQ(LineCount(*MakeMesh(Unwelded(Brick()))), 12U) << "a vertex for each corner";
    EXPECT_EQ(LineCount(*WithNormals(Unwelded(Brick()), true)), 12U) << "split normals";
    EXPECT_EQ(LineCount(*WithNormals(Brick(), false)), 12U) << "smooth normals";
    EXPECT_DOUBLE_EQ(LengthOfLines(*MakeMesh(Unwelded(Brick()))), kLengthOfBrick);
}

TEST(FindFeatureEdges, BecomeTheCreasesOfTheMesh) {
    const kx::kxPointer<kx::kxTriMesh> mesh = MakeMesh(Unwelded(Brick()));
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(test_support::SlantedSpace(20, 19, 100.0F));
    const auto creases = [&] {
        generator.setSingleExportCluster({mesh.get()}, nullptr);
        ctr::GeometricFeatures features;
        generator.computeGeometricFeatures(features, 0, false);
        return features.creaseEdges->GetIndexBuffer()->GetIndexQuantity() / 2;
    };
    EXPECT_EQ(creases(), 36) << "without normals, every edge is one, from both sides";
    mesh->AddMetadata(FindFeatureEdges(*mesh).get());
    EXPECT_EQ(creases(), 12);
}

TEST(FindFeatureEdges, TakeTheAngle) {
    FeatureEdgeOptions options;
    options.angleInDegrees = 89.0;
    EXPECT_EQ(LineCount(*MakeMesh(Brick()), options), 12U);
    options.angleInDegrees = 91.0;
    EXPECT_EQ(LineCount(*MakeMesh(Brick()), options), 0U);
}

TEST(FindFeatureEdges, MeasureBendsWhereTheMeshIsPlaced) {
    // A roof of 90 degrees, pressed down to one of 11.
    MeshData roof = Quad(Point(0, 0, 0), Point(1, 0, 1), Point(1, 1, 1), Point(0, 1, 0));
    roof.append(Quad(Point(1, 0, 1), Point(2, 0, 0), Point(2, 1, 0), Point(1, 1, 1)));
    const kx::kxPointer<kx::kxTriMesh> mesh = MakeMesh(roof);
    EXPECT_EQ(LineCount(*mesh), 7U) << "ridge and border";
    kx::kxGenericTransformation<float> flat;
    flat.SetMatrix(Wm4::Matrix4<float>(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0.1F, 0, 7, 8, 9, 1));
    mesh->SetWorldTransformation(flat);
    EXPECT_EQ(LineCount(*mesh), 6U) << "border";
}

TEST(FindFeatureEdges, ListNoSeamOfACrackedShape) {
    for (const NamedShape& sound : SoundShapes()) {
        const kx::kxPointer<kx::kxTriMesh> whole = MakeMesh(sound.data);
        for (const float share : {1e-7F, 1e-6F, 1e-5F}) {
            SCOPED_TRACE(testing::Message() << sound.name << ' ' << share);
            const kx::kxPointer<kx::kxTriMesh> mesh = MakeMesh(Cracked(sound.data, share, 5));
            EXPECT_EQ(LineCount(*mesh), LineCount(*whole));
            EXPECT_NEAR(LengthOfLines(*mesh), LengthOfLines(*whole),
                        1e-3 * LengthOfLines(*whole) + 1e-9);
        }
    }
}

TEST(FindFeatureEdges, OfACrackedBoxMeetInEightVertices) {
    const std::vector<unsigned int> indices = IndicesOf(*MakeMesh(Cracked(Brick(), 1e-5F, 3)));
    EXPECT_EQ(indices.size(), 24U);
    EXPECT_EQ(std::set<unsigned int>(indices.begin(), indices.end()).size(), 8U);
}

TEST(FindFeatureEdges, AreDividedAtTJunctionsAndListedOnce) {
    for (const NamedShape& sound : SoundShapes()) {
        const kx::kxPointer<kx::kxTriMesh> whole = MakeMesh(sound.data);
        for (const int percent : {10, 50, 100}) {
            SCOPED_TRACE(testing::Message() << sound.name << ' ' << percent);
            const MeshData junctions = WithJunctions(sound.data, percent, 7);
            const kx::kxPointer<kx::kxTriMesh> mesh = MakeMesh(junctions);
            EXPECT_GE(LineCount(*mesh), LineCount(*whole));
            EXPECT_NEAR(LengthOfLines(*mesh), LengthOfLines(*whole),
                        1e-5 * LengthOfLines(*whole) + 1e-9);
        }
    }
}

TEST(FindFeatureEdges, CloseCracksAsFarAsTheyAreTold) {
    MeshData halves = Quad(Point(0, 0, 0), Point(50, 0, 0), Point(50, 80, 0), Point(0, 80, 0));
    halves.append(Quad(Point(51, 0, 0), Point(100, 0, 0), Point(100, 80, 0), Point(51, 80, 0)));
    const kx::kxPointer<kx::kxTriMesh> mesh = MakeMesh(halves);
    FeatureEdgeOptions options;
    EXPECT_EQ(LineCount(*mesh, options), 8U);
    options.welding = {Welding::Mode::Distance, 1.0};
    EXPECT_EQ(LineCount(*mesh, options), 6U);
    options.welding.distance = 0.99;
    EXPECT_EQ(LineCount(*mesh, options), 8U);
    kx::kxGenericTransformation<float> small;
    small.SetMatrix(Wm4::Matrix4<float>(0.1F, 0, 0, 0, 0, 0.1F, 0, 0, 0, 0, 0.1F, 0, 0, 0, 0, 1));
    mesh->SetWorldTransformation(small);
    EXPECT_EQ(LineCount(*mesh, options), 8U) << "the distance is one of the mesh's coordinates";
    const kx::kxPointer<kx::kxTriMesh> cracked = MakeMesh(Cracked(Brick(), 1e-6F, 3));
    options.welding = {Welding::Mode::Off, 0.0};
    EXPECT_EQ(LineCount(*cracked, options), 36U);
}

TEST(FindFeatureEdges, LeaveTheMeshAsItIs) {
    const kx::kxPointer<kx::kxTriMesh> mesh =
        MakeMesh(Cracked(WithJunctions(Brick(), 50, 2), 1e-6F, 3));
    const kx::kxPointer<kx::kxVertexBuffer> vertices = mesh->GetVertexBuffer();
    const kx::kxPointer<kx::kxIndexBuffer> triangles = mesh->GetIndexBuffer();
    const Contents before = features_test::ContentsOf(*vertices, *triangles);
    FindFeatureEdges(*mesh);
    EXPECT_EQ(features_test::ContentsOf(*vertices, *triangles), before);
    EXPECT_EQ(mesh->GetVertexBuffer(), vertices.get());
    EXPECT_EQ(mesh->GetIndexBuffer(), triangles.get());
    EXPECT_EQ(mesh->GetMetadataQuantity(), 0);
}

TEST(FindFeatureEdges, AreNullWithoutBuffersAndNoneWithoutTriangles) {
    const kx::kxPointer<kx::kxTriMesh> box = MakeMesh(Brick());
    const kx::kxPointer<kx::kxVertexBuffer> noPositions(
        new kx::kxVertexBuffer(kx::kxAttributes(), 8));
    EXPECT_FALSE(FindFeatureEdges(kx::kxTriMesh(nullptr, box->GetIndexBuffer())));
    EXPECT_FALSE(FindFeatureEdges(kx::kxTriMesh(box->GetVertexBuffer(), nullptr)));
    EXPECT_FALSE(FindFeatureEdges(kx::kxTriMesh(noPositions.get(), box->GetIndexBuffer())));
    EXPECT_EQ(LineCount(*MakeMesh(MeshData())), 0U);
}

TEST(FindFeatureEdges, SkipTrianglesThatAreNone) {
    MeshData data = Brick();
    data.addTriangle(0, 1, 4000000000U);
    data.addTriangle(2, 2, 3);
    data.addTriangle(Point(std::nanf(""), 0, 0), Point(1, 0, 0), Point(0, 1, 0));
    data.addTriangle(Point(0, 0, 0), Point(std::numeric_limits<float>::infinity(), 0, 0),
                     Point(0, 1, 0));
    data.addTriangle(Point(0, 0, 0), Point(1, 1, 1), Point(2, 2, 2));
    data.indices.push_back(0);
    EXPECT_EQ(LineCount(*MakeMesh(data)), 12U);
}

TEST(FindFeatureEdges, TakeAnyMesh) {
    const std::array<float, 10> odd{0.0F,
                                    -0.0F,
                                    1e-44F,
                                    -1e-30F,
                                    1.0F,
                                    1.0000001F,
                                    3e38F,
                                    -3e38F,
                                    std::numeric_limits<float>::infinity(),
                                    std::numeric_limits<float>::quiet_NaN()};
    const std::array<double, 6> distances{0.0, 1e-300, 1e-7, 1.0, 1e39, 1e300};
    for (int seed = 0; seed < test_support::Scaled(2000); ++seed) {
        SCOPED_TRACE(seed);
        test_support::Random random(static_cast<std::uint64_t>(seed));
        const auto coordinate = [&] {
            return random.percent(40) ? odd[static_cast<std::size_t>(random.below(10))]
                                      : 0.25F * static_cast<float>(random.between(-4, 4)) +
                                            1e-6F * static_cast<float>(random.between(-4, 4));
        };
        MeshData data;
        for (int i = random.below(30); i-- > 0;) {
            data.addVertex(Point(coordinate(), coordinate(), coordinate()));
        }
        for (int i = random.below(120); i-- > 0;) {
            data.indices.push_back(static_cast<unsigned int>(random.below(32)));
        }
        const kx::kxPointer<kx::kxTriMesh> mesh = MakeMesh(data);
        FeatureEdgeOptions options;
        options.angleInDegrees = static_cast<double>(random.between(-20, 200));
        options.welding.mode = static_cast<Welding::Mode>(random.below(3));
        options.welding.distance = distances[static_cast<std::size_t>(random.below(6))];
        EXPECT_EQ(IndicesOf(*mesh, options), IndicesOf(*mesh, options));
    }
}

} // namespace
