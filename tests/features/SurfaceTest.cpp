// Shapes with cracks, T-junctions and duplicate faces compared with their sound originals, and thin
// and open parts that must stay unchanged.
#include <ctr/Surface.h>

#include "features/SurfaceShapes.h"
#include "features/WornShapes.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <set>

namespace {

using ctr::Surface;
using ctr::SurfaceReport;
using ctr::Welding;
using features_test::BuffersOf;
using features_test::Contents;
using features_test::Cracked;
using features_test::NamedShape;
using features_test::SizeOf;
using features_test::SoundShapes;
using features_test::WithJunctions;
using test_support::Box;
using test_support::Flipped;
using test_support::GridOfQuads;
using test_support::MeshData;
using test_support::Point;
using test_support::Quad;
using test_support::Random;
using test_support::Unwelded;

constexpr Welding kAuto{};
constexpr Welding kOff{Welding::Mode::Off, 0.0};

Welding Within(double distance) {
    return {Welding::Mode::Distance, distance};
}

Surface SurfaceOf(const MeshData& data) {
    const features_test::Buffers buffers = BuffersOf(data);
    return {buffers.vertices, buffers.triangles};
}

Contents ContentsOf(const Surface& surface) {
    return features_test::ContentsOf(*surface.vertices(), *surface.triangles());
}

/// The different positions of the corners of triangles.
std::set<std::array<float, 3>> PointsOf(const Surface& surface) {
    std::set<std::array<float, 3>> points;
    const Contents contents = ContentsOf(surface);
    for (const unsigned int index : contents.indices) {
        points.insert(contents.positions[index]);
    }
    return points;
}

/// By definition: edges by the number of triangles that have both ends.
std::map<std::size_t, std::size_t> EdgesByUse(const Surface& surface) {
    const Contents contents = ContentsOf(surface);
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

/// Whether edges stay near each other in such numbers that lines are likely to be seams.
bool LooksCracked(const SurfaceReport& report) {
    return report.nearEdges >= 20 && 10 * report.nearEdges >= report.edges;
}

/// What holds whatever is repaired: nothing is moved farther than the distance and no triangle is
/// turned over.
void ExpectCareful(const MeshData& data, const Welding& request, double distance) {
    Surface surface = SurfaceOf(data);
    const Contents before = ContentsOf(surface);
    surface.repair(request);
    const Contents after = ContentsOf(surface);
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
    Surface surface = SurfaceOf(data);
    surface.repair(kAuto);
    const Contents once = ContentsOf(surface);
    surface.repair(kAuto);
    EXPECT_EQ(ContentsOf(surface), once) << "repaired twice";
}

void ExpectUntouched(const MeshData& data, const Welding& request = kAuto) {
    Surface surface = SurfaceOf(data);
    const Contents before = ContentsOf(surface);
    const SurfaceReport report = surface.repair(request);
    EXPECT_EQ(ContentsOf(surface), before);
    EXPECT_EQ(report.joinedEdges, 0U);
    EXPECT_EQ(report.splitEdges, 0U);
}

TEST(SurfaceRepair, LeavesClosedSurfacesAsTheyAre) {
    for (const NamedShape& sound : SoundShapes()) {
        SCOPED_TRACE(sound.name);
        Surface surface = SurfaceOf(sound.data);
        EXPECT_EQ(EdgesByUse(surface).count(1), 0U) << "the test's own shape";
        EXPECT_EQ(PointsOf(surface).size(), sound.data.positions.size());
        ExpectUntouched(sound.data);
        ExpectUntouched(sound.data, Within(0.5));
        ExpectUntouched(Unwelded(sound.data));
    }
}

TEST(SurfaceRepair, ClosesCracksOfNoise) {
    for (const NamedShape& sound : SoundShapes()) {
        for (const float share : {1e-7F, 1e-6F, 1e-5F}) {
            for (std::uint64_t seed = 1; seed <= 3; ++seed) {
                SCOPED_TRACE(testing::Message() << sound.name << ' ' << share << ' ' << seed);
                const MeshData cracked = Cracked(sound.data, share, seed);
                Surface surface = SurfaceOf(cracked);
                const SurfaceReport report = surface.repair(kAuto);
                EXPECT_EQ(report.openEdges, 0U);
                EXPECT_EQ(report.nonManifoldEdges, 0U);
                EXPECT_EQ(EdgesByUse(surface), EdgesByUse(SurfaceOf(sound.data)));
                EXPECT_EQ(PointsOf(surface).size(), sound.data.positions.size());
                EXPECT_FALSE(LooksCracked(report));
                ExpectCareful(cracked, kAuto,
                              8.0 * static_cast<double>(share * SizeOf(sound.data)));
                ExpectNothingLeft(cracked);
            }
        }
    }
}

TEST(SurfaceRepair, SplitsEdgesAtTJunctions) {
    for (const NamedShape& sound : SoundShapes()) {
        for (const int percent : {10, 50, 100}) {
            SCOPED_TRACE(testing::Message() << sound.name << ' ' << percent);
            const MeshData junctions = WithJunctions(sound.data, percent, 7);
            Surface surface = SurfaceOf(junctions);
            const SurfaceReport report = surface.repair(kAuto);
            EXPECT_EQ(report.openEdges, 0U);
            EXPECT_EQ(EdgesByUse(surface).count(1), 0U);
            EXPECT_GT(report.splitEdges, 0U);
            ExpectCareful(junctions, kAuto, 1e-3);
            ExpectNothingLeft(junctions);
        }
    }
}

TEST(SurfaceRepair, CountsFacesGivenTwiceOnce) {
    for (const NamedShape& sound : SoundShapes()) {
        SCOPED_TRACE(sound.name);
        const Contents once = ContentsOf(SurfaceOf(sound.data));
        for (const MeshData& other : {sound.data, Flipped(sound.data)}) {
            MeshData doubled = sound.data;
            doubled.append(other);
            for (const Welding& request : {kAuto, kOff}) {
                Surface surface = SurfaceOf(doubled);
                const SurfaceReport report = surface.repair(request);
                EXPECT_EQ(report.doubledFaces, once.indices.size() / 3);
                EXPECT_EQ(report.nonManifoldEdges, 0U);
                EXPECT_EQ(ContentsOf(surface).indices, once.indices) << "the first of each";
            }
        }
    }
}

TEST(SurfaceRepair, KeepsThinPartsApart) {
    const MeshData plate = Box(Point(0, 0, 0), Point(100, 80, 0.1F));
    MeshData cracked = Cracked(plate, 1e-6F, 5);
    Surface surface = SurfaceOf(cracked);
    EXPECT_EQ(surface.repair(kAuto).openEdges, 0U);
    EXPECT_EQ(PointsOf(surface).size(), 8U);
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

TEST(SurfaceRepair, KeepsPartsApart) {
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

TEST(SurfaceRepair, LeavesBordersAlone) {
    const auto report = [](const MeshData& data) {
        ExpectUntouched(data);
        Surface surface = SurfaceOf(data);
        return surface.repair(kAuto);
    };
    const SurfaceReport plane = report(GridOfQuads(8, 8, [](int, int) { return 0.0F; }));
    EXPECT_EQ(plane.openEdges, 32U);
    EXPECT_EQ(plane.nearEdges, 0U);
    const SurfaceReport terrain = report(
        GridOfQuads(20, 20, [](int x, int y) { return 0.1F * static_cast<float>(x * y % 7); }));
    EXPECT_FALSE(LooksCracked(terrain));
    MeshData fan;
    const unsigned int hub = fan.addVertex(Point(0, 0, 0));
    for (int i = 0; i < 200; ++i) {
        const auto turn = static_cast<float>(0.005 * i);
        fan.addVertex(Point(100.0F * std::cos(turn), 100.0F * std::sin(turn), 0));
    }
    for (unsigned int i = 1; i < 200; ++i) {
        fan.addTriangle(hub, i, i + 1);
    }
    EXPECT_FALSE(LooksCracked(report(fan)));
    // Needles beside each other, each by itself.
    MeshData needles;
    for (int i = 0; i < 60; ++i) {
        const auto x = static_cast<float>(i);
        needles.addTriangle(Point(x, 0, 0), Point(x + 0.01F, 0, 0), Point(x, 90, 0));
    }
    EXPECT_FALSE(LooksCracked(report(needles)));
}

TEST(SurfaceRepair, JoinsAsFarAsItIsTold) {
    MeshData halves = Quad(Point(0, 0, 0), Point(50, 0, 0), Point(50, 80, 0), Point(0, 80, 0));
    halves.append(Quad(Point(51, 0, 0), Point(100, 0, 0), Point(100, 80, 0), Point(51, 80, 0)));
    ExpectUntouched(halves);
    ExpectUntouched(halves, Within(0.99));
    Surface surface = SurfaceOf(halves);
    const SurfaceReport report = surface.repair(Within(1.0));
    EXPECT_EQ(report.joinedEdges, 1U);
    EXPECT_DOUBLE_EQ(report.widestGap, 1.0);
    EXPECT_EQ(report.openEdges, 6U);
}

TEST(SurfaceRepair, OffLeavesCracksAndJunctions) {
    for (const NamedShape& sound : SoundShapes()) {
        ExpectUntouched(Cracked(sound.data, 1e-6F, 3), kOff);
        ExpectUntouched(WithJunctions(sound.data, 50, 3), kOff);
    }
}

TEST(SurfaceRepair, IsCarefulWithWideNoise) {
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

TEST(SurfaceRepair, InterpolatesNormalsWhereItSplits) {
    MeshData data = Quad(Point(0, 0, 0), Point(4, 0, 0), Point(4, 4, 0), Point(0, 4, 0));
    data.append(Quad(Point(0, 4, 0), Point(1, 4, 0), Point(1, 8, 0), Point(0, 8, 0)));
    data.append(Quad(Point(1, 4, 0), Point(4, 4, 0), Point(4, 8, 0), Point(1, 8, 0)));
    std::vector<Point> normals(data.positions.size(), Point(0, 0, 1));
    normals[2] = Point(1, 0, 0);
    const kx::kxPointer<kx::kxTriMesh> mesh =
        test_support::MakeMesh(data.positions, normals, data.indices);
    Surface surface(mesh->GetVertexBuffer(), mesh->GetIndexBuffer());
    const SurfaceReport report = surface.repair(kAuto);
    EXPECT_EQ(report.splitEdges, 1U);
    const kx::kxVertexBuffer& vertices = *surface.vertices();
    const int last = vertices.GetVertexQuantity() - 1;
    EXPECT_EQ(vertices.Position3(last), Point(1, 4, 0));
    EXPECT_EQ(vertices.Normal3(last), Point(0.25F, 0, 0.75F)) << "a quarter of the way";
}

TEST(SurfaceRepair, SplitsALongEdgeAtHundredsOfCorners) {
    MeshData wall = Quad(Point(0, 0, 0), Point(500, 0, 0), Point(500, 10, 0), Point(0, 10, 0));
    for (int i = 0; i < 500; ++i) {
        const auto x = static_cast<float>(i);
        wall.append(
            Quad(Point(x, 10, 0), Point(x + 1, 10, 0), Point(x + 1, 12, 0), Point(x, 12, 0)));
    }
    Surface surface = SurfaceOf(wall);
    const SurfaceReport report = surface.repair(kAuto);
    EXPECT_EQ(report.splitEdges, 1U);
    EXPECT_EQ(report.openEdges, 500U + 1U + 4U);
}

TEST(SurfaceRepair, CountsTheRimsOfCracksThatAreTooWide) {
    const NamedShape sound = SoundShapes().front();
    const double size = static_cast<double>(SizeOf(sound.data));
    Surface surface = SurfaceOf(Cracked(sound.data, 1.5e-3F, 2));
    const SurfaceReport report = surface.repair(kAuto);
    EXPECT_TRUE(LooksCracked(report));
    EXPECT_GT(report.widestNear, 1.5e-3 * size);
    EXPECT_LT(report.widestNear, 8e-3 * size);
}

TEST(SurfaceRepair, TakesHostileHeapsInTheirStride) {
    // Thousands of equal and nearly equal edges on top of each other.
    Random random(4);
    MeshData heap;
    for (int i = 0; i < 20000; ++i) {
        heap.addTriangle(Point(0, 0, random.unit() * 1e-5F), Point(1, 0, random.unit() * 1e-5F),
                         Point(random.unit(), random.unit() + 0.5F, random.unit()));
    }
    Surface surface = SurfaceOf(heap);
    surface.repair(kAuto);
    MeshData line;
    for (int i = 0; i < 20000; ++i) {
        const float x = random.unit();
        line.addTriangle(Point(x, 0, 0), Point(x + 1, 0, 0), Point(x, 1 + random.unit(), 0));
    }
    Surface overlapping = SurfaceOf(line);
    overlapping.repair(kAuto);
}

TEST(SurfaceRepair, NeverWritesToTheBuffersItWasGiven) {
    const MeshData box = Box(Point(1, 2, 3), Point(50, 30, 22));
    MeshData doubled = box;
    doubled.append(box);
    for (const MeshData& data : {Cracked(box, 1e-5F, 1), WithJunctions(box, 50, 2), doubled}) {
        const features_test::Buffers buffers = BuffersOf(data);
        const Contents before = features_test::ContentsOf(*buffers.vertices, *buffers.triangles);
        Surface surface(buffers.vertices, buffers.triangles);
        const SurfaceReport report = surface.repair(kAuto);
        EXPECT_GT(report.joinedEdges + report.splitEdges + report.doubledFaces, 0U);
        EXPECT_EQ(features_test::ContentsOf(*buffers.vertices, *buffers.triangles), before);
    }
}

TEST(SurfaceRepair, SharesBuffersThatNeedNoRepair) {
    const features_test::Buffers buffers = BuffersOf(Box(Point(1, 2, 3), Point(50, 30, 22)));
    Surface surface(buffers.vertices, buffers.triangles);
    surface.repair(kAuto);
    EXPECT_EQ(surface.vertices(), buffers.vertices);
    EXPECT_EQ(surface.triangles(), buffers.triangles);
}

TEST(SurfaceRepair, ClosesNothingOverADistanceThatIsNone) {
    const MeshData cracked = Cracked(Box(Point(1, 2, 3), Point(50, 30, 22)), 1e-6F, 1);
    for (const double distance : {0.0, -1.0, std::nan(""), HUGE_VAL}) {
        ExpectUntouched(cracked, Within(distance));
    }
}

TEST(SurfaceRepair, TakesAnyFiniteDistance) {
    for (const NamedShape& sound : SoundShapes()) {
        SCOPED_TRACE(sound.name);
        for (const double distance : {5e-324, 1e-300, 1e30, 1e300}) {
            Surface surface = SurfaceOf(Cracked(sound.data, 1e-6F, 1));
            surface.repair(Within(distance));
            for (const auto& p : ContentsOf(surface).positions) {
                EXPECT_TRUE(std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]));
            }
        }
    }
}

TEST(Surface, LeavesOutTrianglesThatAreNotClean) {
    const MeshData box = Box(Point(0, 0, 0), Point(9, 8, 7));
    MeshData bad = box;
    bad.addTriangle(0, 1, 4000000000U);
    bad.addTriangle(2, 2, 3);
    bad.addTriangle(Point(std::nanf(""), 0, 0), Point(1, 0, 0), Point(0, 1, 0));
    bad.addTriangle(Point(0, 0, 0), Point(1, 1, 1), Point(2, 2, 2));
    bad.indices.push_back(0);
    Surface surface = SurfaceOf(bad);
    EXPECT_EQ(ContentsOf(surface).indices, box.indices);
    EXPECT_EQ(surface.repair(kAuto).edges, 18U);
    EXPECT_EQ(surface.featureEdges(30.0)->getIBuffer()->GetIndexQuantity(), 24);
}

TEST(Surface, OfMissingBuffersHasNoTriangles) {
    const features_test::Buffers box = BuffersOf(Box(Point(0, 0, 0), Point(9, 8, 7)));
    const kx::kxPointer<kx::kxVertexBuffer> noPositions(
        new kx::kxVertexBuffer(kx::kxAttributes(), 8));
    Surface surfaces[] = {Surface(nullptr, box.triangles), Surface(box.vertices, nullptr),
                          Surface(noPositions, box.triangles)};
    for (Surface& surface : surfaces) {
        EXPECT_EQ(surface.repair(kAuto).edges, 0U);
        EXPECT_EQ(surface.featureEdges(30.0)->getIBuffer()->GetIndexQuantity(), 0);
        EXPECT_EQ(surface.triangles()->GetIndexQuantity(), 0);
    }
}

} // namespace
