// Feature edges of meshes with known sharp edges, and of random ones against a std::map.
#include <ctr/Surface.h>

#include "features/SurfaceShapes.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <utility>

namespace {

using features_test::BuffersOf;
using test_support::Box;
using test_support::Fan;
using test_support::Flipped;
using test_support::MeshData;
using test_support::Point;
using test_support::Prism;
using test_support::Quad;
using test_support::Random;
using test_support::Sphere;
using test_support::Triangle;
using test_support::Unwelded;

using Matrix = Wm4::Matrix4<double>;
using Position = std::array<float, 3>;
using Line = std::pair<Position, Position>;

Position PositionOf(const Point& p) {
    // The sum turns -0 into 0, so that both are one key.
    return {p[0] + 0.0F, p[1] + 0.0F, p[2] + 0.0F};
}

Line MakeLine(const Point& a, const Point& b) {
    return {std::min(PositionOf(a), PositionOf(b)), std::max(PositionOf(a), PositionOf(b))};
}

/// The lines of an outline in the order in which they come.
std::vector<Line> LinesOf(const MeshData& data, double angle, const Matrix& world = Matrix(false)) {
    const features_test::Buffers buffers = BuffersOf(data);
    const ctr::Surface surface(buffers.vertices, buffers.triangles);
    const kx::kxPointer<kx::kxIndexBuffer> outline =
        surface.featureEdges(angle, world)->getIBuffer();
    EXPECT_EQ(outline->GetIndexBufferType(), kx::IBT_LINES);
    std::vector<Line> lines;
    for (int i = 0; i + 1 < outline->GetIndexQuantity(); i += 2) {
        const unsigned int* ends = outline->GetData() + i;
        lines.push_back(MakeLine(data.positions.at(ends[0]), data.positions.at(ends[1])));
    }
    return lines;
}

std::set<Line> LineSet(const MeshData& data, double angle, const Matrix& world = Matrix(false)) {
    const std::vector<Line> lines = LinesOf(data, angle, world);
    std::set<Line> different(lines.begin(), lines.end());
    EXPECT_EQ(different.size(), lines.size()) << "a line is there twice";
    return different;
}

std::set<Line> EdgesOfUnitCube() {
    std::set<Line> edges;
    for (int axis = 0; axis < 3; ++axis) {
        for (int corner = 0; corner < 4; ++corner) {
            Point a(0, 0, 0);
            a[(axis + 1) % 3] = static_cast<float>(corner & 1);
            a[(axis + 2) % 3] = static_cast<float>(corner >> 1);
            Point b = a;
            b[axis] = 1;
            edges.insert(MakeLine(a, b));
        }
    }
    return edges;
}

/// Scales along the axes and then moves.
Matrix ScaleAndMove(double sx, double sy, double sz, double x, double y, double z) {
    return {sx, 0, 0, 0, 0, sy, 0, 0, 0, 0, sz, 0, x, y, z, 1};
}

MeshData UnitCube() {
    return Box({0, 0, 0}, {1, 1, 1});
}

std::vector<Wm4::Vector2<float>> RegularPolygon(int sides) {
    std::vector<Wm4::Vector2<float>> corners;
    for (int i = 0; i < sides; ++i) {
        const double angle = 2.0 * 3.14159265358979323846 * i / sides;
        corners.emplace_back(static_cast<float>(std::cos(angle)),
                             static_cast<float>(std::sin(angle)));
    }
    return corners;
}

TEST(FindSharpEdges, OfACubeIsItsTwelveEdges) {
    EXPECT_EQ(LineSet(UnitCube(), 30.0), EdgesOfUnitCube());
}

TEST(FindSharpEdges, IsTheSameWhetherVerticesAreSharedOrNot) {
    EXPECT_EQ(LineSet(Unwelded(UnitCube()), 30.0), EdgesOfUnitCube());
}

TEST(FindSharpEdges, TakesBendsOverTheAngleOnly) {
    EXPECT_EQ(LineSet(UnitCube(), 89.0).size(), 12U);
    EXPECT_EQ(LineSet(UnitCube(), 91.0).size(), 0U);
    EXPECT_EQ(LineSet(UnitCube(), 179.9).size(), 0U);
}

TEST(FindSharpEdges, TakesNoBendOfExactlyTheAngleWhateverTheRounding) {
    // The sides of the prism bend by 30 degrees and a few millionths more or less.
    const MeshData prism = Prism(RegularPolygon(12), 0.0F, 1.0F);
    EXPECT_EQ(LineSet(prism, 30.0).size(), 24U) << "the two rims";
    EXPECT_EQ(LineSet(prism, 29.9).size(), 36U) << "and the twelve sides";
    EXPECT_EQ(LineSet(UnitCube(), 90.0).size(), 0U);
}

TEST(FindSharpEdges, OfOneTriangleIsItsThreeSides) {
    EXPECT_EQ(LineSet(Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0}), 179.0).size(), 3U);
}

TEST(FindSharpEdges, OfAFlatQuadIsItsBorder) {
    const MeshData quad = Quad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0});
    const std::set<Line> lines = LineSet(quad, 0.1);
    EXPECT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines.count(MakeLine({0, 0, 0}, {1, 1, 0})), 0U) << "the diagonal";
}

TEST(FindSharpEdges, TakesEveryEdgeOfThreeFaces) {
    // The first two triangles lie in one plane: the edge would not show without the third.
    const MeshData fan = Fan({0, 0, 0}, {0, 0, 1}, {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}});
    EXPECT_EQ(LineSet(fan, 179.0).count(MakeLine({0, 0, 0}, {0, 0, 1})), 1U);
}

TEST(FindSharpEdges, DoesNotDependOnTheWayTrianglesAreTurned) {
    // Each triangle turned inside out by itself: neighbours run along their edge the same way.
    MeshData cube = UnitCube();
    for (std::size_t i = 0; i < cube.indices.size(); i += 6) {
        std::swap(cube.indices[i], cube.indices[i + 1]);
    }
    EXPECT_EQ(LineSet(cube, 30.0), EdgesOfUnitCube());
    EXPECT_EQ(LineSet(Flipped(UnitCube()), 30.0), EdgesOfUnitCube());
}

TEST(FindSharpEdges, OfASurfaceGivenTwiceIsTheSameAsOnce) {
    MeshData bothSides = UnitCube();
    bothSides.append(Flipped(UnitCube()));
    EXPECT_EQ(LineSet(bothSides, 30.0), EdgesOfUnitCube());
    const MeshData once = Quad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0});
    MeshData twice = once;
    twice.append(once);
    EXPECT_EQ(LineSet(twice, 30.0).size(), 4U);
}

TEST(FindSharpEdges, TakesBothZerosForOnePoint) {
    MeshData quad;
    quad.addTriangle(Point(0.0F, 0.0F, 0.0F), Point(1.0F, 0.0F, 0.0F), Point(1.0F, 1.0F, 0.0F));
    quad.addTriangle(Point(-0.0F, 0.0F, -0.0F), Point(1.0F, 1.0F, -0.0F), Point(-0.0F, 1.0F, 0.0F));
    EXPECT_EQ(LineSet(quad, 30.0).size(), 4U);
}

TEST(FindSharpEdges, TakesPlacesThatDifferInOneBitForTwo) {
    MeshData quad;
    const float near1 = std::nextafter(1.0F, 2.0F);
    quad.addTriangle(Point(0, 0, 0), Point(1, 0, 0), Point(1, 1, 0));
    quad.addTriangle(Point(0, 0, 0), Point(near1, 1, 0), Point(0, 1, 0));
    EXPECT_EQ(LineSet(quad, 30.0).size(), 6U);
}

TEST(FindSharpEdges, OfASmoothPartIsEmptyAndNotNull) {
    const MeshData sphere = Sphere({1, 2, 3}, 5.0F, 48, 24);
    EXPECT_TRUE(LineSet(sphere, 30.0).empty());
    EXPECT_TRUE(LineSet(Unwelded(sphere), 30.0).empty());
}

TEST(FindSharpEdges, FindsTheLoneSharpEdgeOnASmoothPart) {
    // A shallow roof of many strips, with one ridge of 60 degrees in the middle.
    MeshData roof;
    const auto height = [](int x) { return -0.57735F * static_cast<float>(std::abs(x)); };
    for (int x = -5; x < 5; ++x) {
        const auto fx = static_cast<float>(x);
        roof.append(Quad({fx, 0, height(x)}, {fx + 1, 0, height(x + 1)}, {fx + 1, 1, height(x + 1)},
                         {fx, 1, height(x)}));
    }
    const std::set<Line> lines = LineSet(roof, 30.0);
    EXPECT_EQ(lines.count(MakeLine({0, 0, 0}, {0, 1, 0})), 1U);
    EXPECT_EQ(lines.size(), 23U) << "the ridge, and a border of ten and ten and two";
}

TEST(FindSharpEdges, MeasuresBendsInTheWorld) {
    // A roof of 90 degrees, pressed down to one of 11.
    MeshData roof = Quad({0, 0, 0}, {1, 0, 1}, {1, 1, 1}, {0, 1, 0});
    roof.append(Quad({1, 0, 1}, {2, 0, 0}, {2, 1, 0}, {1, 1, 1}));
    const Line ridge = MakeLine({1, 0, 1}, {1, 1, 1});
    EXPECT_EQ(LineSet(roof, 30.0).count(ridge), 1U);
    const Matrix flat = ScaleAndMove(1, 1, 0.1, 0, 0, 0);
    EXPECT_EQ(LineSet(roof, 30.0, flat).count(ridge), 0U);
    EXPECT_EQ(LineSet(roof, 10.0, flat).count(ridge), 1U);
    const Matrix mirrored = ScaleAndMove(-1, 1, 1, 5, 6, 7);
    EXPECT_EQ(LineSet(roof, 30.0, mirrored), LineSet(roof, 30.0));
}

TEST(FindSharpEdges, HoldsForTheSmallestAndLargestCoordinates) {
    for (const float size : {1e-30F, 1e-44F, 1e30F, 1e38F}) {
        EXPECT_EQ(LineSet(Box({0, 0, 0}, {size, size, size}), 30.0).size(), 12U) << size;
    }
}

TEST(FindSharpEdges, ComesInTheOrderOfPositions) {
    const std::vector<Line> lines = LinesOf(UnitCube(), 30.0);
    EXPECT_TRUE(std::is_sorted(lines.begin(), lines.end()));
}

TEST(FindSharpEdges, TakesAnglesBeyondTheirRangeForItsEnds) {
    const MeshData quad = Quad({0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0});
    EXPECT_EQ(LineSet(quad, -50.0).size(), 4U) << "the diagonal does not bend";
    EXPECT_EQ(LineSet(UnitCube(), -50.0).size(), 12U);
    EXPECT_EQ(LineSet(UnitCube(), 1000.0).size(), 0U);
    EXPECT_EQ(LineSet(UnitCube(), std::nan("")).size(), 0U);
}

TEST(FindSharpEdges, NameTheFirstVertexAtAPoint) {
    const MeshData cube = Unwelded(UnitCube());
    const features_test::Buffers buffers = BuffersOf(cube);
    const ctr::Surface surface(buffers.vertices, buffers.triangles);
    const kx::kxPointer<kx::kxIndexBuffer> lines = surface.featureEdges(30.0)->getIBuffer();
    std::set<unsigned int> ends(lines->GetData(), lines->GetData() + lines->GetIndexQuantity());
    EXPECT_EQ(ends.size(), 8U);
    for (const unsigned int end : ends) {
        const auto first =
            std::find(cube.positions.begin(), cube.positions.end(), cube.positions.at(end));
        EXPECT_EQ(first - cube.positions.begin(), static_cast<std::ptrdiff_t>(end));
    }
}

TEST(FindSharpEdges, OfNoTriangleIsEmpty) {
    EXPECT_TRUE(LineSet(MeshData(), 30.0).empty());
}

/// Degrees over the angle that still count as the angle.
constexpr double kTolerance = 0.01;

/// The same rules over a plain map, every face kept with its points.
class ReferenceOutline {
public:
    explicit ReferenceOutline(const MeshData& data) {
        for (std::size_t i = 0; i < data.indices.size(); i += 3) {
            addFace(data.positions[data.indices[i]], data.positions[data.indices[i + 1]],
                    data.positions[data.indices[i + 2]]);
        }
    }

    std::set<Line> lines(double angle) const {
        std::set<Line> drawn;
        for (const auto& [edge, tips] : tipsOfEdge_) {
            const std::vector<Position> sheets = sheetsOf(edge, tips);
            if (sheets.size() != 2 || bend(edge, sheets[0], sheets[1]) > angle) {
                drawn.insert(edge);
            }
        }
        return drawn;
    }

private:
    void addFace(const Point& a, const Point& b, const Point& c) {
        tipsOfEdge_[MakeLine(a, b)].insert(PositionOf(c));
        tipsOfEdge_[MakeLine(b, c)].insert(PositionOf(a));
        tipsOfEdge_[MakeLine(c, a)].insert(PositionOf(b));
    }

    /// One tip for each half plane; no two of the lattice's are nearer than a degree.
    static std::vector<Position> sheetsOf(const Line& edge, const std::set<Position>& tips) {
        std::vector<Position> sheets;
        for (const Position& tip : tips) {
            if (std::none_of(sheets.begin(), sheets.end(), [&](const Position& sheet) {
                    return bend(edge, sheet, tip) > 179.0;
                })) {
                sheets.push_back(tip);
            }
        }
        return sheets;
    }

    /// Degrees between the two half planes, less the 180 of a flat surface: needs no winding.
    static double bend(const Line& edge, const Position& tipA, const Position& tipB) {
        using V = Wm4::Vector3<double>;
        const auto vector = [&](const Position& p) {
            return V(double{p[0]} - double{edge.first[0]}, double{p[1]} - double{edge.first[1]},
                     double{p[2]} - double{edge.first[2]});
        };
        const V along = vector(edge.second);
        const auto across = [&](const Position& tip) {
            const V v = vector(tip);
            return v - along * (v.Dot(along) / along.Dot(along));
        };
        const V a = across(tipA);
        const V b = across(tipB);
        const double cosine = a.Dot(b) / std::sqrt(a.Dot(a) * b.Dot(b));
        return 180.0 - std::acos(std::clamp(cosine, -1.0, 1.0)) * 180.0 / 3.14159265358979323846;
    }

    std::map<Line, std::set<Position>> tipsOfEdge_;
};

/// The triangles that have an area.
MeshData Cleaned(MeshData data) {
    const features_test::Buffers buffers = BuffersOf(data);
    ctr::CleanTriangles(*buffers.vertices, *buffers.triangles);
    const kx::kxIndexBuffer& clean = *buffers.triangles;
    data.indices.assign(clean.GetData(), clean.GetData() + clean.GetIndexQuantity());
    return data;
}

/// Clean triangles between the points of a tiny lattice: edges of many faces are the rule.
MeshData RandomMesh(Random& random, int triangles, int side) {
    MeshData data;
    const auto corner = [&] {
        return Point(static_cast<float>(random.below(side)), static_cast<float>(random.below(side)),
                     static_cast<float>(random.below(side)));
    };
    for (int i = 0; i < triangles; ++i) {
        data.addTriangle(corner(), corner(), corner());
    }
    return Cleaned(data);
}

TEST(FindSharpEdges, FlushFacesOfOverlappingPartsAreOneSheet) {
    // Left of the edge one triangle, on the right two of different sizes in the same plane.
    const Point a(0, 0, 0);
    const Point b(0, 1, 0);
    MeshData data;
    data.addTriangle(a, b, Point(-1, 0, 0));
    data.addTriangle(b, a, Point(1, 0, 0));
    data.addTriangle(b, a, Point(3, 0, 0));
    EXPECT_EQ(LineSet(data, 30.0).count(MakeLine(a, b)), 0U);
    data.addTriangle(b, a, Point(0, 0, 1)); // a third sheet
    EXPECT_EQ(LineSet(data, 30.0).count(MakeLine(a, b)), 1U);
}

TEST(FindSharpEdges, SheetsThatForkAtLessThanTheAngleAreDrawn) {
    const Point a(0, 0, 0);
    const Point b(0, 1, 0);
    MeshData data;
    data.addTriangle(a, b, Point(-1, 0, 0));
    data.addTriangle(b, a, Point(1, 0, 0));
    data.addTriangle(b, a, Point(3, 0, 1)); // 18 degrees from the one before
    EXPECT_EQ(LineSet(data, 30.0).count(MakeLine(a, b)), 1U);
}

TEST(FindSharpEdges, AgreesWithAPlainMapOnRandomMeshes) {
    // No bend between points of these lattices comes near to one of these angles.
    const std::array<double, 4> angles{7.3, 31.7, 77.7, 121.3};
    for (int seed = 0; seed < test_support::Scaled(2000); ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        const MeshData data = RandomMesh(random, random.between(1, 40), random.between(2, 4));
        const double angle = angles[static_cast<std::size_t>(random.below(4))];
        ASSERT_EQ(LineSet(data, angle), ReferenceOutline(data).lines(angle + kTolerance))
            << "seed " << seed << ", angle " << angle;
    }
}

/// Many triangles of their own vertices between points that share most of their coordinates: with
/// the long axis each of the three in turn, every bit of every coordinate decides somewhere.
MeshData TallMesh(Random& random, int longAxis) {
    std::vector<Point> points;
    for (int i = 0; i < 2000; ++i) {
        Point p(0, 0, 0);
        p[longAxis] = std::ldexp(random.uniform(-1.0F, 1.0F), random.between(-9, 9));
        p[(longAxis + 1) % 3] = static_cast<float>(random.between(-1, 1));
        p[(longAxis + 2) % 3] = static_cast<float>(random.between(-1, 1));
        points.push_back(p);
    }
    MeshData data;
    for (int i = 0; i < 4000; ++i) {
        // Neighbours in the list, so that edges of two triangles are common.
        const std::size_t at = static_cast<std::size_t>(random.below(1990));
        data.addTriangle(points[at], points[at + 1 + random.next() % 2], points[at + 3]);
    }
    return Cleaned(data);
}

TEST(FindSharpEdges, AgreesWithAPlainMapOnLargeMeshes) {
    for (int longAxis = 0; longAxis < 3; ++longAxis) {
        Random random(static_cast<std::uint64_t>(longAxis));
        const MeshData data = TallMesh(random, longAxis);
        EXPECT_EQ(LineSet(data, 31.7), ReferenceOutline(data).lines(31.7 + kTolerance))
            << "axis " << longAxis;
    }
}

} // namespace
