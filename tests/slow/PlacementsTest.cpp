// What many placements of a few meshes take while they are baked and their lines are found. Each
// has corners of its own on the grid, so memory grows with the triangles that are placed; how much
// each of them takes is what can be kept low.
#include <ctr/GeometricFeaturesGenerator.h>

#include "faults/allocation/AllocationFault.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using test_support::AxisTransformation;
using test_support::MeshData;
using test_support::Point;
using MeshPointer = kx::kxPointer<kx::kxTriMesh>;

constexpr int kCells = 70;
constexpr int kSide = 40;

// A sheet of hills, all vertices on the grid; every so many triangles there is a hole.
MeshPointer Sheet(int level, std::size_t trianglesPerHole) {
    MeshData sheet = test_support::GridOfQuads(kCells, kCells, [level](int x, int y) {
        return static_cast<float>(level + (x * x + 3 * y * y + 5 * x * y) % 97);
    });
    for (Point& p : sheet.positions) {
        p = Point(p.X() * kSide, p.Y() * kSide, p.Z());
    }
    const std::size_t step = 3 * trianglesPerHole;
    for (std::size_t i = sheet.indices.size() / step; i-- > 0;) {
        const auto hole = sheet.indices.begin() + static_cast<std::ptrdiff_t>(i * step);
        sheet.indices.erase(hole, hole + 3);
    }
    return test_support::MakeMesh(sheet);
}

// A sheet with holes, one below it, and a triangle that intersects both.
std::vector<MeshPointer> Part() {
    return {Sheet(300, 211), Sheet(900, 307),
            test_support::MakeMesh(test_support::Triangle(
                Point(300, 400, 20), Point(2500, 700, 1900), Point(1200, 2600, 1800)))};
}

// Side by side, row by row; what they are made of is shared.
std::vector<MeshPointer> Placed(const std::vector<MeshPointer>& part, int columns, int rows) {
    constexpr int kApart = kCells * kSide + 5;
    std::vector<MeshPointer> placed;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const Point offset(static_cast<float>(column * kApart),
                               static_cast<float>(row * kApart), 0.0F);
            for (const MeshPointer& mesh : part) {
                placed.push_back(
                    new kx::kxTriMesh(mesh->GetVertexBuffer(), mesh->GetIndexBuffer()));
                placed.back()->SetWorldTransformation(
                    AxisTransformation({0, 1, 2}, {1, 1, 1}, offset));
            }
        }
    }
    return placed;
}

std::size_t SegmentCount(const kx::kxPointer<ctr::LineSegmentSet>& set) {
    return set ? static_cast<std::size_t>(set->GetIndexBuffer()->GetIndexQuantity()) / 2 : 0;
}

ctr::FeaturesByMesh LinesOf(const std::vector<MeshPointer>& meshes) {
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(test_support::LatticeSpace(17, 11));
    generator.setSingleExportCluster(test_support::MeshList(meshes), nullptr);
    ctr::FeatureChoice choice;
    choice.creases = false; // As good as all edges of the hills are some.
    choice.hiddenIntersections = true;
    ctr::FeaturesByMesh features;
    EXPECT_TRUE(generator.computeFeaturesByMesh(features, 0, choice));
    return features;
}

// What is hidden of each silhouette.
std::string HiddenText(const ctr::MeshFeatures& mesh) {
    std::string text;
    if (mesh.silhouetteEdges) {
        for (const auto& ranges : mesh.silhouetteEdges->occlusionIntervals) {
            for (const ctr::RationalInterval& range : ranges) {
                for (const auto& t : {range.start, range.end}) {
                    text += std::to_string(t[0]) + "/" + std::to_string(t[1]) + " ";
                }
            }
            text += "\n";
        }
    }
    return text;
}

TEST(Placements, TakeLessThanNinetyBytesForEachTriangle) {
    constexpr int kColumns = 16;
    constexpr int kRows = 14;
    constexpr double kMostBytes = 90.0;
    const std::vector<MeshPointer> part = Part();
    constexpr std::size_t kPlacements = std::size_t{kColumns} * kRows;
    double triangles = 0.0;
    for (const MeshPointer& mesh : part) {
        triangles += static_cast<double>(kPlacements) * mesh->GetTriangleQuantity();
    }
    const ctr::FeaturesByMesh one = LinesOf(part);
    ASSERT_NE(HiddenText(one.meshes[1]).find("1/1"), std::string::npos);
    ASSERT_NE(HiddenText(one.meshes[2]).find("1/1"), std::string::npos);
    ASSERT_GT(SegmentCount(one.intersectionEdges), 10U);
    ASSERT_GT(SegmentCount(one.hiddenIntersectionEdges), 10U);

    const test_support::AllocatedBytes bytes;
    const std::vector<MeshPointer> placed = Placed(part, kColumns, kRows);
    const ctr::FeaturesByMesh all = LinesOf(placed);
    const double perTriangle = static_cast<double>(bytes.most()) / triangles;
    RecordProperty("bytes_per_triangle", std::to_string(perTriangle));
    EXPECT_LT(perTriangle, kMostBytes) << triangles << " triangles";

    // All lie alike on the grid, so what hides what is the same as for one alone, to the fraction.
    ASSERT_EQ(all.meshes.size(), placed.size());
    for (std::size_t i = 0; i < placed.size(); ++i) {
        ASSERT_EQ(HiddenText(all.meshes[i]), HiddenText(one.meshes[i % part.size()])) << i;
    }
    EXPECT_EQ(SegmentCount(all.intersectionEdges),
              kPlacements * SegmentCount(one.intersectionEdges));
    EXPECT_EQ(SegmentCount(all.hiddenIntersectionEdges),
              kPlacements * SegmentCount(one.hiddenIntersectionEdges));
}

} // namespace
