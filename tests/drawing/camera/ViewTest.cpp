// The axes of the named views.
#include "drawing/camera/View.h"

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::AxesOf;
using kxcontour::ViewAxes;
using kxdrawing::Direction;
using tool_test::FailureOf;
using tool_test::Holds;

using Vector = Wm4::Vector3<double>;

TEST(Views, HaveRightHandedAxesOfUnitLength) {
    for (int i = 0; i < 7; ++i) {
        const ViewAxes axes = AxesOf(static_cast<Direction>(i));
        EXPECT_NEAR(axes.right.Dot(axes.right), 1.0, 1e-15) << i;
        EXPECT_NEAR(axes.up.Dot(axes.up), 1.0, 1e-15) << i;
        EXPECT_NEAR(axes.back.Dot(axes.back), 1.0, 1e-15) << i;
        const Vector difference = axes.right.Cross(axes.up) - axes.back;
        EXPECT_NEAR(difference.Dot(difference), 0.0, 1e-30) << i;
    }
}

TEST(Views, LookFromWhereTheirNamesSay) {
    EXPECT_EQ(AxesOf(Direction::Front).back, Vector(0, 0, 1));
    EXPECT_EQ(AxesOf(Direction::Back).back, Vector(0, 0, -1));
    EXPECT_EQ(AxesOf(Direction::Right).back, Vector(1, 0, 0));
    EXPECT_EQ(AxesOf(Direction::Left).back, Vector(-1, 0, 0));
    EXPECT_EQ(AxesOf(Direction::Top).back, Vector(0, 1, 0));
    EXPECT_EQ(AxesOf(Direction::Bottom).back, Vector(0, -1, 0));
    const Vector iso = AxesOf(Direction::Iso).back;
    EXPECT_GT(iso[0], 0.5) << "from the right";
    EXPECT_GT(iso[1], 0.5) << "from above";
    EXPECT_GT(iso[2], 0.5) << "from the front";
}

TEST(Views, ShowTheSidesOfAThingWhereADraughtsmanPutsThem) {
    EXPECT_EQ(AxesOf(Direction::Top).up, Vector(0, 0, -1))
        << "the back of a thing is up in its plan";
    EXPECT_EQ(AxesOf(Direction::Bottom).up, Vector(0, 0, 1));
    EXPECT_EQ(AxesOf(Direction::Right).right, Vector(0, 0, -1)) << "its back is on the right";
    EXPECT_EQ(AxesOf(Direction::Left).right, Vector(0, 0, 1)) << "its front is on the right";
    EXPECT_EQ(AxesOf(Direction::Iso).right[1], 0.0) << "verticals stay vertical";
}

TEST(ViewsByAngles, AreTheNamedOnesAtRightAngles) {
    const auto expectSame = [](double azimuth, double elevation, Direction view) {
        const ViewAxes angles = AxesOf(azimuth, elevation);
        const ViewAxes named = AxesOf(view);
        EXPECT_EQ(angles.right, named.right);
        EXPECT_EQ(angles.up, named.up);
        EXPECT_EQ(angles.back, named.back);
    };
    expectSame(0, 0, Direction::Front);
    expectSame(90, 0, Direction::Right);
    expectSame(180, 0, Direction::Back);
    expectSame(270, 0, Direction::Left);
    expectSame(-90, 0, Direction::Left);
    expectSame(0, 90, Direction::Top);
    expectSame(0, -90, Direction::Bottom);
    expectSame(720, 0, Direction::Front);
}

TEST(ViewsByAngles, HaveRightHandedAxesOfUnitLength) {
    for (int azimuth = -400; azimuth <= 400; azimuth += 37) {
        for (int elevation = -90; elevation <= 90; elevation += 15) {
            const ViewAxes axes = AxesOf(azimuth, elevation);
            EXPECT_NEAR(axes.right.Dot(axes.right), 1.0, 1e-14);
            const Vector difference = axes.right.Cross(axes.up) - axes.back;
            EXPECT_NEAR(difference.Dot(difference), 0.0, 1e-28);
            EXPECT_EQ(axes.right[1], 0.0) << "verticals stay vertical";
        }
    }
}

TEST(ViewsByPoints, KeepWhatIsUpUpright) {
    const ViewAxes axes = kxcontour::AxesLooking({3, 4, 12}, {0, 0.001, 0});
    EXPECT_NEAR(axes.back[2], 12.0 / 13.0, 1e-15);
    EXPECT_EQ(axes.right[1], 0.0);
    EXPECT_GT(axes.up[1], 0.0);
    const Vector difference = axes.right.Cross(axes.up) - axes.back;
    EXPECT_NEAR(difference.Dot(difference), 0.0, 1e-28);
}

TEST(ViewsByPoints, NeedADirectionAndAnotherUp) {
    FailureOf<kxdrawing::InvalidArgument>([] { kxcontour::AxesLooking({0, 0, 0}, {0, 1, 0}); });
    FailureOf<kxdrawing::InvalidArgument>([] { kxcontour::AxesLooking({0, 2, 0}, {0, -5, 0}); });
    FailureOf<kxdrawing::InvalidArgument>([] { kxcontour::AxesLooking({0, 2, 0}, {0, 0, 0}); });
}

TEST(RolledViews, TurnOnThePageAlone) {
    const ViewAxes axes = AxesOf(Direction::Iso);
    const ViewAxes quarter = kxcontour::Rolled(axes, 90.0);
    EXPECT_EQ(quarter.back, axes.back);
    EXPECT_EQ(quarter.right, -axes.up);
    EXPECT_EQ(quarter.up, axes.right);
}

} // namespace
