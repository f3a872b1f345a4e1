// Polygons of all shapes, and the triangles that they are cut into.
#include "import/formats/PolygonTriangulation.h"

#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using kxcontour::FilePoint;
using kxcontour::PolygonTriangulator;
using Indices = std::vector<std::uint32_t>;

/// Twice the area of a triangle in the plane z = 0, over 0 when counter-clockwise.
double AreaOf(const FilePoint& a, const FilePoint& b, const FilePoint& c) {
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

double AreaOf(const std::vector<FilePoint>& polygon) {
    double area = 0.0;
    for (std::size_t i = 1; i + 1 < polygon.size(); ++i) {
        area += AreaOf(polygon[0], polygon[i], polygon[i + 1]);
    }
    return area;
}

/// The triangles of a counter-clockwise polygon are so, too, have an area each and fill it.
void ExpectFilled(const std::vector<FilePoint>& polygon) {
    PolygonTriangulator triangulator;
    const Indices triangles = triangulator.triangulate(polygon);
    ASSERT_EQ(triangles.size(), 3 * (polygon.size() - 2));
    double sum = 0.0;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        const double area =
            AreaOf(polygon[triangles[i]], polygon[triangles[i + 1]], polygon[triangles[i + 2]]);
        EXPECT_GT(area, 0.0) << "triangle " << i / 3;
        sum += area;
    }
    EXPECT_NEAR(sum, AreaOf(polygon), 1e-9 * AreaOf(polygon));
}

TEST(PolygonTriangulator, CutsConvexPolygonsAsFans) {
    PolygonTriangulator triangulator;
    EXPECT_EQ(triangulator.triangulate({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}), (Indices{0, 1, 2}));
    EXPECT_EQ(triangulator.triangulate({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}),
              (Indices{0, 1, 2, 0, 2, 3}));
}

TEST(PolygonTriangulator, KeepsTheOrderOfPolygonsInAnyPlane) {
    PolygonTriangulator triangulator;
    for (const int axis : {0, 1, 2}) {
        std::vector<FilePoint> corners{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
        for (FilePoint& corner : corners) {
            std::rotate(corner.begin(), corner.begin() + axis, corner.end());
        }
        EXPECT_EQ(triangulator.triangulate(corners), (Indices{0, 1, 2, 0, 2, 3})) << axis;
        std::reverse(corners.begin(), corners.end());
        EXPECT_EQ(triangulator.triangulate(corners), (Indices{0, 1, 2, 0, 2, 3})) << axis;
    }
}

TEST(PolygonTriangulator, StaysWithinConcavePolygons) {
    ExpectFilled({{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {1, 0.5, 0}, {0, 2, 0}});
    ExpectFilled({{2, 0, 0}, {2, 2, 0}, {1, 0.5, 0}, {0, 0, 0}});
    ExpectFilled(
        {{0, 0, 0}, {4, 0, 0}, {4, 3, 0}, {3, 3, 0}, {3, 1, 0}, {1, 1, 0}, {1, 3, 0}, {0, 3, 0}});
}

TEST(PolygonTriangulator, GivesCornersOnStraightSidesTrianglesWithAnArea) {
    ExpectFilled(
        {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {2, 2, 0}, {1, 2, 0}, {0, 2, 0}, {0, 1, 0}});
}

TEST(PolygonTriangulator, CutsStarsOfAllKinds) {
    test_support::Random random(11);
    for (int round = 0; round < 200; ++round) {
        const int count = 4 + static_cast<int>(random.below(60));
        std::vector<FilePoint> star;
        for (int i = 0; i < count; ++i) {
            const double angle = 6.283185307179586 * i / count;
            const double radius = 1.0 + static_cast<double>(random.below(1000)) / 100.0;
            star.push_back({radius * std::cos(angle), radius * std::sin(angle), 0.0});
        }
        ExpectFilled(star);
    }
}

TEST(PolygonTriangulator, CutsABridgeToAHole) {
    // A square with a square hole, whose border is reached and left along one line.
    ExpectFilled({{0, 0, 0},
                  {4, 0, 0},
                  {4, 4, 0},
                  {0, 4, 0},
                  {0, 0, 0},
                  {1, 1, 0},
                  {1, 3, 0},
                  {3, 3, 0},
                  {3, 1, 0},
                  {1, 1, 0}});
}

TEST(PolygonTriangulator, EndsWhateverTheCorners) {
    PolygonTriangulator triangulator;
    EXPECT_TRUE(triangulator.triangulate({}).empty());
    EXPECT_TRUE(triangulator.triangulate({{0, 0, 0}, {1, 0, 0}}).empty());
    const std::vector<FilePoint> line{{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}};
    EXPECT_EQ(triangulator.triangulate(line).size(), 9U);
    const std::vector<FilePoint> crossed{{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}};
    EXPECT_EQ(triangulator.triangulate(crossed).size(), 6U);
    const std::vector<FilePoint> broken{
        {0, 0, 0}, {NAN, 1, 0}, {1, INFINITY, 0}, {1e308, 1e308, 0}};
    EXPECT_EQ(triangulator.triangulate(broken).size(), 6U);
}

} // namespace
