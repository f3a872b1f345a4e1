// Fitting of straight lines and circular arcs: each rule on a chain made for it, limits from both
// sides, and random chains compared with a plain second implementation.
#include <ctr/FittingSystem.h>

#include "fitting/PlainFit.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <tuple>
#include <vector>

namespace {

using ctr::FittingSystem;
using test_support::PlainFit;
using test_support::Random;
using test_support::Scaled;
using Point = Wm4::Vector3<float>;
using Vector = Wm4::Vector3<double>;
using Points = std::vector<Point>;

constexpr double kPi = 3.141592653589793;
constexpr double kLowestRatio = 0.825263276564015;
constexpr double kHighestRatio = 1.0049999952316284;

constexpr double Radians(double degrees) {
    return degrees * kPi / 180.0;
}

// A circle in space: the points of angle 0 and 90 degrees, seen from its centre, are u and v.
struct Circle {
    Vector centre{7.0, -3.0, 2.0};
    Vector u{2.0, 0.0, 0.0};
    Vector v{0.0, 2.0, 0.0};

    Point at(double angle) const {
        const Vector p = centre + u * std::cos(angle) + v * std::sin(angle);
        return Point(static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]));
    }

    // Points in steps of equal angle, both ends included; a full turn ends exactly where it began.
    Points arc(double from, double sweep, int segments) const {
        Points points;
        for (int i = 0; i <= segments; ++i) {
            points.push_back(at(from + sweep * i / segments));
        }
        if (std::abs(std::abs(sweep) - 2.0 * kPi) < 1e-9) {
            points.back() = points.front();
        }
        return points;
    }
};

FittingSystem Chain(const Points& points, bool trackCircle) {
    FittingSystem system;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        EXPECT_TRUE(system.addToSystem(points[i], points[i + 1], false, trackCircle));
    }
    return system;
}

FittingSystem Arc(const Points& points) {
    return Chain(points, true);
}

FittingSystem Line(const Points& points) {
    return Chain(points, false);
}

bool IsArc(const FittingSystem& system) {
    return system.fitCircle(nullptr);
}

// Everything a system holds.
auto Fields(const FittingSystem& s) {
    const auto numbers = [](const auto& v) {
        return std::array<double, 3>{static_cast<double>(v[0]), static_cast<double>(v[1]),
                                     static_cast<double>(v[2])};
    };
    return std::tuple_cat(
        std::make_tuple(s.directionMoments, numbers(s.firstPoint), numbers(s.lastPoint), s.area),
        std::make_tuple(numbers(s.center), numbers(s.normal), numbers(s.frontReference)),
        std::make_tuple(numbers(s.backReference), s.clockwise, s.circleStarted),
        std::make_tuple(numbers(s.firstDirection), s.collinear, numbers(s.bisectorMoments)),
        std::make_tuple(s.bisectorSquares, s.count));
}

// --- State -----------------------------------------------------------------------------------

TEST(FittingSystem, WithoutSegmentsIsNeitherLineNorCircle) {
    const FittingSystem system;
    float angle = 5.0F;
    EXPECT_FALSE(system.fitLine());
    EXPECT_FALSE(system.couldFitCircle());
    EXPECT_FALSE(system.fitCircle(&angle));
    EXPECT_EQ(angle, 5.0F);
    EXPECT_EQ(system.count, 0.0);
    EXPECT_EQ(system.center, Vector(0, 0, 0));
}

TEST(FittingSystem, ResetForgetsEverything) {
    FittingSystem system = Arc(Circle().arc(0.0, 2.0, 9));
    ASSERT_NE(Fields(system), Fields(FittingSystem()));
    system.reset();
    EXPECT_EQ(Fields(system), Fields(FittingSystem()));
}

TEST(FittingSystem, CopiesGoTheirOwnWay) {
    const Points points = Circle().arc(0.0, 2.0, 9);
    const FittingSystem before = Arc(points);
    FittingSystem copy = before;
    copy.addToSystem(points[9], Point(50, 50, 50), false, true);
    EXPECT_TRUE(IsArc(before));
    EXPECT_FALSE(IsArc(copy));
}

TEST(FittingSystem, ASegmentWithoutLengthIsRefusedAndChangesNothing) {
    FittingSystem system = Arc(Circle().arc(0.0, 2.0, 9));
    const auto before = Fields(system);
    const Point end = system.lastPoint;
    for (const bool atFront : {false, true}) {
        for (const bool trackCircle : {false, true}) {
            EXPECT_FALSE(system.addToSystem(end, end, atFront, trackCircle));
            EXPECT_EQ(Fields(system), before);
        }
    }
    FittingSystem empty;
    EXPECT_FALSE(empty.addToSystem(Point(0.0F, 1, 2), Point(-0.0F, 1, 2), false, true));
    EXPECT_EQ(Fields(empty), Fields(FittingSystem()));
}

TEST(FittingSystem, TheSmallestLengthCounts) {
    const float tiny = std::numeric_limits<float>::denorm_min();
    FittingSystem system;
    EXPECT_TRUE(system.addToSystem(Point(0, 0, 0), Point(tiny, 0, 0), false, false));
    EXPECT_DOUBLE_EQ(system.directionMoments[0], 1.0);
}

TEST(FittingSystem, TheFirstSegmentSetsTheEndsWhateverItsSide) {
    for (const bool atFront : {false, true}) {
        FittingSystem system;
        EXPECT_TRUE(system.addToSystem(Point(1, 2, 3), Point(4, 6, 3), atFront, true));
        EXPECT_EQ(system.firstPoint, Point(1, 2, 3));
        EXPECT_EQ(system.lastPoint, Point(4, 6, 3));
        EXPECT_EQ(system.firstDirection, Point(3, 4, 0));
        EXPECT_EQ(system.area, 0.0);
        EXPECT_TRUE(system.collinear);
        EXPECT_FALSE(system.circleStarted);
    }
}

TEST(FittingSystem, SumsAreThoseOfTheDirectionsAndBisectingPlanes) {
    FittingSystem system;
    system.addToSystem(Point(1, 2, 3), Point(4, 6, 3), false, false);
    // Direction (0.6, 0.8, 0), middle (2.5, 4, 3), offset 1.5 + 3.2.
    EXPECT_NEAR(system.directionMoments[0], 0.36, 1e-15);
    EXPECT_NEAR(system.directionMoments[1], 0.48, 1e-15);
    EXPECT_NEAR(system.directionMoments[3], 0.64, 1e-15);
    EXPECT_NEAR(system.bisectorMoments[0], 4.7 * 0.6, 1e-14);
    EXPECT_NEAR(system.bisectorMoments[1], 4.7 * 0.8, 1e-14);
    EXPECT_NEAR(system.bisectorSquares, 4.7 * 4.7, 1e-13);
    system.addToSystem(Point(4, 6, 3), Point(4, 6, 13), false, false);
    EXPECT_NEAR(system.directionMoments[5], 1.0, 1e-15);
    EXPECT_NEAR(system.bisectorMoments[2], 8.0, 1e-14);
    EXPECT_NEAR(system.bisectorSquares, 4.7 * 4.7 + 64.0, 1e-12);
    EXPECT_EQ(system.count, 2.0);
}

// --- Lines -----------------------------------------------------------------------------------

TEST(FitLine, OneSegmentIsALine) {
    EXPECT_TRUE(Line({Point(1, 2, 3), Point(0, 5, 9)}).fitLine());
}

TEST(FitLine, TwoSegmentsOneAfterTheOtherAreALine) {
    EXPECT_TRUE(Line({Point(1, 1, 1), Point(2, 3, 4), Point(4, 7, 10)}).fitLine());
}

TEST(FitLine, ASegmentThatTurnsBackEndsTheLineForGood) {
    FittingSystem system = Line({Point(1, 1, 1), Point(2, 3, 4), Point(1, 1, 1)});
    EXPECT_FALSE(system.fitLine());
    system.addToSystem(Point(1, 1, 1), Point(2, 3, 4), false, false);
    EXPECT_FALSE(system.fitLine());
}

TEST(FitLine, AtTheFrontSegmentsRunTheOtherWay) {
    FittingSystem system = Line({Point(0, 0, 0), Point(1, 0, 0)});
    system.addToSystem(Point(0, 0, 0), Point(-1, 0, 0), true, false);
    EXPECT_TRUE(system.fitLine());
    system.addToSystem(Point(-2, 0, 0), Point(-1, 0, 0), true, false);
    EXPECT_FALSE(system.fitLine());
}

TEST(FitLine, ARightAngleIsNoWayBackAtTheBackButIsNoWayOnAtTheFront) {
    for (const bool atFront : {false, true}) {
        FittingSystem system = Line({Point(0, 0, 0), Point(1, 0, 0)});
        system.addToSystem(Point(1, 0, 0), Point(1, 1, 0), atFront, false);
        EXPECT_EQ(system.collinear, !atFront);
        EXPECT_FALSE(system.fitLine());
    }
}

TEST(FitLine, TrackingALineLeavesTheEndsAlone) {
    const FittingSystem system = Line({Point(0, 0, 0), Point(1, 0, 0), Point(2, 0, 0)});
    EXPECT_EQ(system.firstPoint, Point(0, 0, 0));
    EXPECT_EQ(system.lastPoint, Point(1, 0, 0));
}

// A line of steps of length 1000 that go up and down by turns at the given angle.
Points Zigzag(double degrees, int segments) {
    Points points;
    const auto height = static_cast<float>(1000.0 * std::tan(Radians(degrees)));
    for (int i = 0; i <= segments; ++i) {
        points.push_back(Point(1000.0F * static_cast<float>(i), i % 2 == 0 ? 0.0F : height, 5.0F));
    }
    return points;
}

TEST(FitLine, DeviateByLessThanATenthOfADegree) {
    for (const int segments : {2, 4, 10, 40}) {
        EXPECT_TRUE(Line(Zigzag(0.09999, segments)).fitLine()) << segments;
        EXPECT_FALSE(Line(Zigzag(0.10001, segments)).fitLine()) << segments;
    }
}

TEST(FitLine, TheDeviationIsAMeanOverTheSegments) {
    // Ten segments and one that is d degrees off: 10 / 11 d^2 against 11 times 0.1^2.
    const auto bent = [](double degrees) {
        Points points = Zigzag(0.0, 10);
        points.push_back(
            points.back() +
            Point(1000.0F, static_cast<float>(1000.0 * std::tan(Radians(degrees))), 0));
        return Line(points).fitLine();
    };
    EXPECT_TRUE(bent(0.345));
    EXPECT_FALSE(bent(0.35));
}

TEST(FitLine, InEveryDirection) {
    Random random(31);
    for (int trial = Scaled(2000); trial > 0; --trial) {
        const Point step(random.uniform(-1, 1), random.uniform(-1, 1), random.uniform(-1, 1));
        if (step.Length() < 0.1F) {
            continue;
        }
        Points points;
        for (int i = 0; i < 12; ++i) {
            points.push_back(Point(3, 4, 5) + static_cast<float>(i) * step);
        }
        ASSERT_TRUE(Line(points).fitLine()) << step[0] << ' ' << step[1] << ' ' << step[2];
    }
}

// --- Circles ---------------------------------------------------------------------------------

TEST(FitCircle, CouldBeFromTwoSegmentsOn) {
    EXPECT_FALSE(Arc({Point(1, 0, 0), Point(2, 0, 0)}).couldFitCircle());
    EXPECT_TRUE(Arc({Point(1, 0, 0), Point(2, 0, 0), Point(3, 0, 0)}).couldFitCircle());
    EXPECT_TRUE(Line({Point(1, 0, 0), Point(2, 0, 0), Point(9, 7, 5)}).couldFitCircle());
}

TEST(FitCircle, ALineIsNone) {
    EXPECT_FALSE(IsArc(Arc({Point(1, 0, 0), Point(2, 0, 0), Point(3, 0, 0), Point(4, 0, 0)})));
}

TEST(FitCircle, HaveToBeTrackedAsSuch) {
    EXPECT_FALSE(IsArc(Line(Circle().arc(0.0, 2.0, 9))));
}

TEST(FitCircle, TellTheSweptAngleOfAnArc) {
    const Circle circle;
    for (const double degrees : {10.0, 22.5, 45.0, 90.0, 135.0, 179.0, 181.0, 270.0, 345.0}) {
        for (const double sign : {-1.0, 1.0}) {
            float angle = 0.0F;
            const Points points = circle.arc(0.3, sign * Radians(degrees), 24);
            EXPECT_TRUE(Arc(points).fitCircle(&angle)) << degrees;
            EXPECT_NEAR(angle, Radians(degrees), 1e-3) << degrees;
        }
    }
}

TEST(FitCircle, GrowAtEitherEnd) {
    const Points points = Circle().arc(0.3, 4.0, 24);
    Random random(7);
    for (int trial = 0; trial < 100; ++trial) {
        const auto start = static_cast<std::size_t>(random.below(24));
        FittingSystem system;
        system.addToSystem(points[start], points[start + 1], false, true);
        std::size_t front = start;
        std::size_t back = start + 1;
        while (front > 0 || back < 24) {
            if (back == 24 || (front > 0 && random.percent(50))) {
                system.addToSystem(points[front], points[front - 1], true, true);
                --front;
            } else {
                system.addToSystem(points[back], points[back + 1], false, true);
                ++back;
            }
            float angle = 0.0F;
            ASSERT_TRUE(system.fitCircle(&angle)) << front << ' ' << back;
            ASSERT_NEAR(angle, 4.0 * static_cast<double>(back - front) / 24.0, 1e-3);
        }
        EXPECT_EQ(system.firstPoint, points.front());
        EXPECT_EQ(system.lastPoint, points.back());
    }
}

TEST(FitCircle, TheLastSegmentGivenAgainTakesTheEndBack) {
    const Points points = Circle().arc(0.3, 4.0, 24);
    FittingSystem system = Arc({points.begin(), points.begin() + 4});
    EXPECT_EQ(system.lastPoint, points[3]);
    system.addToSystem(points[2], points[3], false, true);
    EXPECT_EQ(system.lastPoint, points[2]);
}

TEST(FitCircle, AClosedChainSweepsAFullTurn) {
    for (const int sides : {6, 7, 12, 100, 1000}) {
        for (const double sign : {-1.0, 1.0}) {
            float angle = 0.0F;
            const Points points = Circle().arc(0.1, sign * 2.0 * kPi, sides);
            EXPECT_TRUE(Arc(points).fitCircle(&angle)) << sides;
            EXPECT_EQ(angle, static_cast<float>(6.283185307179586)) << sides;
        }
    }
}

TEST(FitCircle, AClosedChainWithFewSidesIsNone) {
    // Against the disc a hexagon has 0.827 of its area, a pentagon 0.757.
    EXPECT_TRUE(IsArc(Arc(Circle().arc(0.1, 2.0 * kPi, 6))));
    EXPECT_FALSE(IsArc(Arc(Circle().arc(0.1, 2.0 * kPi, 5))));
    EXPECT_FALSE(IsArc(Arc(Circle().arc(0.1, 2.0 * kPi, 4))));
}

TEST(FitCircle, LieAnywhereAcrossEachAxis) {
    Random random(12);
    for (int trial = Scaled(1000); trial > 0; --trial) {
        const int axis = random.below(3);
        const double radius = random.uniform(5.0F, 20.0F);
        Circle circle;
        circle.u = Vector(0, 0, 0);
        circle.v = Vector(0, 0, 0);
        circle.u[(axis + 1) % 3] = radius;
        circle.v[(axis + 2) % 3] = random.percent(50) ? radius : -radius;
        for (int i = 0; i < 3; ++i) {
            circle.centre[i] = random.uniform(-30.0F, 30.0F);
        }
        const double sweep = random.uniform(1.0F, 6.0F);
        float angle = 0.0F;
        const FittingSystem system = Arc(circle.arc(random.uniform(0.0F, 6.0F), sweep, 20));
        ASSERT_TRUE(system.fitCircle(&angle)) << "trial " << trial;
        ASSERT_NEAR(angle, sweep, 1e-3) << "trial " << trial;
        Vector normal;
        Vector centre;
        ASSERT_TRUE(system.computeCircleNormalCenter(system.firstPoint, normal, centre));
        EXPECT_LT((centre - circle.centre).Length(), 1e-3 * radius);
        EXPECT_NEAR(std::abs(normal[axis]), 1.0, 1e-9);
    }
}

TEST(FitCircle, OfFineChordsInASlantedPlaneAreNotRecognised) {
    // The normal is what sixteen powers make of the directions. While these are two and differ
    // little, it leans from the plane's own normal towards the nearest axis.
    Circle circle;
    circle.v = Vector(0.0, 1.2, 1.6);
    EXPECT_FALSE(IsArc(Arc(circle.arc(0.0, 2.0, 20))));
    circle.v = Vector(0.0, 2.0, 0.0);
    EXPECT_TRUE(IsArc(Arc(circle.arc(0.0, 2.0, 20))));
}

TEST(FitCircle, NormalAndCentreComeInFloatsToo) {
    const FittingSystem system = Arc(Circle().arc(0.3, 2.0, 9));
    Vector normal;
    Vector centre;
    Point floatNormal;
    Point floatCentre;
    ASSERT_TRUE(system.computeCircleNormalCenter(system.firstPoint, normal, centre));
    ASSERT_TRUE(system.computeCircleNormalCenter(system.firstPoint, floatNormal, floatCentre));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(floatNormal[i], static_cast<float>(normal[i]));
        EXPECT_EQ(floatCentre[i], static_cast<float>(centre[i]));
    }
    const FittingSystem none = Arc({Point(1, 0, 0), Point(2, 0, 0)});
    EXPECT_FALSE(none.computeCircleNormalCenter(none.firstPoint, normal, centre));
    EXPECT_FALSE(none.computeCircleNormalCenter(none.firstPoint, floatNormal, floatCentre));
}

TEST(FitCircle, SmallNoiseIsTakenAndLargeIsNot) {
    Random random(5);
    const auto noisy = [&](float noise) {
        Points points = Circle().arc(0.3, 4.0, 16);
        for (Point& p : points) {
            p[0] += random.uniform(-noise, noise);
            p[1] += random.uniform(-noise, noise);
        }
        return IsArc(Arc(points));
    };
    for (int trial = 0; trial < 100; ++trial) {
        EXPECT_TRUE(noisy(0.0005F)) << trial;
        EXPECT_FALSE(noisy(0.2F)) << trial;
    }
}

TEST(FitCircle, AHelixIsNone) {
    Points points = Circle().arc(0.3, 4.0, 16);
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i][2] += 0.1F * static_cast<float>(i);
    }
    EXPECT_FALSE(IsArc(Arc(points)));
}

TEST(FitCircle, TurningTheOtherWayEndsTracking) {
    const Circle circle;
    const Points there = circle.arc(0.0, 1.0, 8);
    FittingSystem system = Arc(there);
    ASSERT_TRUE(IsArc(system));
    system.addToSystem(there[8], there[7], false, true);
    EXPECT_EQ(system.area, -1.0);
    EXPECT_FALSE(IsArc(system));
    system.addToSystem(there[8], circle.at(1.125), false, true); // for good
    EXPECT_EQ(system.area, -1.0);
    EXPECT_FALSE(IsArc(system));
}

TEST(FitCircle, ASegmentThatMissesTheEndByAHairEndsTracking) {
    const Circle circle;
    for (const bool atFront : {false, true}) {
        const Points points = circle.arc(0.5, 1.0, 8);
        FittingSystem touching = Arc(points);
        FittingSystem apart = touching;
        Point end = atFront ? points.front() : points.back();
        const Point next = circle.at(atFront ? 0.375 : 1.625);
        touching.addToSystem(end, next, atFront, true);
        end[0] = std::nextafter(end[0], 1000.0F);
        apart.addToSystem(end, next, atFront, true);
        EXPECT_TRUE(IsArc(touching));
        EXPECT_EQ(apart.area, -1.0);
        EXPECT_FALSE(IsArc(apart));
    }
}

TEST(FitCircle, LengthsMayDifferByAFactorOfThreeAtTheStart) {
    const Circle circle;
    const double first = Radians(10.0);
    const auto second = [&](double factor) {
        return 2.0 * std::asin(factor * std::sin(first / 2));
    };
    const auto isArc = [&](double factor) {
        const double on = first + second(factor);
        return IsArc(Arc({circle.at(0.0), circle.at(first), circle.at(on)}));
    };
    EXPECT_TRUE(isArc(2.999));
    EXPECT_FALSE(isArc(3.001));
    EXPECT_TRUE(isArc(1.0 / 2.999));
    EXPECT_FALSE(isArc(1.0 / 3.001));
}

TEST(FitCircle, LaterLengthsMayBeAnything) {
    const Circle circle;
    const FittingSystem system =
        Arc({circle.at(0.0), circle.at(0.1), circle.at(0.2), circle.at(1.0), circle.at(1.01)});
    float angle = 0.0F;
    EXPECT_TRUE(system.fitCircle(&angle));
    EXPECT_NEAR(angle, 1.01, 1e-3);
}

TEST(FitCircle, AStraightStartThatBendsLaterIsConnectedToItsFirstSegmentOnly) {
    // The second segment has no centre, so the chain still ends where the first did.
    const FittingSystem straight = Arc({Point(1, 0, 0), Point(2, 0, 0), Point(3, 0, 0)});
    EXPECT_FALSE(straight.circleStarted);
    EXPECT_EQ(straight.lastPoint, Point(2, 0, 0));
    FittingSystem bent = straight;
    bent.addToSystem(Point(3, 0, 0), Point(3.7F, 0.7F, 0), false, true);
    EXPECT_FALSE(IsArc(bent));
}

TEST(FitCircle, AnArcThatStartsAtTheOriginIsNotRecognised) {
    // Before tracking has started the distance of the first point from the origin stands for the
    // radius, and nothing can be decided with none.
    Circle circle;
    circle.centre = Vector(-2.0, 0.0, 0.0);
    const Points atOrigin = circle.arc(0.0, 2.0, 9);
    ASSERT_EQ(atOrigin.front(), Point(0, 0, 0));
    EXPECT_FALSE(IsArc(Arc(atOrigin)));
    EXPECT_FALSE(Arc(atOrigin).circleStarted);
    circle.centre[0] = 1.0;
    EXPECT_TRUE(IsArc(Arc(circle.arc(0.0, 2.0, 9))));
}

// Eight separate segments around the z axis, at the given height, whose directions leave the plane
// by turns upwards and downwards.
FittingSystem Tilted(double degrees, const Point& firstPoint) {
    FittingSystem system;
    Point p = firstPoint;
    for (int i = 0; i < 8; ++i) {
        const int quarter = i / 2;
        const double angle = kPi / 2.0 * quarter;
        const double tilt = Radians(i % 2 == 0 ? degrees : -degrees);
        const Vector d(std::cos(angle) * std::cos(tilt), std::sin(angle) * std::cos(tilt),
                       std::sin(tilt));
        const Vector q = Vector(p[0], p[1], p[2]) + 100.0 * d;
        system.addToSystem(
            p, Point(static_cast<float>(q[0]), static_cast<float>(q[1]), static_cast<float>(q[2])),
            false, false);
        p = Point(0, 0, 0);
    }
    return system;
}

TEST(FitCircleFrame, TakesDirectionsThatLeaveThePlaneALittleScaledWithTheRadius) {
    Vector u;
    Vector v;
    Vector normal;
    const auto flat = [&](double degrees, const Point& firstPoint) {
        return Tilted(degrees, firstPoint).fitCircleFrame(u, v, normal);
    };
    // Not tracked as a circle, so that the distance from the origin is taken for the radius: at 1 a
    // tenth of a degree, at 100 ten times that, as the squares are compared.
    EXPECT_TRUE(flat(0.0999, Point(0, 1, 0)));
    EXPECT_FALSE(flat(0.1001, Point(0, 1, 0)));
    EXPECT_TRUE(flat(0.999, Point(0, 0, 100)));
    EXPECT_FALSE(flat(1.001, Point(0, 0, 100)));
    EXPECT_FALSE(flat(0.0, Point(0, 0, 0)));
}

TEST(FitCircleFrame, IsOrthonormalAndItsNormalIsAcrossTheDirections) {
    for (const Vector& axis : {Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)}) {
        const Vector other(axis[1], axis[2], axis[0]);
        const Circle circle{Vector(1, 2, 3), 5.0 * axis, 5.0 * other};
        Vector u;
        Vector v;
        Vector n;
        ASSERT_TRUE(Arc(circle.arc(0.2, 3.0, 12)).fitCircleFrame(u, v, n));
        EXPECT_NEAR(std::abs(n.Dot(axis.Cross(other))), 1.0, 1e-9);
        EXPECT_NEAR(u.Dot(v), 0.0, 1e-12);
        EXPECT_NEAR(u.Dot(n), 0.0, 1e-12);
        EXPECT_NEAR(v.Dot(n), 0.0, 1e-12);
        for (const Vector& side : {u, v, n}) {
            EXPECT_NEAR(side.Length(), 1.0, 1e-12);
        }
    }
}

TEST(FitCircleFrame, TakesTwoSegments) {
    Vector u;
    Vector v;
    Vector n;
    EXPECT_FALSE(Arc({Point(1, 0, 0), Point(2, 0, 0)}).fitCircleFrame(u, v, n));
    EXPECT_TRUE(Arc({Point(1, 0, 0), Point(2, 0, 0), Point(2, 1, 0)}).fitCircleFrame(u, v, n));
}

// Four tangents of the unit circle around the z axis, each shifted along itself by the same offset:
// their bisecting planes all miss the centre by it, on different sides.
FittingSystem ShiftedTangents(double offset) {
    FittingSystem system;
    for (int i = 0; i < 4; ++i) {
        const double angle = kPi / 2.0 * i;
        const Vector out(std::cos(angle), std::sin(angle), 0.0);
        const Vector along(-std::sin(angle), std::cos(angle), 0.0);
        const Vector p = out + (offset - 0.25) * along;
        const Vector q = out + (offset + 0.25) * along;
        system.addToSystem(Point(static_cast<float>(p[0]), static_cast<float>(p[1]), 0.0F),
                           Point(static_cast<float>(q[0]), static_cast<float>(q[1]), 0.0F), false,
                           false);
    }
    return system;
}

TEST(FitCircleCenter, BisectingPlanesMissItByLessThanAHundredthOfTheRadius) {
    const Vector u(1, 0, 0);
    const Vector v(0, 1, 0);
    Vector centre;
    // The radius is the distance from the point given, wherever that is.
    for (const float radius : {1.0F, 10.0F}) {
        const Point origin(0.0F, -radius, 0.0F);
        EXPECT_TRUE(ShiftedTangents(0.00999 * radius).fitCircleCenter(origin, u, v, centre));
        EXPECT_NEAR(centre.Length(), 0.0, 1e-6);
        EXPECT_FALSE(ShiftedTangents(0.01001 * radius).fitCircleCenter(origin, u, v, centre));
    }
}

TEST(FitCircleCenter, LiesInThePlaneOfThePointGiven) {
    Vector centre;
    ASSERT_TRUE(ShiftedTangents(0.0).fitCircleCenter(Point(1, 0, 7), Vector(1, 0, 0),
                                                     Vector(0, 1, 0), centre));
    EXPECT_NEAR(centre[2], 7.0, 1e-12);
}

TEST(FitCircleCenter, ParallelSegmentsHaveNone) {
    const FittingSystem system = Line({Point(1, 0, 0), Point(2, 0, 0), Point(3, 0, 0)});
    Vector centre;
    EXPECT_FALSE(system.fitCircleCenter(Point(1, 0, 0), Vector(1, 0, 0), Vector(0, 1, 0), centre));
}

struct Surface {
    FittingSystem system;
    Vector u;
    Vector v;
    double sector = 0.0;

    explicit Surface(const Points& points) : system(Arc(points)) {
        Vector normal;
        Vector centre;
        EXPECT_TRUE(system.fitCircleFrame(u, v, normal));
        EXPECT_TRUE(system.fitCircleCenter(system.firstPoint, u, v, centre));
        const Point& first = system.firstPoint;
        sector = (Vector(first[0], first[1], first[2]) - centre).SquaredLength() * kPi;
    }

    bool accepts(double ratio) {
        system.area = ratio * sector;
        return system.fitCircleSurface(u, v, nullptr);
    }
};

TEST(FitCircleSurface, TheFanHasNearlyTheAreaOfTheSector) {
    Surface circle(Circle().arc(0.0, 2.0 * kPi, 24));
    EXPECT_TRUE(circle.accepts(kLowestRatio * (1.0 + 1e-13)));
    EXPECT_FALSE(circle.accepts(kLowestRatio * (1.0 - 1e-13)));
    EXPECT_TRUE(circle.accepts(kHighestRatio * (1.0 - 1e-13)));
    EXPECT_FALSE(circle.accepts(kHighestRatio * (1.0 + 1e-13)));
    EXPECT_FALSE(circle.accepts(1.004999998)); // below 1.005, but not as a float
    EXPECT_FALSE(circle.accepts(std::numeric_limits<double>::quiet_NaN()));
}

TEST(FitCircleSurface, ChordsAreAtMostSixtyDegreesOrAHairMore) {
    // Chords of the angle a give sin(a) / a: the bound is met at 60.3168 degrees.
    const Circle circle;
    const double bound = Radians(60.3168);
    ASSERT_NEAR(std::sin(bound) / bound, kLowestRatio, 1e-6);
    for (const int segments : {2, 3, 5}) {
        EXPECT_TRUE(IsArc(Arc(circle.arc(0.4, segments * (bound - 0.001), segments))));
        EXPECT_FALSE(IsArc(Arc(circle.arc(0.4, segments * (bound + 0.001), segments))));
    }
}

TEST(FitCircleSurface, WritesTheAngleAlsoWhenTheAreaIsWrong) {
    FittingSystem system = Arc(Circle().arc(0.0, 2.0, 9));
    for (const double wrong : {0.1, 100.0}) {
        system.area = wrong;
        float angle = -1.0F;
        EXPECT_FALSE(system.fitCircle(&angle));
        EXPECT_NEAR(angle, 2.0, 1e-3);
    }
}

TEST(FitCircleSurface, LeavesTheAngleWithoutACentre) {
    FittingSystem zigzag =
        Arc({Point(1, 0, 0), Point(2, 0, 0), Point(3, 1, 0), Point(4, -2, 0), Point(4, 6, 0)});
    zigzag.area = 1.0;
    float angle = -1.0F;
    EXPECT_FALSE(zigzag.fitCircle(&angle));
    EXPECT_EQ(angle, -1.0F);
    FittingSystem ended = Arc(Circle().arc(0.0, 2.0, 9));
    for (const double area : {-1.0, 0.0, std::numeric_limits<double>::quiet_NaN()}) {
        ended.area = area;
        EXPECT_FALSE(ended.fitCircle(&angle));
        EXPECT_EQ(angle, -1.0F);
    }
}

TEST(FitCircleSurface, TheCentreStaysOnItsSideOfTheFirstPoint) {
    Surface circle(Circle().arc(0.0, 2.0 * kPi, 24));
    ASSERT_TRUE(circle.accepts(1.0));
    const Point& first = circle.system.firstPoint;
    circle.system.center =
        2.0 * Vector(first[0], first[1], first[2]) - circle.system.center; // mirrored
    EXPECT_FALSE(circle.accepts(1.0));
}

// --- Numbers that are none -------------------------------------------------------------------

TEST(FittingSystem, NumbersThatAreNoneFitNothing) {
    const Points arc = Circle().arc(0.0, 2.0, 9);
    for (const float bad :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        for (std::size_t place = 0; place < arc.size(); ++place) {
            for (const int axis : {0, 1, 2}) {
                Points points = arc;
                points[place][axis] = bad;
                EXPECT_FALSE(IsArc(Arc(points))) << place << ' ' << axis;
                Points line = Zigzag(0.0, 9);
                line[place][axis] = bad;
                EXPECT_FALSE(Line(line).fitLine()) << place << ' ' << axis;
            }
        }
    }
}

// --- Against the plain implementation --------------------------------------------------------

enum class Shape { kArc, kNoisyArc, kLine, kZigzag, kLoose };

Points AnyChain(Random& random, Shape shape) {
    const int segments = random.between(2, 24);
    const auto any = [&](float most) { return random.uniform(-most, most); };
    const auto radius = static_cast<double>(random.uniform(0.2F, 30.0F));
    const double tilt = static_cast<double>(any(3.0F));
    const Circle circle{Vector(any(20), any(20), any(20)), Vector(radius, 0, 0),
                        Vector(0, radius * std::cos(tilt), radius * std::sin(tilt))};
    const double sweep = random.percent(15) ? 2.0 * kPi : static_cast<double>(any(6.2F));
    Points points = circle.arc(any(3.0F), sweep, segments);
    const Point step(any(3), any(3), any(3));
    for (std::size_t i = 0; i < points.size() && shape >= Shape::kLine; ++i) {
        points[i] = shape == Shape::kLoose ? Point(any(9), any(9), any(9))
                                           : Point(9, 8, 7) + static_cast<float>(i) * step;
    }
    const float noise = shape == Shape::kNoisyArc ? static_cast<float>(radius) * 0.01F
                        : shape == Shape::kZigzag ? 0.003F * step.Length()
                                                  : 0.0F;
    const float share = random.unit();
    for (std::size_t i = 0; noise > 0.0F && i < points.size(); ++i) {
        points[i] += share * Point(any(noise), any(noise), any(noise));
    }
    return points;
}

// What has been seen of the two, so that the comparison is known to have met every case.
struct Seen {
    int lines = 0;
    int arcs = 0;
    int neither = 0;
    int ended = 0;
    int unsure = 0;
};

void Compare(const FittingSystem& system, const PlainFit& plain, Seen& seen) {
    PlainFit::Real expected = 5.0L;
    float angle = 5.0F;
    const bool isLine = plain.fitLine();
    const bool isArc = plain.fitCircle(expected);
    if (plain.unsure) {
        ++seen.unsure;
        return;
    }
    const bool line = system.fitLine();
    const bool arc = system.fitCircle(&angle);
    ASSERT_EQ(line, isLine);
    ASSERT_EQ(arc, isArc);
    ASSERT_NEAR(angle, static_cast<double>(expected), 1e-4);
    ASSERT_EQ(system.count, static_cast<double>(plain.count));
    ASSERT_EQ(system.firstPoint, plain.first);
    ASSERT_EQ(system.lastPoint, plain.last);
    ASSERT_EQ(system.collinear, plain.collinear);
    ASSERT_EQ(system.circleStarted, plain.started);
    ASSERT_EQ(system.clockwise, plain.clockwise);
    const auto area = static_cast<double>(plain.area);
    ASSERT_NEAR(system.area, area, 1e-4 * std::abs(area));
    seen.lines += line ? 1 : 0;
    seen.arcs += arc ? 1 : 0;
    seen.neither += !line && !arc ? 1 : 0;
    seen.ended += system.area < 0.0 ? 1 : 0;
}

void CompareOn(const Points& points, Random& random, Seen& seen) {
    FittingSystem system;
    PlainFit plain;
    const bool trackCircle = random.percent(70);
    std::size_t front = static_cast<std::size_t>(random.below(static_cast<int>(points.size())));
    std::size_t back = front;
    const int frontShare = 50 * random.below(3); // grows at the back, at both ends, at the front
    while ((front > 0 || back + 1 < points.size()) && !plain.unsure) {
        const bool atFront = back + 1 == points.size() || (front > 0 && random.percent(frontShare));
        // The first segment runs along the chain whichever end it is said to be at.
        const std::size_t from = atFront ? front : back;
        const std::size_t to = atFront ? from - 1 : from + 1;
        const bool flip = plain.count == 0 && atFront;
        const Point& p = points[flip ? to : from];
        const Point& q = points[flip ? from : to];
        ASSERT_EQ(system.addToSystem(p, q, atFront, trackCircle),
                  plain.add(p, q, atFront, trackCircle));
        (atFront ? front : back) = to;
        ASSERT_NO_FATAL_FAILURE(Compare(system, plain, seen));
    }
}

TEST(FittingSystem, AgreesWithAPlainImplementationOnRandomChains) {
    for (const Shape shape :
         {Shape::kArc, Shape::kNoisyArc, Shape::kLine, Shape::kZigzag, Shape::kLoose}) {
        Seen seen;
        const int trials = Scaled(4000);
        for (int trial = 0; trial < trials; ++trial) {
            Random random(static_cast<std::uint64_t>(trial));
            const Points points = AnyChain(random, shape);
            CompareOn(points, random, seen);
            ASSERT_FALSE(HasFatalFailure())
                << "shape " << static_cast<int>(shape) << ", trial " << trial;
        }
        EXPECT_GT(seen.neither + seen.lines + seen.arcs, trials);
        EXPECT_GT(shape <= Shape::kNoisyArc ? seen.arcs : 1, 0);
        EXPECT_GT(shape == Shape::kLine || shape == Shape::kZigzag ? seen.lines : 1, 0);
        EXPECT_GT(shape == Shape::kLoose || shape == Shape::kNoisyArc ? seen.ended : 1, 0);
        EXPECT_LT(seen.unsure, trials * 3 / 4); // a line has no centre: all but singular
    }
}

} // namespace
