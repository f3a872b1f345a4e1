// What the tool makes of lengths and reports; the repair itself is the library's.
#include "drawing/scene/SurfaceRepair.h"

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::DescribeCracks;
using kxcontour::IsCracked;
using kxcontour::SurfaceReport;
using test_support::Quad;
using tool_test::MakeShape;
using tool_test::MeshData;
using tool_test::Point;

ctr::Welding Within(double millimetres) {
    return {ctr::Welding::Mode::Distance, millimetres};
}

/// Two sheets side by side, one unit apart.
MeshData Halves() {
    MeshData halves = Quad(Point(0, 0, 0), Point(50, 0, 0), Point(50, 80, 0), Point(0, 80, 0));
    halves.append(Quad(Point(51, 0, 0), Point(100, 0, 0), Point(100, 80, 0), Point(51, 80, 0)));
    return halves;
}

TEST(RepairSurfaces, TakesLengthsWhereAShapeIsShownLargest) {
    const auto repaired = [](double millimetres) {
        kxcontour::Model model = tool_test::MakeModel({MakeShape(Halves())});
        model.placements[0].world = tool_test::ScaleAndMove(1, 3, 1, 0, 0, 0);
        model.placements.push_back({0, 0, tool_test::ScaleAndMove(0.1, 0.1, 0.1, 0, 0, 0)});
        model.millimetresPerUnit = 10.0;
        return RepairSurfaces(model, Within(millimetres)).reports.at(0);
    };
    EXPECT_EQ(repaired(29.9).joinedEdges, 0U);
    EXPECT_EQ(repaired(30.1).joinedEdges, 1U);
    EXPECT_NEAR(repaired(30.1).widestGap, 30.0, 1e-9);
}

TEST(RepairSurfaces, ReplacesTheBuffersOfAShapeAndKeepsItsSurface) {
    kxcontour::Model model = tool_test::MakeModel({MakeShape(Halves())});
    const kx::kxPointer<kx::kxVertexBuffer> before = model.shapes[0].vertices;
    const kxcontour::RepairedSurfaces repaired = RepairSurfaces(model, Within(1.0));
    EXPECT_NE(model.shapes[0].vertices.get(), before.get());
    ASSERT_TRUE(repaired.surfaces.at(0).has_value());
    EXPECT_EQ(repaired.surfaces[0]->vertices(), model.shapes[0].vertices);
    EXPECT_EQ(repaired.surfaces[0]->triangles(), model.shapes[0].triangles);
}

TEST(RepairSurfaces, OffClosesNothing) {
    kxcontour::Model model = tool_test::MakeModel({MakeShape(Halves())});
    const SurfaceReport report =
        RepairSurfaces(model, {ctr::Welding::Mode::Off, 0.0}).reports.at(0);
    EXPECT_EQ(report.openEdges, 8U);
    EXPECT_EQ(report.joinedEdges, 0U);
}

TEST(SurfaceReport, AddsUp) {
    SurfaceReport sum{1, 2, 3, 4, 5, 6, 7, 0.5, 9.0};
    kxcontour::Add(sum, {10, 20, 30, 40, 50, 60, 70, 0.75, 8.0});
    EXPECT_EQ(sum.edges, 11U);
    EXPECT_EQ(sum.openEdges, 22U);
    EXPECT_EQ(sum.nonManifoldEdges, 33U);
    EXPECT_EQ(sum.nearEdges, 44U);
    EXPECT_EQ(sum.joinedEdges, 55U);
    EXPECT_EQ(sum.splitEdges, 66U);
    EXPECT_EQ(sum.doubledFaces, 77U);
    EXPECT_EQ(sum.widestGap, 0.75);
    EXPECT_EQ(sum.widestNear, 9.0);
}

TEST(DescribeCracks, NamesTheOption) {
    SurfaceReport report;
    report.edges = 200;
    report.nearEdges = 19;
    EXPECT_FALSE(IsCracked(report));
    report.nearEdges = 20;
    EXPECT_TRUE(IsCracked(report));
    report.edges = 201;
    EXPECT_FALSE(IsCracked(report)) << "less than a tenth";
    EXPECT_TRUE(tool_test::Holds(DescribeCracks(report), "--weld"));
}

} // namespace
