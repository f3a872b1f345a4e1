// Classification of the edges of small surfaces, and of random ones against the definition.
#include "features/BoundaryEdges.h"

#include "features/SurfaceShapes.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace {

using ctr::BoundaryEdge;
using ctr::EdgeClasses;
using ctr::HalfEdges;
using features_test::Buffers;
using features_test::BuffersOf;
using test_support::Box;
using test_support::Fan;
using test_support::Flipped;
using test_support::MeshData;
using test_support::Point;
using test_support::Quad;
using test_support::Triangle;
using test_support::Unwelded;

EdgeClasses ClassesOf(const MeshData& data) {
    const Buffers buffers = BuffersOf(data);
    return ClassifyEdges(HalfEdges(*buffers.vertices, *buffers.triangles));
}

TEST(ClassifyEdges, FindsEdgesOfOneFace) {
    EXPECT_TRUE(ClassesOf(Unwelded(Box(Point(0, 0, 0), Point(1, 1, 1)))).boundary.empty());
    EXPECT_EQ(ClassesOf(Box(Point(0, 0, 0), Point(1, 1, 1))).edges, 18U);
    const EdgeClasses quad =
        ClassesOf(Quad(Point(0, 0, 0), Point(1, 0, 0), Point(1, 1, 0), Point(0, 1, 0)));
    EXPECT_EQ(quad.edges, 5U);
    EXPECT_EQ(quad.boundary, (std::vector<std::uint32_t>{0, 1, 4, 5}));
}

TEST(ClassifyEdges, CountsEdgesOfManyFaces) {
    const EdgeClasses fan = ClassesOf(
        Fan(Point(0, 0, 0), Point(0, 0, 1), {Point(1, 0, 0), Point(0, 1, 0), Point(-1, 0, 0)}));
    EXPECT_EQ(fan.nonManifold, 1U);
    EXPECT_EQ(fan.boundary.size(), 6U);
}

TEST(ClassifyEdges, TakesTheLaterOfFacesGivenTwice) {
    MeshData data = Triangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0));
    data.append(Triangle(Point(5, 0, 0), Point(6, 0, 0), Point(5, 1, 0)));
    data.append(Flipped(Triangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0))));
    data.append(Triangle(Point(1, 0, 0), Point(0, 1, 0), Point(0, 0, 0)));
    const EdgeClasses classes = ClassesOf(data);
    EXPECT_EQ(classes.duplicates, (std::vector<std::uint32_t>{2, 3}));
    EXPECT_EQ(classes.boundary, (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5}))
        << "of the faces left";
    EXPECT_EQ(classes.nonManifold, 0U);
}

TEST(ClassifyEdges, IsRightByDefinition) {
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        test_support::Random random(seed);
        MeshData data;
        const int side = 2 + random.below(3);
        const auto point = [&] {
            return Point(static_cast<float>(random.below(side)),
                         static_cast<float>(random.below(side)),
                         static_cast<float>(random.below(2)));
        };
        std::vector<std::set<std::array<float, 3>>> faces;
        for (int i = random.below(40); i-- > 0;) {
            const Point a = point();
            const Point b = point();
            const Point c = point();
            if (a != b && b != c && c != a) {
                data.addTriangle(a, b, c);
                faces.push_back({{a[0], a[1], a[2]}, {b[0], b[1], b[2]}, {c[0], c[1], c[2]}});
            }
        }
        std::map<std::set<std::array<float, 3>>, std::set<std::set<std::array<float, 3>>>> edges;
        std::size_t doubled = 0;
        for (std::size_t i = 0; i < faces.size(); ++i) {
            doubled += std::count(faces.begin(), faces.begin() + static_cast<std::ptrdiff_t>(i),
                                  faces[i]) > 0
                           ? 1
                           : 0;
            for (const auto& left : faces[i]) {
                std::set<std::array<float, 3>> edge = faces[i];
                edge.erase(left);
                edges[edge].insert(faces[i]);
            }
        }
        const auto ofFaces = [&](auto holds) {
            return static_cast<std::size_t>(std::count_if(
                edges.begin(), edges.end(), [&](const auto& e) { return holds(e.second.size()); }));
        };
        const EdgeClasses classes = ClassesOf(data);
        EXPECT_EQ(classes.edges, edges.size()) << seed;
        EXPECT_EQ(classes.boundary.size(), ofFaces([](std::size_t n) { return n == 1; })) << seed;
        EXPECT_EQ(classes.nonManifold, ofFaces([](std::size_t n) { return n > 2; })) << seed;
        EXPECT_EQ(classes.duplicates.size(), doubled) << seed;
    }
}

TEST(MeasureBoundaryEdges, SaysWhereTheTriangleLies) {
    const Buffers buffers = BuffersOf(Triangle(Point(0, 0, 0), Point(4, 0, 0), Point(1, 3, 0)));
    const HalfEdges halfEdges(*buffers.vertices, *buffers.triangles);
    const auto edges = MeasureBoundaryEdges(ClassifyEdges(halfEdges), halfEdges, *buffers.vertices,
                                            *buffers.triangles);
    ASSERT_EQ(edges.size(), 3U);
    EXPECT_EQ(edges[0].length, 4.0);
    EXPECT_EQ(edges[0].height, 3.0);
    EXPECT_EQ(edges[0].inward, Wm4::Vector3<double>(0, 1, 0));
    EXPECT_EQ(edges[0].triangle(), 0U);
}

TEST(FoldsBack, TellsThinPartsFromNeighbours) {
    const auto edgeOf = [](const Point& tip) {
        const Buffers buffers = BuffersOf(Triangle(Point(0, 0, 0), Point(9, 0, 0), tip));
        const HalfEdges halfEdges(*buffers.vertices, *buffers.triangles);
        return MeasureBoundaryEdges(ClassifyEdges(halfEdges), halfEdges, *buffers.vertices,
                                    *buffers.triangles)[0];
    };
    const BoundaryEdge flat = edgeOf(Point(4, 5, 0));
    EXPECT_TRUE(FoldsBack(flat, edgeOf(Point(1, 2, 0.1F))));
    EXPECT_FALSE(FoldsBack(flat, edgeOf(Point(1, 5, 2)))) << "a wedge of 22 degrees";
    EXPECT_FALSE(FoldsBack(flat, edgeOf(Point(4, 0, 5))));
    EXPECT_FALSE(FoldsBack(flat, edgeOf(Point(4, -5, 0))));
}

} // namespace
