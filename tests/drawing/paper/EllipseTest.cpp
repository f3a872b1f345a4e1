// Ellipses through their ends, and none where there is none.
#include "drawing/paper/Ellipse.h"

#include "drawing/paper/PaperShapes.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

using kxcontour::Ellipse;
using kxcontour::EllipseKind;
using kxcontour::FitEllipse;
using kxcontour::Point;
using test_support::Random;

constexpr double kPi = std::numbers::pi;

double DistanceOf(Point p, Point q) {
    return std::hypot(p.x - q.x, p.y - q.y);
}

Ellipse RandomEllipse(Random& random) {
    const double turn = random.uniform(0.0F, 3.0F);
    const double radius = random.uniform(1.0F, 50.0F);
    const Point center = tool_test::RandomPoint(random, 300.0F);
    return {center, {std::cos(turn), std::sin(turn)}, radius, radius * random.uniform(0.1F, 0.9F)};
}

TEST(FitEllipse, FindsTheEllipseOfItsPoints) {
    for (int trial = 0; trial < test_support::Scaled(100); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const Ellipse curve = RandomEllipse(random);
        const double sweep = random.percent(30) ? 2.0 * kPi : random.uniform(2.0F, 6.0F);
        std::vector<Point> points;
        for (int i = 0; i <= 30; ++i) {
            points.push_back(curve.at(sweep * i / 30));
        }
        if (sweep == 2.0 * kPi) {
            points.back() = points.front();
        }
        const auto found = FitEllipse(points, EllipseKind::Any);
        ASSERT_TRUE(found);
        EXPECT_NEAR(found->radiusX, curve.radiusX, 1e-6);
        EXPECT_NEAR(found->radiusY, curve.radiusY, 1e-6);
        EXPECT_LT(DistanceOf(found->center, curve.center), 1e-6);
    }
}

TEST(FitEllipse, GoesThroughBothEndsWhateverIsBetween) {
    for (int trial = 0; trial < test_support::Scaled(100); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const Ellipse curve = RandomEllipse(random);
        std::vector<Point> points;
        for (int i = 0; i <= 30; ++i) {
            const Point p = curve.at(5.0 * i / 30);
            points.push_back(
                {p.x + random.uniform(-0.01F, 0.01F), p.y + random.uniform(-0.01F, 0.01F)});
        }
        for (const EllipseKind kind : {EllipseKind::Any, EllipseKind::Circle}) {
            const auto found = FitEllipse(points, kind);
            ASSERT_TRUE(found);
            EXPECT_EQ(kind == EllipseKind::Circle, found->radiusX == found->radiusY);
            for (const Point& end : {points.front(), points.back()}) {
                EXPECT_LT(DistanceOf(found->at(found->angleNear(end)), end), 1e-8);
            }
        }
    }
}

TEST(FitEllipse, FindsNothingInLinesPointsAndHyperbolas) {
    std::vector<Point> line;
    std::vector<Point> hyperbola;
    for (int i = 0; i < 20; ++i) {
        line.push_back({3.0 * i, 4.0 * i});
        hyperbola.push_back({1.0 + i, 20.0 / (1.0 + i)});
    }
    EXPECT_FALSE(FitEllipse(line, EllipseKind::Circle));
    EXPECT_FALSE(FitEllipse(line, EllipseKind::Any));
    EXPECT_FALSE(FitEllipse(hyperbola, EllipseKind::Any));
    const std::vector<Point> same(5, Point{7, 7});
    EXPECT_FALSE(FitEllipse(same, EllipseKind::Circle));
    EXPECT_FALSE(FitEllipse(std::vector<Point>{{0, 0}, {1, 0}}, EllipseKind::Circle));
}

TEST(Ellipse, NearIsAsNearAsAnyPointCanBe) {
    for (int trial = 0; trial < test_support::Scaled(20); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const Ellipse ellipse = RandomEllipse(random);
        for (int i = 0; i < 20; ++i) {
            const Point on = ellipse.at(random.uniform(-3.0F, 3.0F));
            const Point p{on.x + random.uniform(-0.02F, 0.02F),
                          on.y + random.uniform(-0.02F, 0.02F)};
            double nearest = std::numeric_limits<double>::infinity();
            for (int k = 0; k < 2000; ++k) {
                nearest = std::min(nearest, DistanceOf(ellipse.at(2.0 * kPi * k / 2000), p));
            }
            EXPECT_LE(DistanceOf(ellipse.at(ellipse.angleNear(p)), p), nearest + 1e-9);
        }
    }
}

TEST(Ellipse, TheTangentIsWhatTheAngleMoves) {
    const Ellipse ellipse{{5, 6}, {0.6, 0.8}, 4, 2};
    const double step = 1e-6;
    const Point before = ellipse.at(1.0 - step);
    const Point after = ellipse.at(1.0 + step);
    EXPECT_NEAR(ellipse.tangentAt(1.0).x, (after.x - before.x) / (2 * step), 1e-6);
    EXPECT_NEAR(ellipse.tangentAt(1.0).y, (after.y - before.y) / (2 * step), 1e-6);
}

} // namespace
