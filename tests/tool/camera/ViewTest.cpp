// The axes of the named views.
#include "camera/View.h"

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::AxesOf;
using kxcontour::ExitCode;
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
    const std::string message = FailureOf(ExitCode::Usage, [] { ParseView("botom"); });
    EXPECT_TRUE(Holds(message, "'botom'")) << message;
    EXPECT_TRUE(Holds(message, "did you mean 'bottom'?")) << message;
    EXPECT_FALSE(Holds(FailureOf(ExitCode::Usage, [] { ParseView("perspective"); }), "mean"));
    FailureOf(ExitCode::Usage, [] { ParseView(""); });
}

} // namespace
