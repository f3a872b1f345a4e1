// Shapes with cracks, T-junctions and doubled faces against their sound twins, and thin and open
// parts that have to stay as they are.
#include "scene/SurfaceRepair.h"

#include "scene/Cleaning.h"
#include "scene/OpenEdges.h"
#include "scene/WornShapes.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <set>

namespace {

using kxcontour::RepairSurface;
using kxcontour::Shape;
using kxcontour::SurfaceReport;
using kxcontour::WeldRequest;
using test_support::Box;
using test_support::Flipped;
using test_support::GridOfQuads;
using test_support::Quad;
using test_support::Random;
using test_support::Unwelded;
using tool_test::Cracked;
using tool_test::MakeShape;
using tool_test::MeshData;
using tool_test::NamedShape;
using tool_test::Point;
using tool_test::SizeOf;
using tool_test::SoundShapes;
using tool_test::WithJunctions;

constexpr WeldRequest kAuto{};
constexpr WeldRequest kOff{WeldRequest::Mode::Off, 0.0};

WeldRequest Within(double millimetres) {
    return {WeldRequest::Mode::Length, millimetres};
}

SurfaceReport Repair(Shape& shape, const WeldRequest& request = kAuto) {
    return RepairSurface(shape, request, 1.0).report;
}

Shape CleanShape(const MeshData& data) {
    kxcontour::Model model = tool_test::MakeModel({MakeShape(data)});
    kxcontour::CleanShapes(model);
    return model.shapes.front();
}

/// All that a shape holds, to be compared.
struct Contents {
    std::vector<std::array<float, 3>> positions;
    std::vector<unsigned int> indices;

    bool operator==(const Contents& other) const = default;
};

Contents ContentsOf(const Shape& shape) {
    Contents contents;
    for (int i = 0; i < shape.vertices->GetVertexQuantity(); ++i) {
        const Point& p = shape.vertices->Position3(i);
        contents.positions.push_back({p[0], p[1], p[2]});
    }
    contents.indices.assign(shape.triangles->GetData(),
                            shape.triangles->GetData() + shape.triangles->GetIndexQuantity());
    return contents;
}

/// The different positions of the corners of triangles.
std::set<std::array<float, 3>> PlacesOf(const Shape& shape) {
    std::set<std::array<float, 3>> places;
    const Contents contents = ContentsOf(shape);
    for (const unsigned int index : contents.indices) {
        places.insert(contents.positions[index]);
    }
    return places;
}

/// By definition: edges by the number of triangles that have both ends.
std::map<std::size_t, std::size_t> EdgesByUse(const Shape& shape) {
    const Contents contents = ContentsOf(shape);
    std::map<std::set<std::array<float, 3>>, std::size_t> uses;
    for (std::size_t i = 0; i < contents.indices.size(); ++i) {
        const std::size_t next = i % 3 == 2 ? i - 2 : i + 1;
        ++uses[{contents.positions[contents.indices[i]],
                contents.positions[contents.indices[next]]}];
    }
    std::map<std::size_t, std::size_t> counts;
    for (const auto& [edge, count] : uses) {
        ++counts[count];
    }
    return counts;
}

Wm4::Vector3<double> NormalOf(const Contents& contents, std::size_t first) {
    std::array<Wm4::Vector3<double>, 3> p;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& position = contents.positions[contents.indices[first + i]];
        p[i] = {static_cast<double>(position[0]), static_cast<double>(position[1]),
                static_cast<double>(position[2])};
    }
    return (p[1] - p[0]).Cross(p[2] - p[0]);
}

/// What holds whatever is repaired: nothing is moved farther than the distance and no triangle is
/// turned over.
void ExpectCareful(const MeshData& data, const WeldRequest& request, double distance) {
    Shape shape = CleanShape(data);
    const Contents before = ContentsOf(shape);
    Repair(shape, request);
    const Contents after = ContentsOf(shape);
    ASSERT_GE(after.positions.size(), before.positions.size());
    for (std::size_t i = 0; i < before.positions.size(); ++i) {
        double squared = 0.0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double moved = static_cast<double>(after.positions[i][axis]) -
                                 static_cast<double>(before.positions[i][axis]);
            squared += moved * moved;
        }
        EXPECT_LE(std::sqrt(squared), distance * (1.0 + 1e-9));
    }
    if (after.indices.size() == before.indices.size()) {
        for (std::size_t i = 0; i < after.indices.size(); i += 3) {
            EXPECT_GT(NormalOf(before, i).Dot(NormalOf(after, i)), 0.0);
        }
    }
    for (std::size_t i = 0; i < after.indices.size(); i += 3) {
        const Wm4::Vector3<double> normal = NormalOf(after, i);
        EXPECT_GT(normal.Dot(normal), 0.0) << "a triangle without area";
    }
}

void ExpectNothingLeft(const MeshData& data) {
    Shape shape = CleanShape(data);
    Repair(shape);
    const Contents once = ContentsOf(shape);
    Repair(shape);
    EXPECT_EQ(ContentsOf(shape), once) << "repaired twice";
}

void ExpectUntouched(const MeshData& data, const WeldRequest& request = kAuto) {
    Shape shape = CleanShape(data);
    const Contents before = ContentsOf(shape);
    const SurfaceReport report = Repair(shape, request);
    EXPECT_EQ(ContentsOf(shape), before);
    EXPECT_EQ(report.joinedEdges, 0U);
    EXPECT_EQ(report.splitEdges, 0U);
}

TEST(RepairSurface, LeavesClosedSurfacesAsTheyAre) {
    for (const NamedShape& sound : SoundShapes()) {
        SCOPED_TRACE(sound.name);
        Shape shape = MakeShape(sound.data);
        EXPECT_EQ(EdgesByUse(shape).count(1), 0U) << "the test's own shape";
        EXPECT_EQ(PlacesOf(shape).size(), sound.data.positions.size());
        ExpectUntouched(sound.data);
        ExpectUntouched(sound.data, Within(0.5));
        ExpectUntouched(Unwelded(sound.data));
    }
}

TEST(RepairSurface, ClosesCracksOfNoise) {
    for (const NamedShape& sound : SoundShapes()) {
        for (const float share : {1e-7F, 1e-6F, 1e-5F}) {
            for (std::uint64_t seed = 1; seed <= 3; ++seed) {
                SCOPED_TRACE(testing::Message() << sound.name << ' ' << share << ' ' << seed);
                const MeshData cracked = Cracked(sound.data, share, seed);
                Shape shape = MakeShape(cracked);
                const SurfaceReport report = Repair(shape);
                EXPECT_EQ(report.openEdges, 0U);
                EXPECT_EQ(report.crowdedEdges, 0U);
                EXPECT_EQ(EdgesByUse(shape), EdgesByUse(MakeShape(sound.data)));
                EXPECT_EQ(PlacesOf(shape).size(), sound.data.positions.size());
                EXPECT_FALSE(IsCracked(report));
                ExpectCareful(cracked, kAuto,
                              8.0 * static_cast<double>(share * SizeOf(sound.data)));
                ExpectNothingLeft(cracked);
            }
        }
    }
}

TEST(RepairSurface, SplitsEdgesAtTJunctions) {
    for (const NamedShape& sound : SoundShapes()) {
        for (const int percent : {10, 50, 100}) {
            SCOPED_TRACE(testing::Message() << sound.name << ' ' << percent);
            const MeshData junctions = WithJunctions(sound.data, percent, 7);
            Shape shape = MakeShape(junctions);
            const SurfaceReport report = Repair(shape);
            EXPECT_EQ(report.openEdges, 0U);
            EXPECT_EQ(EdgesByUse(shape).count(1), 0U);
            EXPECT_GT(report.splitEdges, 0U);
            ExpectCareful(junctions, kAuto, 1e-3);
            ExpectNothingLeft(junctions);
        }
    }
}

TEST(RepairSurface, CountsFacesGivenTwiceOnce) {
    for (const NamedShape& sound : SoundShapes()) {
        SCOPED_TRACE(sound.name);
        const Contents once = ContentsOf(MakeShape(sound.data));
        for (const MeshData& other : {sound.data, Flipped(sound.data)}) {
            MeshData doubled = sound.data;
            doubled.append(other);
            for (const WeldRequest& request : {kAuto, kOff}) {
                Shape shape = MakeShape(doubled);
                const SurfaceReport report = Repair(shape, request);
                EXPECT_EQ(report.doubledFaces, once.indices.size() / 3);
                EXPECT_EQ(report.crowdedEdges, 0U);
                EXPECT_EQ(ContentsOf(shape).indices, once.indices) << "the first of each";
            }
        }
    }
}

TEST(RepairSurface, KeepsThinPartsApart) {
    const MeshData plate = Box(Point(0, 0, 0), Point(100, 80, 0.1F));
    MeshData cracked = Cracked(plate, 1e-6F, 5);
    Shape shape = MakeShape(cracked);
    EXPECT_EQ(Repair(shape).openEdges, 0U);
    EXPECT_EQ(PlacesOf(shape).size(), 8U);
    const auto sheet = [](float z) {
        return Quad(Point(0, 0, z), Point(100, 0, z), Point(100, 80, z), Point(0, 80, z));
    };
    for (const float gap : {0.05F, 0.01F, 0.001F}) {
        MeshData sheets = sheet(0);
        sheets.append(sheet(gap));
        ExpectUntouched(sheets);
        ExpectUntouched(sheets, Within(1.0));
        MeshData back = sheet(0);
        back.append(Flipped(sheet(gap)));
        ExpectUntouched(back);
        ExpectUntouched(back, Within(1.0));
    }
    // A fine mesh on both sides, which offers many pairs.
    MeshData fine = GridOfQuads(50, 50, [](int, int) { return 0.0F; });
    fine.append(GridOfQuads(50, 50, [](int, int) { return 0.025F; }));
    ExpectUntouched(fine);
    ExpectUntouched(fine, Within(0.1));
}

TEST(RepairSurface, KeepsPartsApart) {
    MeshData touching = Box(Point(0, 0, 0), Point(10, 10, 10));
    touching.append(Box(Point(10, 5, 0), Point(20, 15, 10)));
    ExpectUntouched(touching, Within(0.01));
    MeshData close = Box(Point(0, 0, 0), Point(10, 10, 10));
    close.append(Box(Point(10.001F, 0, 0), Point(20, 10, 10)));
    ExpectUntouched(close);
    ExpectUntouched(close, Within(0.1));
    // Sheets side by side with a slot of 0.05 between them.
    MeshData slot = Quad(Point(0, 0, 0), Point(50, 0, 0), Point(50, 80, 0), Point(0, 80, 0));
    slot.append(
        Quad(Point(50.05F, 0, 0), Point(100, 0, 0), Point(100, 80, 0), Point(50.05F, 80, 0)));
    ExpectUntouched(slot);
}

TEST(RepairSurface, LeavesBordersAlone) {
    const auto report = [](const MeshData& data) {
        ExpectUntouched(data);
        Shape shape = CleanShape(data);
        return Repair(shape);
    };
    const SurfaceReport plane = report(GridOfQuads(8, 8, [](int, int) { return 0.0F; }));
    EXPECT_EQ(plane.openEdges, 32U);
    EXPECT_EQ(plane.nearEdges, 0U);
    const SurfaceReport terrain = report(
        GridOfQuads(20, 20, [](int x, int y) { return 0.1F * static_cast<float>(x * y % 7); }));
    EXPECT_FALSE(IsCracked(terrain));
    MeshData fan;
    const unsigned int hub = fan.addVertex(Point(0, 0, 0));
    for (int i = 0; i < 200; ++i) {
        const auto turn = static_cast<float>(0.005 * i);
        fan.addVertex(Point(100.0F * std::cos(turn), 100.0F * std::sin(turn), 0));
    }
    for (unsigned int i = 1; i < 200; ++i) {
        fan.addTriangle(hub, i, i + 1);
    }
    EXPECT_FALSE(IsCracked(report(fan)));
    // Needles beside each other, each by itself.
    MeshData needles;
    for (int i = 0; i < 60; ++i) {
        const auto x = static_cast<float>(i);
        needles.addTriangle(Point(x, 0, 0), Point(x + 0.01F, 0, 0), Point(x, 90, 0));
    }
    EXPECT_FALSE(IsCracked(report(needles)));
}

TEST(RepairSurface, JoinsAsFarAsItIsTold) {
    MeshData halves = Quad(Point(0, 0, 0), Point(50, 0, 0), Point(50, 80, 0), Point(0, 80, 0));
    halves.append(Quad(Point(51, 0, 0), Point(100, 0, 0), Point(100, 80, 0), Point(51, 80, 0)));
    ExpectUntouched(halves);
    ExpectUntouched(halves, Within(0.99));
    Shape shape = MakeShape(halves);
    const SurfaceReport report = Repair(shape, Within(1.0));
    EXPECT_EQ(report.joinedEdges, 1U);
    EXPECT_DOUBLE_EQ(report.widestGap, 1.0);
    EXPECT_EQ(report.openEdges, 6U);
    Shape inMetres = MakeShape(halves);
    EXPECT_EQ(RepairSurface(inMetres, Within(999.0), 1000.0).report.joinedEdges, 0U);
    EXPECT_DOUBLE_EQ(RepairSurface(inMetres, Within(1000.0), 1000.0).report.widestGap, 1000.0);
}

TEST(RepairSurface, OffLeavesCracksAndJunctions) {
    for (const NamedShape& sound : SoundShapes()) {
        ExpectUntouched(Cracked(sound.data, 1e-6F, 3), kOff);
        ExpectUntouched(WithJunctions(sound.data, 50, 3), kOff);
    }
}

TEST(RepairSurface, IsCarefulWithWideNoise) {
    for (const NamedShape& sound : SoundShapes()) {
        for (const float share : {1e-4F, 1e-3F, 1e-2F}) {
            SCOPED_TRACE(testing::Message() << sound.name << ' ' << share);
            const double size = static_cast<double>(SizeOf(sound.data));
            const MeshData cracked = Cracked(sound.data, share, 11);
            ExpectCareful(cracked, kAuto, 1e-3 * size);
            ExpectCareful(cracked, Within(0.003 * size), 0.003 * size);
        }
    }
}

TEST(RepairSurface, InterpolatesNormalsWhereItSplits) {
    MeshData data = Quad(Point(0, 0, 0), Point(4, 0, 0), Point(4, 4, 0), Point(0, 4, 0));
    data.append(Quad(Point(0, 4, 0), Point(1, 4, 0), Point(1, 8, 0), Point(0, 8, 0)));
    data.append(Quad(Point(1, 4, 0), Point(4, 4, 0), Point(4, 8, 0), Point(1, 8, 0)));
    std::vector<Point> normals(data.positions.size(), Point(0, 0, 1));
    normals[2] = Point(1, 0, 0);
    Shape shape = MakeShape(data, normals);
    const SurfaceReport report = Repair(shape);
    EXPECT_EQ(report.splitEdges, 1U);
    const int last = shape.vertices->GetVertexQuantity() - 1;
    EXPECT_EQ(shape.vertices->Position3(last), Point(1, 4, 0));
    EXPECT_EQ(shape.vertices->Normal3(last), Point(0.25F, 0, 0.75F)) << "a quarter of the way";
}

TEST(RepairSurface, SplitsALongEdgeAtHundredsOfCorners) {
    MeshData wall = Quad(Point(0, 0, 0), Point(500, 0, 0), Point(500, 10, 0), Point(0, 10, 0));
    for (int i = 0; i < 500; ++i) {
        const auto x = static_cast<float>(i);
        wall.append(
            Quad(Point(x, 10, 0), Point(x + 1, 10, 0), Point(x + 1, 12, 0), Point(x, 12, 0)));
    }
    Shape shape = MakeShape(wall);
    const SurfaceReport report = Repair(shape);
    EXPECT_EQ(report.splitEdges, 1U);
    EXPECT_EQ(report.openEdges, 500U + 1U + 4U);
}

TEST(RepairSurface, WarnsOfCracksThatAreTooWide) {
    const NamedShape sound = SoundShapes().front();
    Shape shape = MakeShape(Cracked(sound.data, 1.5e-3F, 2));
    const SurfaceReport report = Repair(shape);
    EXPECT_TRUE(IsCracked(report));
    EXPECT_TRUE(tool_test::Holds(DescribeCracks(report), "--weld"));
}

TEST(RepairSurface, TakesHostileHeapsInTheirStride) {
    // Thousands of equal and nearly equal edges on top of each other.
    Random random(4);
    MeshData heap;
    for (int i = 0; i < 20000; ++i) {
        heap.addTriangle(Point(0, 0, random.unit() * 1e-5F), Point(1, 0, random.unit() * 1e-5F),
                         Point(random.unit(), random.unit() + 0.5F, random.unit()));
    }
    Shape shape = CleanShape(heap);
    Repair(shape);
    MeshData line;
    for (int i = 0; i < 20000; ++i) {
        const float x = random.unit();
        line.addTriangle(Point(x, 0, 0), Point(x + 1, 0, 0), Point(x, 1 + random.unit(), 0));
    }
    Shape overlapping = CleanShape(line);
    Repair(overlapping);
}

TEST(RepairSurfaces, TakesLengthsWhereAShapeIsShownLargest) {
    MeshData halves = Quad(Point(0, 0, 0), Point(50, 0, 0), Point(50, 80, 0), Point(0, 80, 0));
    halves.append(Quad(Point(51, 0, 0), Point(100, 0, 0), Point(100, 80, 0), Point(51, 80, 0)));
    const auto joined = [&](double millimetres) {
        kxcontour::Model model = tool_test::MakeModel({MakeShape(halves)});
        model.placements[0].world = tool_test::ScaleAndMove(1, 3, 1, 0, 0, 0);
        model.placements.push_back({0, 0, tool_test::ScaleAndMove(0.1, 0.1, 0.1, 0, 0, 0)});
        model.millimetresPerUnit = 10.0;
        return RepairSurfaces(model, Within(millimetres)).reports.at(0).joinedEdges;
    };
    EXPECT_EQ(joined(29.9), 0U);
    EXPECT_EQ(joined(30.1), 1U);
}

} // namespace
