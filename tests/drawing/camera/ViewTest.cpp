// The axes of the named views.
#include "drawing/camera/View.h"

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::AxesOf;
using kxcontour::ParseView;
using kxcontour::View;
using kxcontour::ViewAxes;
using tool_test::FailureOf;
using tool_test::Holds;

using Vector = Wm4::Vector3<double>;

TEST(Views, HaveRightHandedAxesOfUnitLength) {
    for (int i = 0; i < 7; ++i) {
        const ViewAxes axes = AxesOf(static_cast<View>(i));
        EXPECT_NEAR(axes.right.Dot(axes.right), 1.0, 1e-15) << i;
        EXPECT_NEAR(axes.up.Dot(axes.up), 1.0, 1e-15) << i;
        EXPECT_NEAR(axes.back.Dot(axes.back), 1.0, 1e-15) << i;
        const Vector difference = axes.right.Cross(axes.up) - axes.back;
        EXPECT_NEAR(difference.Dot(difference), 0.0, 1e-30) << i;
    }
}

TEST(Views, LookFromWhereTheirNamesSay) {
    EXPECT_EQ(AxesOf(View::Front).back, Vector(0, 0, 1));
    EXPECT_EQ(AxesOf(View::Back).back, Vector(0, 0, -1));
    EXPECT_EQ(AxesOf(View::Right).back, Vector(1, 0, 0));
    EXPECT_EQ(AxesOf(View::Left).back, Vector(-1, 0, 0));
    EXPECT_EQ(AxesOf(View::Top).back, Vector(0, 1, 0));
    EXPECT_EQ(AxesOf(View::Bottom).back, Vector(0, -1, 0));
    const Vector iso = AxesOf(View::Iso).back;
    EXPECT_GT(iso[0], 0.5) << "from the right";
    EXPECT_GT(iso[1], 0.5) << "from above";
    EXPECT_GT(iso[2], 0.5) << "from the front";
}

TEST(Views, ShowTheSidesOfAThingWhereADraughtsmanPutsThem) {
    EXPECT_EQ(AxesOf(View::Top).up, Vector(0, 0, -1)) << "the back of a thing is up in its plan";
    EXPECT_EQ(AxesOf(View::Bottom).up, Vector(0, 0, 1));
    EXPECT_EQ(AxesOf(View::Right).right, Vector(0, 0, -1)) << "its back is on the right";
    EXPECT_EQ(AxesOf(View::Left).right, Vector(0, 0, 1)) << "its front is on the right";
    EXPECT_EQ(AxesOf(View::Iso).right[1], 0.0) << "verticals stay vertical";
}

TEST(Views, AreReadByName) {
    EXPECT_EQ(ParseView("front"), View::Front);
    EXPECT_EQ(ParseView("back"), View::Back);
    EXPECT_EQ(ParseView("left"), View::Left);
    EXPECT_EQ(ParseView("right"), View::Right);
    EXPECT_EQ(ParseView("top"), View::Top);
    EXPECT_EQ(ParseView("bottom"), View::Bottom);
    EXPECT_EQ(ParseView("iso"), View::Iso);
}

TEST(Views, OfUnknownNamesAreRefusedWithTheNearest) {
    const std::string message = FailureOf<kxdrawing::InvalidArgument>([] { ParseView("botom"); });
    EXPECT_TRUE(Holds(message, "'botom'")) << message;
    EXPECT_TRUE(Holds(message, "did you mean 'bottom'?")) << message;
    EXPECT_FALSE(
        Holds(FailureOf<kxdrawing::InvalidArgument>([] { ParseView("perspective"); }), "mean"));
    FailureOf<kxdrawing::InvalidArgument>([] { ParseView(""); });
}

TEST(ViewsByAngles, AreTheNamedOnesAtRightAngles) {
    const auto expectSame = [](double azimuth, double elevation, View view) {
        const ViewAxes angles = AxesOf(azimuth, elevation);
        const ViewAxes named = AxesOf(view);
        EXPECT_EQ(angles.right, named.right);
        EXPECT_EQ(angles.up, named.up);
        EXPECT_EQ(angles.back, named.back);
    };
    expectSame(0, 0, View::Front);
    expectSame(90, 0, View::Right);
    expectSame(180, 0, View::Back);
    expectSame(270, 0, View::Left);
    expectSame(-90, 0, View::Left);
    expectSame(0, 90, View::Top);
    expectSame(0, -90, View::Bottom);
    expectSame(720, 0, View::Front);
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
    const ViewAxes axes = AxesOf(View::Iso);
    const ViewAxes quarter = kxcontour::Rolled(axes, 90.0);
    EXPECT_EQ(quarter.back, axes.back);
    EXPECT_EQ(quarter.right, -axes.up);
    EXPECT_EQ(quarter.up, axes.right);
}

} // namespace
