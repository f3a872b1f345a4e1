// The frame around a model on a page, and the matrices of the camera.
#include "camera/Camera.h"

#include <ctr/ExportParameters.h>

#include "ShapeBuilders.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using kxcontour::AxesOf;
using kxcontour::Box;
using kxcontour::ExitCode;
using kxcontour::FitToPage;
using kxcontour::Frame;
using kxcontour::MakeCamera;
using kxcontour::PageSize;
using kxcontour::View;
using kxcontour::ViewAxes;
using tool_test::FailureOf;
using tool_test::Point;

using Vector = Wm4::Vector3<double>;

const PageSize kA4{210.0, 297.0};

Box MakeBox(const Vector& min, const Vector& max) {
    Box box;
    box.add(min);
    box.add(max);
    return box;
}

/// A world point in normalised device coordinates.
Point Project(const ctr::DiscreteProjectionSpace& camera, const Point& p) {
    const Wm4::Vector4<float> clip =
        Wm4::Vector4<float>(p[0], p[1], p[2], 1.0F) * camera.worldToClip;
    return {clip[0] / clip[3], clip[1] / clip[3], clip[2] / clip[3]};
}

/// A world point on the page: millimetres from the lower left corner.
Wm4::Vector2<float>
OnPage(const ctr::DiscreteProjectionSpace& camera, PageSize page, const Point& p) {
    ctr::ExportParameters parameters(camera);
    parameters.setPageSizeInMM({static_cast<float>(page.width), static_cast<float>(page.height)});
    parameters.computeBestFitTransform();
    const Point ndc = Project(camera, p);
    return {parameters.pageTransform[0] * ndc[0] + parameters.pageOffset[0],
            parameters.pageTransform[3] * ndc[1] + parameters.pageOffset[1]};
}

TEST(FitToPage, FillsTheWidthOfAPortraitPageWithASquare) {
    const Frame frame = FitToPage(MakeBox({-1, -1, -1}, {1, 1, 1}), {}, kA4);
    const auto camera = MakeCamera(frame, AxesOf(View::Front));
    const auto lower = OnPage(camera, kA4, {-1, -1, 0});
    const auto upper = OnPage(camera, kA4, {1, 1, 0});
    EXPECT_NEAR(lower[0], 10.0F, 1e-3F);
    EXPECT_NEAR(upper[0], 200.0F, 1e-3F);
    EXPECT_NEAR(lower[1], 148.5F - 95.0F, 1e-3F) << "centred";
    EXPECT_NEAR(upper[1], 148.5F + 95.0F, 1e-3F);
}

TEST(FitToPage, FillsTheHeightWithSomethingSlim) {
    const Frame frame = FitToPage(MakeBox({5, -30, 0}, {6, -10, 1}), {}, kA4);
    const auto camera = MakeCamera(frame, AxesOf(View::Front));
    EXPECT_NEAR(OnPage(camera, kA4, {5.5F, -30, 0})[1], 10.0F, 1e-3F);
    EXPECT_NEAR(OnPage(camera, kA4, {5.5F, -10, 0})[1], 287.0F, 1e-3F);
    EXPECT_NEAR(OnPage(camera, kA4, {5.5F, -20, 0})[0], 105.0F, 1e-3F);
}

TEST(FitToPage, KeepsTheModelInsideTheMarginInEveryViewOnEveryPage) {
    test_support::Random random(3);
    for (int trial = 0; trial < 500; ++trial) {
        const auto view = static_cast<View>(random.below(7));
        const PageSize page{20.5 + random.below(500), 20.5 + random.below(500)};
        const ViewAxes axes = AxesOf(view);
        std::vector<Point> points;
        Box drawn;
        for (int i = 0; i < 8; ++i) {
            points.emplace_back(random.uniform(-9, 9), random.uniform(-9, 9), random.uniform(0, 5));
            const Point& last = points.back();
            const Vector p(double{last[0]}, double{last[1]}, double{last[2]});
            drawn.add({p.Dot(axes.right), p.Dot(axes.up), p.Dot(axes.back)});
        }
        const auto camera = MakeCamera(FitToPage(drawn, {}, page), axes);
        float nearestToEdge = 1e9F;
        for (const Point& p : points) {
            const auto at = OnPage(camera, page, p);
            nearestToEdge =
                std::min({nearestToEdge, at[0], at[1], static_cast<float>(page.width) - at[0],
                          static_cast<float>(page.height) - at[1]});
            const float depth = Project(camera, p)[2];
            EXPECT_TRUE(depth > -1.0F && depth < 1.0F) << "trial " << trial;
        }
        EXPECT_NEAR(nearestToEdge, 10.0F, 2e-3F) << "trial " << trial;
    }
}

TEST(FitToPage, DoesNotDivideByTheSizeOfSomethingFlat) {
    for (const Box& flat : {MakeBox({-1, -1, 2}, {1, 1, 2}), MakeBox({-1, 3, -1}, {1, 3, 1}),
                            MakeBox({4, -1, -1}, {4, 1, 1}), MakeBox({4, 3, -1}, {4, 3, 1}),
                            MakeBox({7, 7, 7}, {7, 7, 7})}) {
        const Frame frame = FitToPage(flat, {}, kA4);
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_GT(frame.halfSize[axis], 0.0);
            EXPECT_TRUE(std::isfinite(frame.halfSize[axis]));
        }
        EXPECT_NEAR(frame.halfSize[0] / frame.halfSize[1], 210.0 / 297.0, 1e-12);
    }
}

TEST(FitToPage, ReachesToOccludersInFrontOnTheSheetOnly) {
    const Box drawn = MakeBox({-1, -1, -1}, {1, 1, 1});
    const Frame alone = FitToPage(drawn, {}, kA4);
    const auto nearestShown = [&](const Box& occluder) {
        const Frame frame = FitToPage(drawn, {occluder}, kA4);
        EXPECT_EQ(frame.halfSize[0], alone.halfSize[0]) << "occluders do not count for the fit";
        EXPECT_EQ(frame.center[0], alone.center[0]);
        return frame.center[2] + frame.halfSize[2];
    };
    const double before = alone.center[2] + alone.halfSize[2];
    EXPECT_GT(nearestShown(MakeBox({-1, -1, 8}, {1, 1, 9})), 9.0);
    EXPECT_DOUBLE_EQ(nearestShown(MakeBox({50, -1, 8}, {60, 1, 9})), before) << "beside the sheet";
    EXPECT_DOUBLE_EQ(nearestShown(MakeBox({-1, -1, -9}, {1, 1, -8})), before) << "behind";
    EXPECT_DOUBLE_EQ(nearestShown(Box()), before);
}

TEST(MakeCamera, TakesNearToMinusOneAndFarToOne) {
    for (int i = 0; i < 7; ++i) {
        const ViewAxes axes = AxesOf(static_cast<View>(i));
        const auto camera = MakeCamera({{0, 0, 0}, {2, 3, 4}}, axes);
        const Vector near = 4.0 * axes.back;
        const Vector far = -4.0 * axes.back;
        const auto depth = [&](const Vector& p) {
            return Project(camera, {static_cast<float>(p[0]), static_cast<float>(p[1]),
                                    static_cast<float>(p[2])})[2];
        };
        EXPECT_NEAR(depth(near), -1.0F, 1e-6F) << i;
        EXPECT_NEAR(depth(far), 1.0F, 1e-6F) << i;
    }
}

TEST(MakeCamera, HasExactZerosInStraightViews) {
    const auto camera = MakeCamera({{0, 0, 0}, {0.5, 0.5, 0.5}}, AxesOf(View::Top));
    const Wm4::Matrix4<float>& m = camera.worldToClip;
    const float expected[4][4] = {{2, 0, 0, 0}, {0, 0, -2, 0}, {0, -2, 0, 0}, {0, 0, 0, 1}};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            EXPECT_EQ(m[row][column], expected[row][column]) << row << ", " << column;
            EXPECT_FALSE(m[row][column] == 0.0F && std::signbit(m[row][column]));
        }
    }
}

TEST(MakeCamera, GivesMatricesThatAreInverse) {
    for (int i = 0; i < 7; ++i) {
        const auto camera = MakeCamera({{3, -4, 5}, {20, 30, 7}}, AxesOf(static_cast<View>(i)));
        const Wm4::Matrix4<float> product = camera.worldToClip * camera.clipToWorld;
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                EXPECT_NEAR(product[row][column], row == column ? 1.0F : 0.0F, 2e-6F) << i;
            }
        }
    }
}

TEST(MakeCamera, UsesTheFinestGridWithRatiosOfThePage) {
    const Frame frame = FitToPage(MakeBox({-1, -1, -1}, {1, 1, 1}), {}, kA4);
    const auto camera = MakeCamera(frame, AxesOf(View::Iso));
    EXPECT_EQ(camera.xyBits, 20U);
    EXPECT_EQ(camera.zBits, 19U);
    EXPECT_FLOAT_EQ(camera.voxelScale[1], 1048575.0F / 2.0F);
    EXPECT_NEAR(camera.voxelScale[0] / camera.voxelScale[1], 210.0F / 297.0F, 1e-6F);
}

TEST(MakeCamera, RefusesSizesBeyondSinglePrecision) {
    const ViewAxes axes = AxesOf(View::Front);
    FailureOf(ExitCode::NothingToDraw, [&] { MakeCamera({{0, 0, 0}, {1e30, 1, 1}}, axes); });
    FailureOf(ExitCode::NothingToDraw, [&] { MakeCamera({{0, 0, 0}, {1, 1e-30, 1}}, axes); });
    FailureOf(ExitCode::NothingToDraw, [&] { MakeCamera({{NAN, 0, 0}, {1, 1, 1}}, axes); });
}

TEST(MeasureInView, TurnsPlacedTrianglesIntoTheView) {
    kxcontour::Shape shape = tool_test::MakeShape(test_support::Box({0, 0, 0}, {1, 2, 3}));
    const kx::kxPointer<kx::kxTriMesh> mesh(
        new kx::kxTriMesh(shape.vertices.get(), shape.triangles.get()));
    kx::kxGenericTransformation<float> moved;
    moved.SetMatrix(Wm4::Matrix4<float>(2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1));
    mesh->SetWorldTransformation(moved);
    const Box top = kxcontour::MeasureInView(*mesh, AxesOf(View::Top));
    EXPECT_EQ(top.min, Vector(10, -33, 20));
    EXPECT_EQ(top.max, Vector(12, -30, 22));
}

TEST(MeasureInView, LeavesOutVerticesThatNoTriangleUses) {
    test_support::MeshData data = test_support::Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    data.addVertex({99, 99, 99});
    kxcontour::Shape shape = tool_test::MakeShape(data);
    const kx::kxPointer<kx::kxTriMesh> mesh(
        new kx::kxTriMesh(shape.vertices.get(), shape.triangles.get()));
    EXPECT_EQ(kxcontour::MeasureInView(*mesh, AxesOf(View::Front)).max, Vector(1, 1, 0));
}

} // namespace
