// Baking: quantised vertices, clipped triangles and where their edges come from, windings, planes,
// numbering of meshes, the tree; by hand and against the exact reference on random scenes.
#include <ctr/BakedTriangles.h>
#include <ctr/LineSegmentSet.h>

#include "support/Baking.h"
#include "support/ExactBaking.h"
#include "support/RandomScenes.h"
#include "support/SceneAgreement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <vector>

namespace {

using ctr::BakedTriangles;
using test_support::Bake;
using test_support::BakedMeshes;
using test_support::BakeExactly;
using test_support::CheckTree;
using test_support::CompareBaking;
using test_support::Coordinates;
using test_support::CoordinatesOf;
using test_support::ExactBaked;
using test_support::LatticeSpace;
using test_support::MakeMesh;
using test_support::MeshData;
using test_support::MeshList;
using test_support::Point;
using test_support::Scaled;
using test_support::Triangle;

using Meshes = std::vector<kx::kxPointer<kx::kxTriMesh>>;
using Numbers = std::vector<unsigned int>;

constexpr std::int32_t kMarker = 1 << 28;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// In the lattice view of 4 bits the points from 0 to 14 are inside; the view ends at -0.5 and 14.5.
const Point kA(2, 2, 5);
const Point kB(12, 2, 5);
const Point kC(2, 8, 5);
const Point kBeyondRight(20, 2, 5);

std::vector<Coordinates> AllCoordinates(const std::vector<ctr::BakedVertex>& vertices) {
    std::vector<Coordinates> all;
    std::transform(vertices.begin(), vertices.end(), std::back_inserter(all), CoordinatesOf);
    return all;
}

std::vector<std::array<long, 3>> AllPlanes(const BakedTriangles& baked) {
    std::vector<std::array<long, 3>> all;
    for (const auto& n : baked.trianglePlanes) {
        all.push_back({n.X(), n.Y(), n.Z()});
    }
    return all;
}

// The origin word of a clipped triangle: pairs for the edges that end at vertices 0, 1, 2.
unsigned int
Origin(unsigned int source, unsigned int pair0, unsigned int pair1, unsigned int pair2) {
    return source | (pair0 | pair1 << 2U | pair2 << 4U) << 26U;
}

// A host's own kind of mesh.
class HostMesh : public kx::kxTriMesh {
public:
    using kx::kxTriMesh::kxTriMesh;

    GeometryType GetGeometryType() const override { return type; }
    bool GetTriangle(int i, int& a, int& b, int& c) const override {
        return i != missing && kx::kxTriMesh::GetTriangle(i, a, b, c);
    }

    GeometryType type = GT_TRIMESH;
    int missing = -1;
};

kx::kxPointer<HostMesh> MakeHostMesh(const MeshData& data) {
    const auto plain = MakeMesh(data);
    return {new HostMesh(plain->GetVertexBuffer(), plain->GetIndexBuffer())};
}

// --- what becomes of single triangles ---

TEST(BakedTriangles, StartsEmpty) {
    const BakedTriangles baked;
    EXPECT_EQ(baked.projectionSpace, nullptr);
    EXPECT_TRUE(baked.meshes.empty() && baked.vertices.empty() && baked.triangleIndices.empty() &&
                baked.trianglePlanes.empty() && baked.meshFirstVertex.empty() &&
                baked.meshFirstTriangle.empty() && baked.clippedTriangleOrigins.empty() &&
                baked.bvh.nodes.empty() && baked.bvh.primitives.empty());
}

TEST(BakedTriangles, ATriangleInsideTheViewKeepsItsVertices) {
    const BakedMeshes scene({Triangle(kA, kB, kC)});
    EXPECT_EQ(AllCoordinates(scene.baked.vertices),
              (std::vector<Coordinates>{{2, 2, 5}, {12, 2, 5}, {2, 8, 5}}));
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{0, 1, 2}));
    EXPECT_EQ(scene.baked.meshFirstVertex, (Numbers{0, 3}));
    EXPECT_EQ(scene.baked.meshFirstTriangle, (Numbers{0, 1}));
    ASSERT_EQ(scene.baked.clippedTriangleOrigins.size(), 1U);
    EXPECT_TRUE(scene.baked.clippedTriangleOrigins[0].empty());
}

TEST(BakedTriangles, BothFacingsBecomeCounterClockwiseOnScreen) {
    const BakedMeshes counterClockwise({Triangle(kA, kB, kC)});
    const BakedMeshes clockwise({Triangle(kA, kC, kB)});
    EXPECT_EQ(counterClockwise.baked.triangleIndices, (Numbers{0, 1, 2}));
    EXPECT_EQ(clockwise.baked.triangleIndices, (Numbers{0, 2, 1}));
    EXPECT_EQ(AllPlanes(counterClockwise.baked), AllPlanes(clockwise.baked));
    EXPECT_LT(clockwise.baked.trianglePlanes[0].Z(), 0);
}

TEST(BakedTriangles, ThePlaneIsTheCrossProductOfTheEdgesFromTheFirstVertex) {
    const BakedMeshes scene({Triangle(Point(1, 2, 3), Point(5, 3, 4), Point(2, 9, 8))});
    // (P2 - P0) x (P1 - P0) = (1, 7, 5) x (4, 1, 1)
    EXPECT_EQ(AllPlanes(scene.baked), (std::vector<std::array<long, 3>>{{2, 19, -27}}));
}

TEST(BakedTriangles, ATriangleSeenEdgeOnIsDropped) {
    const BakedMeshes standing({Triangle(Point(1, 1, 1), Point(5, 5, 1), Point(3, 3, 9))});
    EXPECT_TRUE(standing.baked.triangleIndices.empty());
    EXPECT_TRUE(standing.baked.trianglePlanes.empty());
    EXPECT_EQ(standing.baked.vertices.size(), 3U);
    EXPECT_EQ(standing.baked.meshFirstTriangle, (Numbers{0, 0}));
}

TEST(BakedTriangles, ATriangleWithinOneCellIsDropped) {
    const BakedMeshes tiny({Triangle(Point(3, 3, 3), Point(3.25F, 3, 3), Point(3, 3.25F, 3))});
    EXPECT_TRUE(tiny.baked.triangleIndices.empty());
}

TEST(BakedTriangles, ClippedPolygonsBecomeFansThatKnowTheirSource) {
    // The view clips B: A, the way out on AB, the way in on BC, C.
    const BakedMeshes scene({Triangle(kA, kBeyondRight, kC)});
    EXPECT_EQ(AllCoordinates(scene.baked.vertices),
              (std::vector<Coordinates>{{2, 2, 5},
                                        {kMarker, kMarker, kMarker},
                                        {2, 8, 5},
                                        {2, 2, 5},
                                        {15, 2, 5},
                                        {15, 4, 5},
                                        {2, 8, 5}}));
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{3, 4, 5, 3, 5, 6}));
    ASSERT_EQ(scene.baked.clippedTriangleOrigins.size(), 1U);
    EXPECT_EQ(scene.baked.clippedTriangleOrigins[0],
              (Numbers{Origin(0, 0, 2, 0), Origin(0, 1, 0, 3)}));
}

TEST(BakedTriangles, TurningAClippedTriangleExchangesTwoOfItsOrigins) {
    const BakedMeshes scene({Triangle(kA, kC, kBeyondRight)});
    // The polygon starts where BA comes in: 0 along the bound, then A, C and the way out on CB.
    EXPECT_EQ(AllCoordinates({scene.baked.vertices.begin() + 3, scene.baked.vertices.end()}),
              (std::vector<Coordinates>{{15, 2, 5}, {2, 2, 5}, {2, 8, 5}, {15, 4, 5}}));
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{3, 5, 4, 3, 6, 5}));
    EXPECT_EQ(scene.baked.clippedTriangleOrigins[0],
              (Numbers{Origin(0, 1, 0, 2), Origin(0, 0, 0, 3)}));
}

TEST(BakedTriangles, WholeTrianglesComeBeforeClippedOnesOfTheirMesh) {
    MeshData data = Triangle(kA, kBeyondRight, kC);
    data.append(Triangle(kA, kB, kC));
    const BakedMeshes scene({data});
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{3, 4, 5, 6, 7, 8, 6, 8, 9}));
    EXPECT_EQ(scene.baked.clippedTriangleOrigins[0],
              (Numbers{Origin(0, 0, 2, 0), Origin(0, 1, 0, 3)}));
}

TEST(BakedTriangles, OriginsNameTheSourceTriangleInItsMesh) {
    MeshData data = Triangle(kA, kB, kC);
    data.append(Triangle(kA, kB, kC));
    data.append(Triangle(kA, kBeyondRight, kC));
    const BakedMeshes scene({Triangle(kA, kB, kC), data});
    EXPECT_TRUE(scene.baked.clippedTriangleOrigins[0].empty());
    EXPECT_EQ(scene.baked.clippedTriangleOrigins[1],
              (Numbers{Origin(2, 0, 2, 0), Origin(2, 1, 0, 3)}));
}

TEST(BakedTriangles, AVertexBehindTheEyeIsClippedAway) {
    const auto space = test_support::PerspectiveSpace(6, 6, 1.0F, 1.0F, 8.0F);
    const BakedMeshes scene({Triangle(Point(-1, 0, 4), Point(1, 0, 4), Point(0, 1, -4))}, space);
    ASSERT_EQ(scene.baked.clippedTriangleOrigins[0].size(), 2U);
    EXPECT_EQ(CoordinatesOf(scene.baked.vertices[2]), (Coordinates{kMarker, kMarker, kMarker}));
    ASSERT_EQ(scene.baked.vertices.size(), 7U);
    int onNearPlane = 0;
    for (std::size_t i = 3; i < 7; ++i) {
        EXPECT_GE(scene.baked.vertices[i].z, 0);
        onNearPlane += scene.baked.vertices[i].z == 0 ? 1 : 0;
    }
    EXPECT_EQ(onNearPlane, 2);
}

TEST(BakedTriangles, PointsOnTheBoundsAreInside) {
    ctr::DiscreteProjectionSpace space;
    ASSERT_TRUE(space.setVoxelBitSize(4, 5));
    const BakedMeshes scene({Triangle(Point(-1, -1, -1), Point(1, -1, -1), Point(1, 1, 1))}, space);
    EXPECT_EQ(AllCoordinates(scene.baked.vertices),
              (std::vector<Coordinates>{{0, 0, 0}, {15, 0, 0}, {15, 15, 31}}));
    EXPECT_TRUE(scene.baked.clippedTriangleOrigins[0].empty());
}

TEST(BakedTriangles, VerticesOutsideTheViewAreMarked) {
    const std::vector<Point> outside = {Point(-1, 5, 5),   Point(5, -1, 5),       Point(5, 5, -1),
                                        Point(15, 5, 5),   Point(5, 15, 5),       Point(5, 5, 15),
                                        Point(kNan, 5, 5), Point(5, kInfinity, 5)};
    for (const Point& p : outside) {
        const BakedMeshes scene({{{p}, {}}});
        EXPECT_EQ(AllCoordinates(scene.baked.vertices),
                  (std::vector<Coordinates>{{kMarker, kMarker, kMarker}}))
            << p.X() << ' ' << p.Y() << ' ' << p.Z();
    }
}

TEST(BakedTriangles, VerticesBehindTheEyeAreMarkedEvenWhereTheyProjectIntoTheView) {
    // All clip coordinates but w of the mirrored point are those of a point in the view.
    ctr::DiscreteProjectionSpace space;
    Wm4::Matrix4<float> mirrored = Wm4::Matrix4<float>::IDENTITY;
    mirrored[3][3] = -1.0F;
    space.setViewProjection(mirrored, mirrored);
    ASSERT_TRUE(space.setVoxelBitSize(4, 4));
    const BakedMeshes scene({{{Point(0.5F, 0.5F, 0.5F)}, {}}}, space);
    EXPECT_EQ(CoordinatesOf(scene.baked.vertices[0]), (Coordinates{kMarker, kMarker, kMarker}));
}

TEST(BakedTriangles, ASliverAlongTwoBoundsNeverOutgrowsTheClippingBuffers) {
    // Edge-on along the pyramid's corners: rounding takes its outline across one bound four times,
    // to ten vertices.
    const auto space = test_support::PerspectiveSpace(4, 4, 0.75F, 1.0F, 8.0F);
    const BakedMeshes scene({Triangle(Point(4, -4, 11), Point(2, -2, 0), Point(-6, 6, 5))}, space);
    EXPECT_EQ(scene.baked.vertices.size(), 3U + 9U);
    EXPECT_EQ(AllCoordinates(scene.baked.vertices),
              AllCoordinates(BakeExactly(space, MeshList(scene.meshes)).vertices));
}

// --- the upper bound of depth, the bound of y that is used ---

TEST(BakedTriangles, DepthBeyondTheUpperBoundOfYIsMarkedThoughInTheView) {
    ctr::DiscreteProjectionSpace space;
    ASSERT_TRUE(space.setVoxelBitSize(4, 4));
    space.frustumMax.Z() = 2.0F;
    const BakedMeshes scene({Triangle(Point(0, 0, 0), Point(0.5F, 0, 1.5F), Point(0, 0.5F, 1))},
                            space);
    EXPECT_EQ(AllCoordinates(scene.baked.vertices),
              (std::vector<Coordinates>{{7, 7, 7}, {kMarker, kMarker, kMarker}, {7, 11, 15}}));
    EXPECT_TRUE(scene.baked.clippedTriangleOrigins[0].empty());
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{0, 1, 2}));
}

TEST(BakedTriangles, DepthBetweenItsOwnBoundAndThatOfYIsNotMarked) {
    ctr::DiscreteProjectionSpace space;
    ASSERT_TRUE(space.setVoxelBitSize(4, 4));
    space.frustumMax.Z() = 0.5F;
    const BakedMeshes scene({{{Point(0, 0, 0.75F), Point(0, 0, 1), Point(0, 0, 1.25F)}, {}}},
                            space);
    EXPECT_EQ(AllCoordinates(scene.baked.vertices),
              (std::vector<Coordinates>{{7, 7, 13}, {7, 7, 15}, {kMarker, kMarker, kMarker}}));
}

TEST(BakedTriangles, ALowerBoundOfYMarksDepthsAboveIt) {
    ctr::DiscreteProjectionSpace space;
    ASSERT_TRUE(space.setVoxelBitSize(4, 4));
    space.frustumMax.Y() = 0.5F;
    const BakedMeshes scene({{{Point(0, 0, 0.75F), Point(0, 0, 0.5F), Point(0.75F, 0, 0)}, {}}},
                            space);
    EXPECT_EQ(AllCoordinates(scene.baked.vertices),
              (std::vector<Coordinates>{{kMarker, kMarker, kMarker}, {7, 7, 11}, {13, 7, 7}}));
}

// --- lists of meshes ---

TEST(BakedTriangles, SkippedEntriesContributeNothing) {
    const auto space = LatticeSpace(4, 4);
    const auto mesh = MakeMesh(Triangle(kA, kB, kC));
    const auto points = MakeHostMesh(Triangle(kA, kB, kC));
    points->type = kx::kxBaseGeometry::GT_POINTS;
    const auto lines = MakeHostMesh(Triangle(kA, kB, kC));
    lines->type = kx::kxBaseGeometry::GT_LINES;
    const BakedTriangles baked =
        Bake(space, {nullptr, mesh.get(), nullptr, points.get(), mesh.get(), lines.get()});
    EXPECT_EQ(baked.vertices.size(), 6U);
    EXPECT_EQ(baked.triangleIndices, (Numbers{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(baked.meshFirstVertex, (Numbers{0, 0, 0, 0, 3, 0, 6}));
    EXPECT_EQ(baked.meshFirstTriangle, (Numbers{0, 0, 0, 0, 1, 0, 2}));
    EXPECT_EQ(baked.clippedTriangleOrigins.size(), 6U);
}

TEST(BakedTriangles, NoMeshesGiveTotalsOnly) {
    const auto space = LatticeSpace(4, 4);
    const BakedTriangles baked = Bake(space, {});
    EXPECT_EQ(baked.meshFirstVertex, (Numbers{0}));
    EXPECT_EQ(baked.meshFirstTriangle, (Numbers{0}));
    EXPECT_TRUE(baked.vertices.empty() && baked.clippedTriangleOrigins.empty());
}

TEST(BakedTriangles, AMeshWithoutTrianglesKeepsItsVertices) {
    const BakedMeshes scene({{{kA, kB}, {}}, Triangle(kA, kB, kC)});
    EXPECT_EQ(scene.baked.meshFirstVertex, (Numbers{0, 2, 5}));
    EXPECT_EQ(scene.baked.meshFirstTriangle, (Numbers{0, 0, 1}));
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{2, 3, 4}));
}

TEST(BakedTriangles, MeshesOutsideTheViewGiveAnEmptyTree) {
    const BakedMeshes scene({Triangle(Point(20, 0, 0), Point(30, 0, 0), Point(20, 5, 0)),
                             Triangle(Point(0, 0, -9), Point(5, 0, -9), Point(0, 5, -9))});
    EXPECT_TRUE(scene.baked.triangleIndices.empty());
    EXPECT_TRUE(scene.baked.bvh.nodes.empty());
    EXPECT_TRUE(scene.baked.bvh.primitives.empty());
    EXPECT_EQ(scene.baked.vertices.size(), 6U);
}

TEST(BakedTriangles, AnIncompleteLastTriangleIsIgnored) {
    const BakedMeshes scene({{{kA, kB, kC}, {0, 1, 2, 0, 1}}});
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{0, 1, 2}));
}

TEST(BakedTriangles, TrianglesThatTheMeshDeniesAreDropped) {
    const auto space = LatticeSpace(4, 4);
    MeshData data = Triangle(kA, kB, kC);
    data.indices = {0, 1, 2, 1, 2, 0, 2, 0, 1};
    const auto mesh = MakeHostMesh(data);
    mesh->missing = 1;
    EXPECT_EQ(Bake(space, {mesh.get()}).triangleIndices, (Numbers{0, 1, 2, 2, 0, 1}));
}

TEST(BakedTriangles, ClippedTrianglesThatTheMeshDeniesLaterHaveNoSilhouette) {
    const auto space = LatticeSpace(4, 4);
    const auto mesh = MakeHostMesh(Triangle(kA, kBeyondRight, kC));
    const BakedTriangles baked = Bake(space, {mesh.get()});
    mesh->missing = 0;
    std::vector<ctr::LineSegmentSet*> sets;
    EXPECT_TRUE(baked.computeSilhouetteEdges(sets));
    EXPECT_EQ(sets, std::vector<ctr::LineSegmentSet*>{nullptr});
}

TEST(BakedTriangles, TrianglesOfVerticesThatDoNotExistAreDropped) {
    const BakedMeshes scene(
        {{{kA, kB, kC}, {0, 1, 3, 0, 1, 2, 0xffffffffU, 1, 2, 0, 0x80000000U, 2}},
         Triangle(kA, kB, kC)});
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{0, 1, 2, 3, 4, 5}));
}

TEST(BakedTriangles, TrianglesThatAreNotFiniteAreDropped) {
    MeshData data = Triangle(kA, kB, kC);
    for (const float bad : {kNan, kInfinity, -kInfinity}) {
        data.append(Triangle(Point(bad, 2, 5), kB, kC));
        data.append(Triangle(kA, Point(2, bad, 5), kC));
        data.append(Triangle(kA, kB, Point(2, 2, bad)));
    }
    const BakedMeshes scene({data});
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{0, 1, 2}));
    EXPECT_TRUE(scene.baked.clippedTriangleOrigins[0].empty());
}

TEST(BakedTriangles, TrianglesOfInfiniteWeightAreDropped) {
    auto space = LatticeSpace(4, 4);
    space.worldToClip[2][3] = 3e38F;
    MeshData data = Triangle(kA, kB, kC);
    data.append(Triangle(Point(kA[0], kA[1], 0), Point(kB[0], kB[1], 0), Point(kC[0], kC[1], 0)));
    const BakedMeshes scene({data}, space);
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{3, 4, 5}));
}

TEST(BakedTriangles, TheLargestCoordinatesDoNoHarm) {
    for (const float large : {1e20F, 1e30F, 1e38F, 3.4e38F}) {
        for (int axis = 0; axis < 3; ++axis) {
            Point low(5, 5, 5);
            Point high(6, 9, 7);
            low[axis] = -large;
            high[axis] = large;
            const BakedMeshes scene({Triangle(low, high, kC)});
            for (const unsigned int index : scene.baked.triangleIndices) {
                ASSERT_LT(index, scene.baked.vertices.size());
            }
        }
    }
}

TEST(BakedTriangles, TheWorldTransformationMovesTheMesh) {
    const auto space = LatticeSpace(4, 4);
    const auto mesh = MakeMesh(Triangle(kA, kB, kC));
    mesh->SetWorldTransformation(
        test_support::AxisTransformation({1, 0, 2}, {1, 1, -1}, Point(1, 0, 12)));
    const BakedTriangles baked = Bake(space, {mesh.get()});
    EXPECT_EQ(AllCoordinates(baked.vertices),
              (std::vector<Coordinates>{{3, 2, 7}, {3, 12, 7}, {9, 2, 7}}));
    EXPECT_EQ(baked.triangleIndices, (Numbers{0, 2, 1}));
}

TEST(BakedTriangles, AMeshWithoutBuffersContributesNothing) {
    const auto space = LatticeSpace(4, 4);
    const kx::kxPointer<kx::kxTriMesh> bare(new kx::kxTriMesh(nullptr, nullptr));
    const auto mesh = MakeMesh(Triangle(kA, kB, kC));
    const BakedTriangles baked = Bake(space, {bare.get(), mesh.get()});
    EXPECT_EQ(baked.triangleIndices, (Numbers{0, 1, 2}));
    EXPECT_EQ(baked.meshFirstVertex, (Numbers{0, 0, 3}));
}

// --- lifecycle ---

TEST(BakedTriangles, BakingAgainGivesTheSame) {
    MeshData data = Triangle(kA, kBeyondRight, kC);
    data.append(Triangle(kA, kB, kC));
    BakedMeshes scene({data, data});
    const BakedTriangles first = scene.baked;
    scene.baked.initialize();
    EXPECT_EQ(AllCoordinates(scene.baked.vertices), AllCoordinates(first.vertices));
    EXPECT_EQ(scene.baked.triangleIndices, first.triangleIndices);
    EXPECT_EQ(AllPlanes(scene.baked), AllPlanes(first));
    EXPECT_EQ(scene.baked.meshFirstVertex, first.meshFirstVertex);
    EXPECT_EQ(scene.baked.meshFirstTriangle, first.meshFirstTriangle);
    EXPECT_EQ(scene.baked.clippedTriangleOrigins, first.clippedTriangleOrigins);
    EXPECT_EQ(scene.baked.bvh.primitives, first.bvh.primitives);
    EXPECT_EQ(scene.baked.bvh.nodes.size(), first.bvh.nodes.size());
}

TEST(BakedTriangles, BakingOtherMeshesLeavesNothingOfTheFirst) {
    BakedMeshes scene({Triangle(kA, kBeyondRight, kC), Triangle(kA, kB, kC), Triangle(kA, kB, kC)});
    const auto mesh = MakeMesh(Triangle(kA, kB, kC));
    scene.baked.setMeshes({nullptr, mesh.get()});
    scene.baked.initialize();
    EXPECT_EQ(scene.baked.vertices.size(), 3U);
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{0, 1, 2}));
    EXPECT_EQ(scene.baked.meshFirstVertex, (Numbers{0, 0, 3}));
    EXPECT_EQ(scene.baked.meshFirstTriangle, (Numbers{0, 0, 1}));
    EXPECT_EQ(scene.baked.clippedTriangleOrigins, (std::vector<Numbers>{{}, {}}));
    scene.baked.setMeshes({});
    scene.baked.initialize();
    EXPECT_TRUE(scene.baked.bvh.nodes.empty());
    EXPECT_TRUE(scene.baked.bvh.primitives.empty());
}

TEST(BakedTriangles, SettersMayComeInAnyOrderAndCopyTheList) {
    const auto space = LatticeSpace(4, 4);
    const auto mesh = MakeMesh(Triangle(kA, kB, kC));
    std::vector<const kx::kxTriMesh*> list = {mesh.get()};
    BakedTriangles baked;
    baked.setMeshes(list);
    list.clear();
    baked.setProjectionSpace(&space);
    EXPECT_EQ(baked.projectionSpace, &space);
    EXPECT_EQ(baked.meshes, (std::vector<const kx::kxTriMesh*>{mesh.get()}));
    baked.initialize();
    EXPECT_EQ(baked.triangleIndices.size(), 3U);
}

TEST(BakedTriangles, BakedDataOutlivesTheBuffersOfTheMeshes) {
    BakedMeshes scene({Triangle(kA, kB, kC)});
    scene.meshes[0]->SetVertexBuffer(nullptr);
    scene.meshes[0]->SetIndexBuffer(nullptr);
    std::vector<ctr::RationalInterval> hidden;
    scene.baked.computeOcclusionIntervals({0, 4, 9}, {14, 4, 9}, hidden);
    EXPECT_EQ(hidden.size(), 1U);
}

TEST(BakedTriangles, ClearingKeepsOriginsSettingsAndMemory) {
    BakedMeshes scene({Triangle(kA, kBeyondRight, kC)});
    BakedTriangles& baked = scene.baked;
    const auto origins = baked.clippedTriangleOrigins;
    const std::size_t vertexCapacity = baked.vertices.capacity();
    const std::size_t indexCapacity = baked.triangleIndices.capacity();
    const std::size_t nodeCapacity = baked.bvh.nodes.capacity();
    baked.clearData();
    EXPECT_TRUE(baked.vertices.empty() && baked.triangleIndices.empty() &&
                baked.trianglePlanes.empty() && baked.meshFirstVertex.empty() &&
                baked.meshFirstTriangle.empty() && baked.bvh.nodes.empty() &&
                baked.bvh.primitives.empty());
    EXPECT_EQ(baked.clippedTriangleOrigins, origins);
    EXPECT_FALSE(origins[0].empty());
    EXPECT_EQ(baked.meshes, MeshList(scene.meshes));
    EXPECT_EQ(baked.projectionSpace, &scene.space);
    EXPECT_EQ(baked.vertices.capacity(), vertexCapacity);
    EXPECT_EQ(baked.triangleIndices.capacity(), indexCapacity);
    EXPECT_EQ(baked.bvh.nodes.capacity(), nodeCapacity);
}

TEST(BakedTriangles, AfterClearingNothingHidesUntilBakedAgain) {
    BakedMeshes scene({Triangle(kA, kB, kC)});
    scene.baked.clearData();
    std::vector<ctr::RationalInterval> hidden;
    scene.baked.computeOcclusionIntervals({0, 4, 9}, {14, 4, 9}, hidden);
    EXPECT_TRUE(hidden.empty());
    scene.baked.initialize();
    scene.baked.computeOcclusionIntervals({0, 4, 9}, {14, 4, 9}, hidden);
    EXPECT_EQ(hidden.size(), 1U);
    EXPECT_EQ(scene.baked.clippedTriangleOrigins.size(), 1U);
}

// Throws when a triangle is requested the given number of times.
class ThrowingMesh : public kx::kxTriMesh {
public:
    using kx::kxTriMesh::kxTriMesh;

    bool GetTriangle(int i, int& a, int& b, int& c) const override {
        if (requests++ == patience) {
            throw std::runtime_error("no more triangles");
        }
        return kx::kxTriMesh::GetTriangle(i, a, b, c);
    }

    int patience = 0;
    mutable int requests = 0;
};

// That nothing leaks is for the address sanitizer to say.
TEST(BakedTriangles, AnExceptionOfTheMeshPassesThroughAndDoesNoHarm) {
    MeshData data = Triangle(kA, kBeyondRight, kC);
    data.append(Triangle(kA, kB, kC));
    data.append(Triangle(kA, kC, kB));
    data.append(Triangle(kA, kC, kBeyondRight));
    const BakedMeshes scene({data});
    const kx::kxPointer<ThrowingMesh> mesh(
        new ThrowingMesh(scene.meshes[0]->GetVertexBuffer(), scene.meshes[0]->GetIndexBuffer()));
    BakedTriangles baked;
    baked.setProjectionSpace(&scene.space);
    baked.setMeshes({scene.meshes[0].get(), mesh.get()});
    for (; mesh->patience < 4; ++mesh->patience, mesh->requests = 0) {
        EXPECT_THROW(baked.initialize(), std::runtime_error) << mesh->patience;
    }
    mesh->patience = -1;
    baked.initialize();
    EXPECT_EQ(baked.trianglePlanes.size(), 2 * scene.baked.trianglePlanes.size());
}

// --- the first pass ---

TEST(BakedTrianglesFirstPass, CountsAndClips) {
    MeshData data = Triangle(kA, kBeyondRight, kC);
    data.append(Triangle(Point(20, 0, 0), Point(30, 0, 0), Point(20, 5, 0)));
    data.append(Triangle(kA, kB, kC));
    const BakedMeshes scene({data});
    BakedTriangles::tFirstPassData pass;
    scene.baked.initializeFirstPass(pass);
    EXPECT_EQ(pass.vertexCount, 9U + 4U);
    EXPECT_EQ(pass.triangleCount, 1U + 2U);
    ASSERT_EQ(pass.clippedPolygons.size(), 1U);
    ASSERT_EQ(pass.clippedPolygons[0].size(), 1U);
    const auto& polygon = pass.clippedPolygons[0].front();
    EXPECT_EQ(polygon.vertexCount, 4U);
    EXPECT_EQ(polygon.sourceTriangle, 0U);
    EXPECT_EQ(polygon.edgeCodes, 1U | 2U << 2U | 0U << 4U | 3U << 6U);
    ASSERT_EQ(pass.insideTriangles.size(), 1U);
    EXPECT_EQ(pass.insideTriangles[0][0], 4U);
}

TEST(BakedTrianglesFirstPass, MarksTrianglesBeyondTheFirst32) {
    MeshData data;
    for (int i = 0; i < 70; ++i) {
        data.append(i == 33 || i == 69 ? Triangle(kA, kB, kC) : Triangle(-kA, -kB, -kC));
    }
    const BakedMeshes scene({data});
    BakedTriangles::tFirstPassData pass;
    scene.baked.initializeFirstPass(pass);
    EXPECT_EQ(pass.insideTriangles[0][0], 0U);
    EXPECT_EQ(pass.insideTriangles[0][1], 2U);
    EXPECT_EQ(pass.insideTriangles[0][2], 32U);
    EXPECT_EQ(scene.baked.triangleIndices, (Numbers{99, 100, 101, 207, 208, 209}));
}

TEST(BakedTrianglesFirstPass, StartsOverOnUsedData) {
    const BakedMeshes scene({Triangle(kA, kBeyondRight, kC), Triangle(kA, kB, kC)});
    BakedTriangles::tFirstPassData pass;
    scene.baked.initializeFirstPass(pass);
    scene.baked.initializeFirstPass(pass);
    EXPECT_EQ(pass.vertexCount, 6U + 4U);
    EXPECT_EQ(pass.triangleCount, 3U);
    ASSERT_EQ(pass.clippedPolygons.size(), 2U);
    EXPECT_EQ(pass.clippedPolygons[0].size(), 1U);
    EXPECT_TRUE(pass.clippedPolygons[1].empty());
}

TEST(BakedTrianglesFirstPass, CountsTrianglesThatAreDroppedLater) {
    const BakedMeshes scene({Triangle(Point(1, 1, 1), Point(5, 5, 1), Point(3, 3, 9))});
    BakedTriangles::tFirstPassData pass;
    scene.baked.initializeFirstPass(pass);
    EXPECT_EQ(pass.triangleCount, 1U);
    EXPECT_TRUE(scene.baked.triangleIndices.empty());
}

// --- the tree ---

TEST(BakedTrianglesTree, HoldsEveryTriangleOnceInBoxesOfGridCoordinates) {
    const auto height = [](int x, int y) { return static_cast<float>((x * 5 + y * 3) % 7); };
    const BakedMeshes flat({test_support::GridOfQuads(40, 40, height)}, LatticeSpace(6, 4));
    EXPECT_EQ(CheckTree(flat.baked), "");
    const BakedMeshes ball({test_support::Sphere(Point(0, 0, 4), 2, 24, 12)},
                           test_support::PerspectiveSpace(10, 10, 1, 1, 8));
    EXPECT_EQ(CheckTree(ball.baked), "");
    EXPECT_EQ(ball.baked.trianglePlanes.size(), ball.baked.triangleIndices.size() / 3);
}

// Three triangles under a tree of our own: an inner node whose spare bits are set, a leaf of two,
// an empty leaf.
BakedMeshes& PutOwnTree(BakedMeshes& scene) {
    kx::kxGenericBVH& bvh = scene.baked.bvh;
    bvh.primitives = {2, 0};
    bvh.nodes.assign(3, {});
    bvh.nodes[0].first = 0x80000000U | 1U;
    bvh.nodes[0].second = 0xf0000000U | 2U;
    bvh.nodes[1].first = 0xc0000000U;
    bvh.nodes[1].second = 2;
    bvh.nodes[2].first = 0xc0000000U | 2U;
    bvh.nodes[2].second = 0;
    return scene;
}

TEST(BakedTrianglesTree, BoxesFollowTheNodeWords) {
    BakedMeshes scene({Triangle(Point(1, 1, 1), Point(4, 1, 2), Point(1, 4, 3)),
                       Triangle(Point(9, 9, 9), Point(14, 9, 9), Point(9, 14, 9)),
                       Triangle(Point(5, 2, 7), Point(8, 2, 7), Point(5, 6, 8))});
    BakedTriangles& baked = PutOwnTree(scene).baked;
    EXPECT_EQ(baked.computeBakedBVHBBox(0), 3U);
    const kx::kxBBox both = {{1, 1, 1}, {8, 6, 8}};
    EXPECT_EQ(baked.bvh.nodes[1].box, both);
    EXPECT_EQ(baked.bvh.nodes[2].box, kx::kxBBox());
    EXPECT_EQ(baked.bvh.nodes[0].box, both);
}

TEST(BakedTrianglesTree, ASubtreeIsRecomputedByItself) {
    BakedMeshes scene({Triangle(Point(1, 1, 1), Point(4, 1, 2), Point(1, 4, 3)),
                       Triangle(Point(9, 9, 9), Point(14, 9, 9), Point(9, 14, 9)),
                       Triangle(Point(5, 2, 7), Point(8, 2, 7), Point(5, 6, 8))});
    BakedTriangles& baked = PutOwnTree(scene).baked;
    EXPECT_EQ(baked.computeBakedBVHBBox(1), 1U);
    EXPECT_EQ(baked.bvh.nodes[1].box, (kx::kxBBox{{1, 1, 1}, {8, 6, 8}}));
    EXPECT_EQ(baked.bvh.nodes[0].box, kx::kxBBox());
}

// --- the mesh for inspection ---

Point BackToWorld(const ctr::DiscreteProjectionSpace& space, const ctr::BakedVertex& v) {
    const Coordinates steps = CoordinatesOf(v);
    float ndc[3];
    for (int axis = 0; axis < 3; ++axis) {
        ndc[axis] =
            static_cast<float>(steps[static_cast<std::size_t>(axis)]) * space.voxelSize[axis] +
            space.frustumMin[axis];
    }
    const Wm4::Matrix4<float>& m = space.clipToWorld;
    float p[4];
    for (int i = 0; i < 4; ++i) {
        p[i] = ndc[0] * m[0][i] + ndc[1] * m[1][i] + ndc[2] * m[2][i] + m[3][i];
    }
    return {p[0] / p[3], p[1] / p[3], p[2] / p[3]};
}

TEST(BakedMesh, HasTheBakedTrianglesInWorldSpace) {
    for (const auto& space :
         {test_support::PerspectiveSpace(8, 8, 1, 1, 8), test_support::SlantedSpace(7, 9, 9)}) {
        const BakedMeshes scene({test_support::Sphere(Point(0.5F, 0, 4), 3.75F, 9, 6),
                                 Triangle(Point(0, 0, 3), Point(1, 0, 3), Point(0, 1, 30))},
                                space);
        const kx::kxPointer<kx::kxTriMesh> mesh(scene.baked.computeBakedMesh());
        ASSERT_TRUE(mesh);
        const kx::kxVertexBuffer& vertices = *mesh->GetVertexBuffer();
        ASSERT_EQ(vertices.GetVertexQuantity(), static_cast<int>(scene.baked.vertices.size()));
        EXPECT_EQ(vertices.GetAttributes().GetPositionChannels(), 3);
        for (int i = 0; i < vertices.GetVertexQuantity(); ++i) {
            const Point expected =
                BackToWorld(space, scene.baked.vertices[static_cast<std::size_t>(i)]);
            ASSERT_EQ(vertices.Position3(i), expected) << i;
        }
        const kx::kxIndexBuffer& indices = *mesh->GetIndexBuffer();
        EXPECT_EQ(indices.GetIndexBufferType(), kx::IBT_TRIANGLES);
        EXPECT_EQ(Numbers(indices.GetData(), indices.GetData() + indices.GetIndexQuantity()),
                  scene.baked.triangleIndices);
    }
}

TEST(BakedMesh, IsEmptyWhenNothingWasBaked) {
    const auto space = LatticeSpace(4, 4);
    const BakedTriangles baked = Bake(space, {});
    const kx::kxPointer<kx::kxTriMesh> mesh(baked.computeBakedMesh());
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->GetVertexBuffer()->GetVertexQuantity(), 0);
    EXPECT_EQ(mesh->GetTriangleQuantity(), 0);
}

// --- random scenes ---

struct BakingCounts {
    int whole = 0;
    int clipped = 0;
    int outside = 0;
    int edgeOn = 0;
    int unusable = 0;
    int nullMeshes = 0;
    int severalMeshes = 0;
};

void Count(BakingCounts& counts, const test_support::Scene& scene, const ExactBaked& exact) {
    counts.clipped += exact.trianglesClipped;
    counts.outside += exact.trianglesOutside;
    counts.edgeOn += exact.trianglesEdgeOn;
    counts.unusable += exact.trianglesUnusable;
    counts.whole += static_cast<int>(exact.triangles.size());
    for (const auto& origins : exact.origins) {
        counts.whole -= static_cast<int>(origins.size());
    }
    for (const auto& mesh : scene.meshes) {
        counts.nullMeshes += mesh ? 0 : 1;
    }
    counts.severalMeshes += scene.meshes.size() > 1 ? 1 : 0;
}

TEST(BakedTriangles, RandomScenesAreBakedExactly) {
    const int scenes = Scaled(20000);
    BakingCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        const auto scene = test_support::RandomScene(static_cast<std::uint64_t>(seed));
        const ExactBaked exact = BakeExactly(scene.space, scene.meshList());
        Count(counts, scene, exact);
        ASSERT_EQ(CompareBaking(exact, Bake(scene.space, scene.meshList())), "")
            << test_support::Describe(scene);
    }
    RecordProperty("whole_triangles", counts.whole);
    RecordProperty("clipped_triangles", counts.clipped);
    RecordProperty("triangles_outside", counts.outside);
    RecordProperty("triangles_edge_on", counts.edgeOn);
    RecordProperty("triangles_unusable", counts.unusable);
    EXPECT_GT(counts.whole, scenes * 3);
    EXPECT_GT(counts.clipped, scenes);
    EXPECT_GT(counts.outside, scenes / 2);
    EXPECT_GT(counts.edgeOn, scenes);
    EXPECT_GT(counts.unusable, scenes / 50);
    EXPECT_GT(counts.nullMeshes, scenes / 10);
    EXPECT_GT(counts.severalMeshes, scenes / 3);
}

TEST(BakedTriangles, RandomScenesAreBakedExactlyOnFineGrids) {
    constexpr unsigned int kBits[][2] = {{20, 19}, {28, 3}, {14, 30}, {2, 30}, {24, 11}};
    for (int seed = 0; seed < Scaled(2000); ++seed) {
        auto scene = test_support::RandomScene(static_cast<std::uint64_t>(seed));
        ASSERT_TRUE(scene.space.setVoxelBitSize(kBits[seed % 5][0], kBits[seed % 5][1]));
        ASSERT_EQ(CompareBaking(BakeExactly(scene.space, scene.meshList()),
                                Bake(scene.space, scene.meshList())),
                  "")
            << test_support::Describe(scene);
    }
}

// --- bit sizes that make no useful grid ---

// The sum that limits the sizes is computed in 32 bits, so very large ones pass too.
constexpr unsigned int kStrangeSizes[][2] = {
    {2, 55},          {2, 31},           {2, 32},           {2, 33},           {13, 33},
    {0x80000002U, 2}, {0x80000002U, 55}, {0x80000014U, 19}, {3, 0xfffffffcU},  {31, 0xfffffff0U},
    {0xffffffffU, 2}, {0xffffffffU, 61}, {29, 0xffffffffU}, {0x7fffffffU, 61}, {30, 0xfffffffeU}};

void UseEverything(const BakedTriangles& baked) {
    std::vector<ctr::RationalInterval> hidden;
    for (std::size_t i = 1; i < baked.triangleIndices.size(); ++i) {
        baked.computeOcclusionIntervals(baked.vertices[baked.triangleIndices[i - 1]],
                                        baked.vertices[baked.triangleIndices[i]], hidden);
    }
    std::vector<ctr::LineSegmentSet*> sets;
    baked.computeSilhouetteEdges(sets);
    for (ctr::LineSegmentSet* set : sets) {
        delete set;
    }
    const kx::kxPointer<kx::kxTriMesh> mesh(baked.computeBakedMesh());
}

TEST(BakedTriangles, EveryAcceptedBitSizeBakesWithoutHarm) {
    for (int seed = 0; seed < Scaled(600); ++seed) {
        auto scene = test_support::RandomScene(static_cast<std::uint64_t>(seed));
        const auto& size = kStrangeSizes[seed % std::ssize(kStrangeSizes)];
        ASSERT_TRUE(scene.space.setVoxelBitSize(size[0], size[1])) << size[0] << ' ' << size[1];
        const BakedTriangles baked = Bake(scene.space, scene.meshList());
        for (const ctr::BakedVertex& v : baked.vertices) {
            ASSERT_GE(std::min({v.x, v.y, v.z}), 0) << size[0] << ' ' << size[1];
        }
        ASSERT_EQ(baked.triangleIndices.size(), 3 * baked.trianglePlanes.size());
        UseEverything(baked);
    }
}

} // namespace
