// Cameras as users ask for them.
#include "drawing/camera/Camera.h"

#include <ctr/ExportParameters.h>

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using kxcontour::AimCamera;
using kxcontour::AimedCamera;
using kxcontour::AxesOf;
using kxcontour::Box;
using kxcontour::MeshList;
using kxcontour::Projection;
using kxdrawing::Direction;
using kxdrawing::Page;
using kxdrawing::View;
using tool_test::FailureOf;
using tool_test::Point;

using Vector = Wm4::Vector3<double>;

const Page kA4{{210.0, 297.0}, 10.0};

kx::kxPointer<kx::kxTriMesh> BoxMesh(const Point& lowest, const Point& highest) {
    return test_support::MakeMesh(test_support::Box(lowest, highest));
}

MeshList Cube() {
    return {BoxMesh({-1, -1, -1}, {1, 1, 1})};
}

AimedCamera Aim(const View& request, const MeshList& meshes, const Page& page = kA4) {
    return AimCamera(request, {meshes, meshes, {}}, page);
}

/// Normalised device coordinates.
Point Project(const AimedCamera& camera, const Point& p) {
    const Wm4::Vector4<float> clip =
        Wm4::Vector4<float>(p[0], p[1], p[2], 1.0F) * camera.space.worldToClip;
    return {clip[0] / clip[3], clip[1] / clip[3], clip[2] / clip[3]};
}

/// Millimetres from the lower left corner of an A4 sheet.
Wm4::Vector2<float> OnPage(const AimedCamera& camera, const Point& p) {
    const Point ndc = Project(camera, p);
    return {105.0F * (ndc[0] + 1.0F), 148.5F * (ndc[1] + 1.0F)};
}

TEST(AimCamera, LooksFromWhereAzimuthAndElevationSay) {
    View request;
    request.azimuth = 90.0;
    const AimedCamera right = Aim(request, Cube());
    EXPECT_LT(Project(right, {1, 0, 0})[2], Project(right, {-1, 0, 0})[2]) << "+x is near";
    request.elevation = 90.0;
    const AimedCamera top = Aim(request, Cube());
    EXPECT_LT(Project(top, {0, 1, 0})[2], Project(top, {0, -1, 0})[2]) << "+y is near";
}

TEST(AimCamera, ShowsTheSameThroughNamesAnglesAndPoints) {
    View named;
    named.direction = Direction::Right;
    View angles;
    angles.azimuth = 90.0;
    View points;
    points.eye = kxdrawing::Vector{7, 0, 0};
    const auto& expected = Aim(named, Cube()).space.worldToClip;
    EXPECT_EQ(Aim(angles, Cube()).space.worldToClip, expected);
    EXPECT_EQ(Aim(points, Cube()).space.worldToClip, expected);
}

TEST(AimCamera, LooksStraightDownWithTheBackUpOnThePage) {
    View named;
    named.direction = Direction::Top;
    View points;
    points.eye = kxdrawing::Vector{0, 9, 0};
    EXPECT_EQ(Aim(points, Cube()).space.worldToClip, Aim(named, Cube()).space.worldToClip);
    points.up = kxdrawing::Vector{0, 1, 0};
    FailureOf<kxdrawing::InvalidArgument>([&] { Aim(points, Cube()); });
}

TEST(AimCamera, RefusesAPositionInItsFocalPoint) {
    View request;
    request.eye = kxdrawing::Vector{0, 0, 0};
    FailureOf<kxdrawing::InvalidArgument>([&] { Aim(request, Cube()); });
}

TEST(AimCamera, RollsTheDrawingCounterClockwise) {
    View request;
    request.direction = Direction::Front;
    request.roll = 90.0;
    const AimedCamera camera = Aim(request, Cube());
    const Point right = Project(camera, {1, 0, 0});
    EXPECT_NEAR(right[0], 0.0F, 1e-6F);
    EXPECT_GT(right[1], 0.1F) << "what was on the right is up";
}

TEST(AimCamera, PrintsToScale) {
    View request;
    request.direction = Direction::Front;
    request.scale = 25.0;
    const AimedCamera camera = Aim(request, Cube());
    EXPECT_NEAR(OnPage(camera, {1, 0, 0})[0] - OnPage(camera, {-1, 0, 0})[0], 50.0F, 1e-3F);
    ASSERT_TRUE(camera.unitsPerMillimetre && camera.drawnSize);
    EXPECT_DOUBLE_EQ(*camera.unitsPerMillimetre, 1.0 / 25.0);
    EXPECT_NEAR(camera.drawnSize->width, 50.0, 1e-9);
    EXPECT_NEAR(camera.drawnSize->height, 50.0, 1e-9);
}

TEST(AimCamera, FitsAPartAndStillShowsWhatIsAround) {
    const MeshList part = Cube();
    const MeshList all{part[0], BoxMesh({-1, -1, -9}, {1, 1, -8})};
    View request;
    request.direction = Direction::Front;
    const AimedCamera camera = AimCamera(request, {all, part, {}}, kA4);
    EXPECT_NEAR(OnPage(camera, {-1, 0, 0})[0], 10.0F, 1e-3F);
    EXPECT_LT(Project(camera, {0, 0, -9})[2], 1.0F);
}

View InPerspective(Direction view) {
    View request;
    request.direction = view;
    request.projection = Projection::Perspective;
    return request;
}

TEST(PerspectiveViews, FillThePageInsideTheMargin) {
    for (int i = 0; i < 7; ++i) {
        const AimedCamera camera = Aim(InPerspective(static_cast<Direction>(i)), Cube());
        float least = 1e9F;
        for (int corner = 0; corner < 8; ++corner) {
            const Point p((corner & 1) != 0 ? 1.0F : -1.0F, (corner & 2) != 0 ? 1.0F : -1.0F,
                          (corner & 4) != 0 ? 1.0F : -1.0F);
            const auto at = OnPage(camera, p);
            least = std::min({least, at[0], at[1], 210.0F - at[0], 297.0F - at[1]});
            EXPECT_LT(std::abs(Project(camera, p)[2]), 1.0F) << "not cut in depth";
        }
        EXPECT_NEAR(least, 10.0F, 2e-2F) << i;
        EXPECT_FALSE(camera.unitsPerMillimetre) << "there is no scale in perspective";
    }
}

TEST(PerspectiveViews, ShowWhatIsNearLarger) {
    const AimedCamera camera = Aim(InPerspective(Direction::Front), Cube());
    EXPECT_GT(Project(camera, {1, 0, 1})[0], 1.1F * Project(camera, {1, 0, -1})[0]);
}

TEST(PerspectiveViews, StayWhereTheyArePut) {
    View request = InPerspective(Direction::Front);
    request.eye = kxdrawing::Vector{0, 0, 5};
    request.target = kxdrawing::Vector{0, 0, 0};
    request.fieldOfView = 90.0;
    const AimedCamera camera = Aim(request, Cube());
    // At the distance 5 the sheet inside its margin is 10 high.
    EXPECT_NEAR(OnPage(camera, {0, 5, 0})[1], 287.0F, 1e-2F);
    request.zoom = 2.0;
    EXPECT_NEAR(OnPage(Aim(request, Cube()), {0, 2.5F, 0})[1], 287.0F, 1e-2F);
}

TEST(PerspectiveViews, ZoomWithoutMovingTheEye) {
    View request = InPerspective(Direction::Iso);
    const AimedCamera once = Aim(request, Cube());
    request.zoom = 3.0;
    const AimedCamera thrice = Aim(request, Cube());
    for (const Point& p : {Point(1, 1, 1), Point(-1, 1, -1), Point(0.5F, 0, 0)}) {
        EXPECT_NEAR(Project(thrice, p)[0], 3.0F * Project(once, p)[0], 1e-4F);
        EXPECT_NEAR(Project(thrice, p)[1], 3.0F * Project(once, p)[1], 1e-4F);
    }
}

TEST(PerspectiveViews, FromInsideKeepAPlaneBeforeTheEye) {
    View request = InPerspective(Direction::Front);
    request.eye = kxdrawing::Vector{0, 0, 0.5};
    request.target = kxdrawing::Vector{0, 0, 0};
    const AimedCamera camera = Aim(request, Cube());
    EXPECT_LT(Project(camera, {0, 0, -1})[2], 1.0F);
    EXPECT_GT(Project(camera, {0, 0, 0.49F})[2], -1.0F) << "nearer than that is rarely meant";
}

TEST(PerspectiveViews, OfSomethingBehindTheEyeAreRefused) {
    View request = InPerspective(Direction::Front);
    request.eye = kxdrawing::Vector{0, 0, -5};
    request.target = kxdrawing::Vector{0, 0, -6};
    FailureOf<kxdrawing::NothingToDraw>([&] { Aim(request, Cube()); });
}

// As a part that its place in the model scales to nothing.
TEST(PerspectiveViews, OfASinglePointAreRefused) {
    const Point point(-21.875F, -21.875F, -21.875F);
    const MeshList meshes{test_support::MakeMesh({point, point, point}, {0, 1, 2})};
    for (const Direction view :
         {Direction::Back, Direction::Front, Direction::Top, Direction::Iso}) {
        FailureOf<kxdrawing::NothingToDraw>([&] { Aim(InPerspective(view), meshes); });
    }
}

TEST(PerspectiveViews, ReachToOccludersBeforeTheEye) {
    const MeshList meshes = Cube();
    View request = InPerspective(Direction::Front);
    request.eye = kxdrawing::Vector{0, 0, 9};
    request.target = kxdrawing::Vector{0, 0, 0};
    const MeshList occluders{BoxMesh({-1, -1, 5}, {1, 1, 6})};
    const AimedCamera camera = AimCamera(request, {meshes, meshes, occluders}, kA4);
    EXPECT_GT(Project(camera, {0, 0, 6})[2], -1.0F);
}

TEST(MeasureInView, TurnsPlacedTrianglesIntoTheView) {
    kxcontour::Shape shape = tool_test::MakeShape(test_support::Box({0, 0, 0}, {1, 2, 3}));
    const kx::kxPointer<kx::kxTriMesh> mesh(
        new kx::kxTriMesh(shape.vertices.get(), shape.triangles.get()));
    kx::kxGenericTransformation<float> moved;
    moved.SetMatrix(Wm4::Matrix4<float>(2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1));
    mesh->SetWorldTransformation(moved);
    const Box top = kxcontour::MeasureInView(*mesh, AxesOf(Direction::Top));
    EXPECT_EQ(top.min, Vector(10, -33, 20));
    EXPECT_EQ(top.max, Vector(12, -30, 22));
}

TEST(MeasureInView, LeavesOutVerticesThatNoTriangleUses) {
    test_support::MeshData data = test_support::Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    data.addVertex({99, 99, 99});
    kxcontour::Shape shape = tool_test::MakeShape(data);
    const kx::kxPointer<kx::kxTriMesh> mesh(
        new kx::kxTriMesh(shape.vertices.get(), shape.triangles.get()));
    EXPECT_EQ(kxcontour::MeasureInView(*mesh, AxesOf(Direction::Front)).max, Vector(1, 1, 0));
}

} // namespace
