// What the edges of small surfaces are, and of random ones by definition.
#include "features/OpenEdges.h"

#include "features/SurfaceShapes.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace {

using ctr::EdgeSurvey;
using ctr::OpenEdge;
using ctr::Sides;
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

EdgeSurvey SurveyOf(const MeshData& data) {
    const Buffers buffers = BuffersOf(data);
    return SurveyEdges(Sides(*buffers.vertices, *buffers.triangles));
}

TEST(SurveyEdges, FindsEdgesOfOneFace) {
    EXPECT_TRUE(SurveyOf(Unwelded(Box(Point(0, 0, 0), Point(1, 1, 1)))).open.empty());
    EXPECT_EQ(SurveyOf(Box(Point(0, 0, 0), Point(1, 1, 1))).edges, 18U);
    const EdgeSurvey quad =
        SurveyOf(Quad(Point(0, 0, 0), Point(1, 0, 0), Point(1, 1, 0), Point(0, 1, 0)));
    EXPECT_EQ(quad.edges, 5U);
    EXPECT_EQ(quad.open, (std::vector<std::uint32_t>{0, 1, 4, 5}));
}

TEST(SurveyEdges, CountsEdgesOfManyFaces) {
    const EdgeSurvey fan = SurveyOf(
        Fan(Point(0, 0, 0), Point(0, 0, 1), {Point(1, 0, 0), Point(0, 1, 0), Point(-1, 0, 0)}));
    EXPECT_EQ(fan.crowded, 1U);
    EXPECT_EQ(fan.open.size(), 6U);
}

TEST(SurveyEdges, TakesTheLaterOfFacesGivenTwice) {
    MeshData data = Triangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0));
    data.append(Triangle(Point(5, 0, 0), Point(6, 0, 0), Point(5, 1, 0)));
    data.append(Flipped(Triangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0))));
    data.append(Triangle(Point(1, 0, 0), Point(0, 1, 0), Point(0, 0, 0)));
    const EdgeSurvey survey = SurveyOf(data);
    EXPECT_EQ(survey.doubled, (std::vector<std::uint32_t>{2, 3}));
    EXPECT_EQ(survey.open, (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5})) << "of the faces left";
    EXPECT_EQ(survey.crowded, 0U);
}

TEST(SurveyEdges, IsRightByDefinition) {
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        test_support::Random random(seed);
        MeshData data;
        const int side = 2 + random.below(3);
        const auto place = [&] {
            return Point(static_cast<float>(random.below(side)),
                         static_cast<float>(random.below(side)),
                         static_cast<float>(random.below(2)));
        };
        std::vector<std::set<std::array<float, 3>>> faces;
        for (int i = random.below(40); i-- > 0;) {
            const Point a = place();
            const Point b = place();
            const Point c = place();
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
        const EdgeSurvey survey = SurveyOf(data);
        EXPECT_EQ(survey.edges, edges.size()) << seed;
        EXPECT_EQ(survey.open.size(), ofFaces([](std::size_t n) { return n == 1; })) << seed;
        EXPECT_EQ(survey.crowded, ofFaces([](std::size_t n) { return n > 2; })) << seed;
        EXPECT_EQ(survey.doubled.size(), doubled) << seed;
    }
}

TEST(MeasureOpenEdges, SaysWhereTheTriangleLies) {
    const Buffers buffers = BuffersOf(Triangle(Point(0, 0, 0), Point(4, 0, 0), Point(1, 3, 0)));
    const Sides sides(*buffers.vertices, *buffers.triangles);
    const auto edges =
        MeasureOpenEdges(SurveyEdges(sides), sides, *buffers.vertices, *buffers.triangles);
    ASSERT_EQ(edges.size(), 3U);
    EXPECT_EQ(edges[0].length, 4.0);
    EXPECT_EQ(edges[0].height, 3.0);
    EXPECT_EQ(edges[0].inward, Wm4::Vector3<double>(0, 1, 0));
    EXPECT_EQ(edges[0].triangle(), 0U);
}

TEST(FoldsBack, TellsThinPartsFromNeighbours) {
    const auto edgeOf = [](const Point& tip) {
        const Buffers buffers = BuffersOf(Triangle(Point(0, 0, 0), Point(9, 0, 0), tip));
        const Sides sides(*buffers.vertices, *buffers.triangles);
        return MeasureOpenEdges(SurveyEdges(sides), sides, *buffers.vertices,
                                *buffers.triangles)[0];
    };
    const OpenEdge flat = edgeOf(Point(4, 5, 0));
    EXPECT_TRUE(FoldsBack(flat, edgeOf(Point(1, 2, 0.1F))));
    EXPECT_FALSE(FoldsBack(flat, edgeOf(Point(1, 5, 2)))) << "a wedge of 22 degrees";
    EXPECT_FALSE(FoldsBack(flat, edgeOf(Point(4, 0, 5))));
    EXPECT_FALSE(FoldsBack(flat, edgeOf(Point(4, -5, 0))));
}

} // namespace
