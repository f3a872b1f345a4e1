// The frame around a model on a page, and the matrices of the camera.
#include "drawing/camera/Frame.h"

#include <ctr/ExportParameters.h>

#include "ShapeBuilders.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace {

using kxcontour::AxesOf;
using kxcontour::Box;
using kxcontour::Frame;
using kxcontour::MakeCamera;
using kxcontour::ViewAxes;
using kxdrawing::Direction;
using kxdrawing::PageSize;
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

/// The frame of a box that is all there is.
Frame FitToPage(const Box& drawn, const std::vector<Box>& occluders, PageSize page) {
    return kxcontour::FitToPage(drawn, {drawn}, occluders, {{page, 10.0}, 1.0, {}, {}});
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
    const auto camera = MakeCamera(frame, AxesOf(Direction::Front));
    const auto lower = OnPage(camera, kA4, {-1, -1, 0});
    const auto upper = OnPage(camera, kA4, {1, 1, 0});
    EXPECT_NEAR(lower[0], 10.0F, 1e-3F);
    EXPECT_NEAR(upper[0], 200.0F, 1e-3F);
    EXPECT_NEAR(lower[1], 148.5F - 95.0F, 1e-3F) << "centred";
    EXPECT_NEAR(upper[1], 148.5F + 95.0F, 1e-3F);
}

TEST(FitToPage, FillsTheHeightWithSomethingSlim) {
    const Frame frame = FitToPage(MakeBox({5, -30, 0}, {6, -10, 1}), {}, kA4);
    const auto camera = MakeCamera(frame, AxesOf(Direction::Front));
    EXPECT_NEAR(OnPage(camera, kA4, {5.5F, -30, 0})[1], 10.0F, 1e-3F);
    EXPECT_NEAR(OnPage(camera, kA4, {5.5F, -10, 0})[1], 287.0F, 1e-3F);
    EXPECT_NEAR(OnPage(camera, kA4, {5.5F, -20, 0})[0], 105.0F, 1e-3F);
}

TEST(FitToPage, KeepsTheModelInsideTheMarginInEveryViewOnEveryPage) {
    test_support::Random random(3);
    for (int trial = 0; trial < 500; ++trial) {
        const auto view = static_cast<Direction>(random.below(7));
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
        const ViewAxes axes = AxesOf(static_cast<Direction>(i));
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
    const auto camera = MakeCamera({{0, 0, 0}, {0.5, 0.5, 0.5}}, AxesOf(Direction::Top));
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
        const auto camera =
            MakeCamera({{3, -4, 5}, {20, 30, 7}}, AxesOf(static_cast<Direction>(i)));
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
    const auto camera = MakeCamera(frame, AxesOf(Direction::Iso));
    EXPECT_EQ(camera.xyBits, 20U);
    EXPECT_EQ(camera.zBits, 19U);
    EXPECT_FLOAT_EQ(camera.voxelScale[1], 1048575.0F / 2.0F);
    EXPECT_NEAR(camera.voxelScale[0] / camera.voxelScale[1], 210.0F / 297.0F, 1e-6F);
}

TEST(MakeCamera, RefusesSizesBeyondSinglePrecision) {
    const ViewAxes axes = AxesOf(Direction::Front);
    FailureOf<kxdrawing::NothingToDraw>([&] { MakeCamera({{0, 0, 0}, {1e30, 1, 1}}, axes); });
    FailureOf<kxdrawing::NothingToDraw>([&] { MakeCamera({{0, 0, 0}, {1, 1e-30, 1}}, axes); });
    FailureOf<kxdrawing::NothingToDraw>([&] { MakeCamera({{NAN, 0, 0}, {1, 1, 1}}, axes); });
}

TEST(FitToPage, LeavesTheMarginThatIsAskedFor) {
    for (const double margin : {0.0, 3.5, 50.0}) {
        const Box box = MakeBox({-1, -1, -1}, {1, 1, 1});
        const Frame frame = kxcontour::FitToPage(box, {box}, {}, {{kA4, margin}, 1.0, {}, {}});
        const auto camera = MakeCamera(frame, AxesOf(Direction::Front));
        EXPECT_NEAR(OnPage(camera, kA4, {-1, 0, 0})[0], margin, 1e-3);
    }
}

TEST(FitToPage, ZoomsAroundTheMiddle) {
    const Box box = MakeBox({2, -1, -1}, {4, 1, 1});
    const Frame whole = FitToPage(box, {}, kA4);
    const Frame twice = kxcontour::FitToPage(box, {box}, {}, {{kA4, 10.0}, 2.0, {}, {}});
    EXPECT_DOUBLE_EQ(twice.halfSize[0], 0.5 * whole.halfSize[0]);
    EXPECT_EQ(twice.center, whole.center);
}

TEST(FitToPage, KeepsAScaleWhateverTheSize) {
    for (const double size : {0.5, 50.0, 5000.0}) {
        const Box box = MakeBox({0, 0, 0}, {size, size, size});
        const Frame frame = kxcontour::FitToPage(box, {box}, {}, {{kA4, 10.0}, 1.0, 2.0, {}});
        EXPECT_DOUBLE_EQ(kxcontour::UnitsPerMillimetre(frame, kA4), 2.0);
        EXPECT_DOUBLE_EQ(frame.halfSize[0], 210.0);
    }
}

TEST(FitToPage, PutsAGivenPointInTheMiddleAndStillShowsAll) {
    const Box box = MakeBox({0, 0, 0}, {2, 1, 1});
    const Vector middle(2, 1, 0);
    const Frame frame = kxcontour::FitToPage(box, {box}, {}, {{kA4, 10.0}, 1.0, {}, middle});
    EXPECT_EQ(frame.center[0], 2.0);
    EXPECT_EQ(frame.center[1], 1.0);
    const auto camera = MakeCamera(frame, AxesOf(Direction::Front));
    EXPECT_NEAR(OnPage(camera, kA4, {0, 0, 0})[0], 10.0F, 1e-3F);
}

TEST(FitToPage, IsDeepEnoughForAllThatIsDrawnOnTheSheet) {
    const Box fitted = MakeBox({-1, -1, -1}, {1, 1, 1});
    const Box behind = MakeBox({-1, -1, -50}, {1, 1, -40});
    const Box beside = MakeBox({90, 0, -500}, {91, 1, 500});
    const Frame frame =
        kxcontour::FitToPage(fitted, {fitted, behind, beside}, {}, {{kA4, 10.0}, 1.0, {}, {}});
    EXPECT_LT(frame.center[2] - frame.halfSize[2], -50.0);
    EXPECT_GT(frame.center[2] - frame.halfSize[2], -60.0);
    EXPECT_LT(frame.center[2] + frame.halfSize[2], 2.0);
}

kxcontour::Pyramid SomePyramid() {
    kxcontour::Pyramid pyramid;
    pyramid.eye = {1, 2, 10};
    pyramid.tangentX = 0.5;
    pyramid.tangentY = 0.25;
    pyramid.near = 2.0;
    pyramid.far = 20.0;
    return pyramid;
}

TEST(PerspectiveCameras, TakeTheCornersOfTheirPyramidToThoseOfTheView) {
    for (int i = 0; i < 7; ++i) {
        const ViewAxes axes = AxesOf(static_cast<Direction>(i));
        const kxcontour::Pyramid pyramid = SomePyramid();
        const auto camera = MakeCamera(pyramid, axes);
        const auto seen = [&](double x, double y, double distance) {
            const Vector p = (pyramid.eye[0] + x * distance * pyramid.tangentX) * axes.right +
                             (pyramid.eye[1] + y * distance * pyramid.tangentY) * axes.up +
                             (pyramid.eye[2] - distance) * axes.back;
            return Project(camera, {static_cast<float>(p[0]), static_cast<float>(p[1]),
                                    static_cast<float>(p[2])});
        };
        const Point near = seen(1, 1, 2.0);
        const Point far = seen(-1, -1, 20.0);
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(near[axis], axis == 2 ? -1.0F : 1.0F, 1e-5F) << i;
            EXPECT_NEAR(far[axis], axis == 2 ? 1.0F : -1.0F, 1e-5F) << i;
        }
        EXPECT_NEAR(seen(0, 0, 5.0)[0], 0.0F, 1e-6F) << i;
    }
}

TEST(PerspectiveCameras, HaveMatricesThatAreInverse) {
    for (int i = 0; i < 7; ++i) {
        const auto camera = MakeCamera(SomePyramid(), AxesOf(static_cast<Direction>(i)));
        const Wm4::Matrix4<float> product = camera.worldToClip * camera.clipToWorld;
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                EXPECT_NEAR(product[row][column], row == column ? 1.0F : 0.0F, 2e-5F) << i;
            }
        }
    }
}

TEST(EyeFinder, TouchesOnOneAxisAndKeepsEveryPointInside) {
    test_support::Random random(11);
    for (int trial = 0; trial < 300; ++trial) {
        const double tangent[2] = {0.1 + random.uniform(0, 1), 0.1 + random.uniform(0, 1)};
        kxcontour::EyeFinder finder(tangent[0], tangent[1]);
        std::vector<Vector> points;
        for (int i = 0; i < 10; ++i) {
            points.emplace_back(random.uniform(-9, 9), random.uniform(-9, 9),
                                random.uniform(-9, 9));
            finder.add(points.back());
        }
        const Vector eye = finder.eye();
        double sides[4] = {-9, -9, -9, -9};
        for (const Vector& p : points) {
            const double distance = eye[2] - p[2];
            ASSERT_GE(distance, 0.0);
            for (int axis = 0; axis < 2; ++axis) {
                const double offset = p[axis] - eye[axis];
                double* of = sides + std::ptrdiff_t{2} * axis;
                of[0] = std::max(of[0], offset - tangent[axis] * distance);
                of[1] = std::max(of[1], -offset - tangent[axis] * distance);
            }
        }
        for (const double side : sides) {
            EXPECT_LE(side, 1e-9) << "trial " << trial;
        }
        EXPECT_NEAR(std::max(std::min(sides[0], sides[1]), std::min(sides[2], sides[3])), 0.0, 1e-9)
            << "trial " << trial;
    }
}

} // namespace
