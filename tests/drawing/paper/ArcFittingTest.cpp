// Arcs are where curves were, and nowhere else.
#include "drawing/paper/ArcFitting.h"

#include "drawing/paper/PaperShapes.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

using kxcontour::Arc;
using kxcontour::Path;
using kxcontour::Point;
using kxcontour::RecogniseArcs;
using test_support::Random;

constexpr double kTolerance = 0.01;
constexpr double kPi = std::numbers::pi;

/// An ellipse to sample, with its first axis turned by so many degrees.
struct Curve {
    Point center;
    double radiusX = 1.0;
    double radiusY = 1.0;
    double rotation = 0.0;

    Point at(double degrees) const {
        const double x = radiusX * std::cos(degrees * kPi / 180.0);
        const double y = radiusY * std::sin(degrees * kPi / 180.0);
        const double c = std::cos(rotation * kPi / 180.0);
        const double s = std::sin(rotation * kPi / 180.0);
        return {center.x + x * c - y * s, center.y + x * s + y * c};
    }
};

void Append(Path& path, const Curve& curve, double start, double sweep, int chords) {
    for (int i = path.points.empty() ? 0 : 1; i <= chords; ++i) {
        path.points.push_back(curve.at(start + sweep * i / chords));
    }
}

Path Closed(const Curve& curve, double start, int chords, double sweep = 360.0) {
    Path path;
    Append(path, curve, start, sweep, chords);
    path.points.back() = path.points.front();
    return path;
}

void AppendLine(Path& path, Point to, int pieces = 1) {
    const Point from = path.points.back();
    for (int i = 1; i <= pieces; ++i) {
        path.points.push_back(tool_test::Between(from, to, i / static_cast<double>(pieces)));
    }
}

Point PointOf(const Arc& arc, double degrees) {
    return Curve{arc.center, arc.radiusX, arc.radiusY, arc.rotation}.at(degrees);
}

double DistanceToRun(Point p, const Path& path, const Arc& arc) {
    double nearest = std::numeric_limits<double>::infinity();
    for (std::size_t i = arc.first; i < arc.last; ++i) {
        nearest =
            std::min(nearest, tool_test::DistanceToLine(p, path.points[i], path.points[i + 1]));
    }
    return nearest;
}

/// Dense points of the arc as a polyline: off the arc by far less than the tolerance.
std::vector<kxcontour::PageLine> Sampled(const Arc& arc, int steps) {
    std::vector<kxcontour::PageLine> lines;
    lines.reserve(static_cast<std::size_t>(steps));
    for (int i = 0; i < steps; ++i) {
        lines.push_back({PointOf(arc, arc.start + arc.sweep * i / steps),
                         PointOf(arc, arc.start + arc.sweep * (i + 1) / steps)});
    }
    return lines;
}

/// Everything that is promised of arcs, whatever the path.
void ExpectPromises(const Path& path) {
    std::size_t reached = 0;
    for (const Arc& arc : path.arcs) {
        ASSERT_GE(arc.first, reached);
        ASSERT_LT(arc.last, path.points.size());
        ASSERT_GE(arc.last, arc.first + 4);
        reached = arc.last;
        EXPECT_GT(arc.radiusY, 0.0);
        EXPECT_GE(arc.radiusX, arc.radiusY);
        EXPECT_LE(arc.radiusX, 1e4);
        EXPECT_LE(std::abs(arc.sweep), 360.0);
        const Point start = PointOf(arc, arc.start);
        const Point end = PointOf(arc, arc.start + arc.sweep);
        EXPECT_LE(tool_test::DistanceToLine(start, path.points[arc.first], path.points[arc.first]),
                  1e-4);
        EXPECT_LE(tool_test::DistanceToLine(end, path.points[arc.last], path.points[arc.last]),
                  1e-4);
        const int steps = 1000;
        const auto samples = Sampled(arc, steps);
        const double flatness = arc.radiusX * std::pow(arc.sweep / steps * kPi / 180.0, 2) / 8.0;
        for (const kxcontour::PageLine& sample : samples) {
            EXPECT_LE(DistanceToRun(sample.a, path, arc), kTolerance + 1e-9);
        }
        const std::size_t stride = 1 + (arc.last - arc.first) / 100;
        for (std::size_t i = arc.first; i < arc.last; i += stride) {
            for (int k = 0; k < 4; ++k) {
                const Point p = tool_test::Between(path.points[i], path.points[i + 1], k / 4.0);
                EXPECT_LE(tool_test::DistanceToLines(p, samples), kTolerance + flatness + 1e-9);
            }
        }
    }
}

std::size_t Recognise(Path& path) {
    RecogniseArcs(path, kTolerance);
    ExpectPromises(path);
    return path.arcs.size();
}

TEST(RecogniseArcs, ACircleIsOneFullTurn) {
    for (const double sweep : {360.0, -360.0}) {
        Path path = Closed({{30, 40}, 20, 20, 0}, 25, 200, sweep);
        ASSERT_EQ(Recognise(path), 1U);
        const Arc& arc = path.arcs[0];
        EXPECT_EQ(arc.first, 0U);
        EXPECT_EQ(arc.last, 200U);
        EXPECT_EQ(arc.radiusX, arc.radiusY);
        EXPECT_NEAR(arc.radiusX, 20, 1e-9);
        EXPECT_NEAR(arc.center.x, 30, 1e-9);
        EXPECT_NEAR(arc.center.y, 40, 1e-9);
        EXPECT_EQ(arc.sweep, sweep);
    }
}

TEST(RecogniseArcs, CoarseCirclesStayPolygons) {
    // A chord of 64 on a radius of 8.3 mm is 0.01 mm off.
    Path fine = Closed({{0, 0}, 8.2, 8.2, 0}, 0, 64);
    EXPECT_EQ(Recognise(fine), 1U);
    Path coarse = Closed({{0, 0}, 8.4, 8.4, 0}, 0, 64);
    EXPECT_EQ(Recognise(coarse), 0U);
    // Within tolerance, but meant as a hexagon.
    Path hexagon = Closed({{0, 0}, 0.06, 0.06, 0}, 0, 6);
    EXPECT_EQ(Recognise(hexagon), 0U);
    Path square = Closed({{0, 0}, 30, 30, 0}, 0, 4);
    EXPECT_EQ(Recognise(square), 0U);
}

/// The chords of a circle seen at a tilt, at even steps of the circle.
TEST(RecogniseArcs, TiltedCirclesAreEllipses) {
    for (int trial = 0; trial < test_support::Scaled(30); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const int chords = random.between(64, 1000);
        const double finest = kTolerance / (1.0 - std::cos(kPi / chords));
        const double radius = std::min(80.0, 0.9 * finest) * random.uniform(0.5F, 1.0F);
        const double tilt = random.uniform(5.0F, 85.0F) * kPi / 180.0;
        const Curve curve{{100, 100}, radius, radius * std::cos(tilt), random.uniform(0, 180)};
        const double start = random.uniform(0, 360);
        Path path = Closed(curve, start, chords, random.percent(50) ? 360 : -360);
        ASSERT_EQ(Recognise(path), 1U);
        const Arc& arc = path.arcs[0];
        EXPECT_EQ(std::abs(arc.sweep), 360.0);
        EXPECT_NEAR(arc.center.x, 100, kTolerance);
        EXPECT_NEAR(arc.center.y, 100, kTolerance);
        EXPECT_NEAR(arc.radiusX, curve.radiusX, 2 * kTolerance);
        EXPECT_NEAR(arc.radiusY, curve.radiusY, 2 * kTolerance);
        if (curve.radiusX - curve.radiusY > 1.0) {
            EXPECT_NEAR(std::sin((arc.rotation - curve.rotation) * kPi / 180.0), 0.0, 0.01);
        }
    }
}

TEST(RecogniseArcs, PartsOfEllipsesAreOneArc) {
    for (int trial = 0; trial < test_support::Scaled(40); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const double radius = random.uniform(5.0F, 60.0F);
        const Curve curve{
            {100, 100}, radius, radius * random.uniform(0.3F, 0.7F), random.uniform(0, 180)};
        const double turn = random.uniform(120, 330);
        const double sweep = random.percent(50) ? turn : -turn;
        Path path;
        Append(path, curve, random.uniform(0, 360), sweep, 200);
        ASSERT_EQ(Recognise(path), 1U);
        EXPECT_EQ(path.arcs[0].first, 0U);
        EXPECT_EQ(path.arcs[0].last, 200U);
        EXPECT_NEAR(path.arcs[0].sweep, sweep, 0.1);
        EXPECT_NEAR(path.arcs[0].radiusX, curve.radiusX, 0.01);
    }
}

TEST(RecogniseArcs, PartsOfCirclesAreOneArcWhateverTheRounding) {
    for (int trial = 0; trial < test_support::Scaled(40); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const double radius = random.uniform(2.0F, 60.0F);
        const double turn = random.uniform(20, 350);
        const double sweep = random.percent(50) ? turn : -turn;
        if (radius * (1.0 - std::cos(turn / 2.0 * kPi / 180.0)) < 0.05) {
            continue;
        }
        // Not so coarse that an arc is too far from its chords, nor so fine that rounding to
        // 0.001 mm makes corners.
        const double length = radius * turn * kPi / 180.0;
        const int fewest = static_cast<int>(std::ceil(length / std::sqrt(8.0 * 0.008 * radius)));
        const int most = static_cast<int>(length / 0.02);
        const int chords = random.between(fewest, std::max(fewest, std::min(most, 500)));
        Path path;
        Append(path, {{100, 100}, radius, radius, 0}, random.uniform(0, 360), sweep, chords);
        for (Point& point : path.points) {
            point.x = std::round(point.x * 1000) / 1000;
            point.y = std::round(point.y * 1000) / 1000;
        }
        ASSERT_EQ(Recognise(path), 1U);
        EXPECT_EQ(path.arcs[0].last, static_cast<std::size_t>(chords));
        EXPECT_EQ(path.arcs[0].radiusX, path.arcs[0].radiusY);
    }
}

TEST(RecogniseArcs, TwoArcsThatMeetInATangentAreTwo) {
    // Both pass (20, 0) upwards, with centres on the same side.
    Path path;
    Append(path, {{10, 0}, 10, 10, 0}, -90, 90, 60);
    Append(path, {{-20, 0}, 40, 40, 0}, 0, 60, 60);
    ASSERT_EQ(Recognise(path), 2U);
    EXPECT_EQ(path.arcs[0].first, 0U);
    EXPECT_NEAR(static_cast<double>(path.arcs[0].last), 60, 2);
    EXPECT_NEAR(path.arcs[0].radiusX, 10, 0.05);
    EXPECT_NEAR(path.arcs[1].radiusX, 40, 0.2);
    EXPECT_EQ(path.arcs[1].last, 120U);
}

TEST(RecogniseArcs, AnArcDoesNotBendBack) {
    Path path;
    Append(path, {{0, 0}, 10, 10, 0}, -90, 90, 40);
    Append(path, {{20, 0}, 10, 10, 0}, 180, -90, 40);
    ASSERT_EQ(Recognise(path), 2U);
    EXPECT_EQ(path.arcs[0].last, 40U);
    EXPECT_GT(path.arcs[0].sweep, 0.0);
    EXPECT_LT(path.arcs[1].sweep, 0.0);
}

TEST(RecogniseArcs, AnArcEndsAtACorner) {
    Path path;
    Append(path, {{0, 0}, 10, 10, 0}, 0, 90, 45);
    Append(path, {{-10, 10}, 10, 10, 0}, 0, 90, 45);
    ASSERT_EQ(Recognise(path), 2U);
    EXPECT_EQ(path.arcs[0].last, 45U);
    EXPECT_EQ(path.arcs[1].first, 45U);
    EXPECT_EQ(path.arcs[1].last, 90U);
}

TEST(RecogniseArcs, LinesBesideAnArcStayLines) {
    Path path;
    path.points.push_back({10, -30});
    AppendLine(path, {10, 0});
    Append(path, {{0, 0}, 10, 10, 0}, 0, 90, 45);
    AppendLine(path, {-30, 10}, 40);
    ASSERT_EQ(Recognise(path), 1U);
    EXPECT_EQ(path.arcs[0].first, 1U);
    EXPECT_NEAR(static_cast<double>(path.arcs[0].last), 46, 1);
    EXPECT_NEAR(path.arcs[0].radiusX, 10, 0.02);
}

TEST(RecogniseArcs, ARoundedRectangleHasFourArcs) {
    Path path;
    const double corners[4][2] = {{40, 20}, {10, 20}, {10, 10}, {40, 10}};
    for (int i = 0; i < 4; ++i) {
        const Curve corner{{corners[i][0], corners[i][1]}, 5, 5, 0};
        if (path.points.empty()) {
            path.points.push_back({45, 10});
        }
        AppendLine(path, corner.at(90.0 * i));
        Append(path, corner, 90.0 * i, 90, 30);
    }
    path.points.back() = path.points.front();
    ASSERT_EQ(Recognise(path), 4U);
    for (const Arc& arc : path.arcs) {
        EXPECT_EQ(arc.last - arc.first, 30U);
        EXPECT_NEAR(arc.radiusX, 5, 1e-6);
        EXPECT_NEAR(arc.sweep, 90, 1e-6);
    }
}

TEST(RecogniseArcs, WhatIsStraightIsNoArc) {
    Path line;
    line.points.push_back({0, 0});
    AppendLine(line, {100, 30}, 500);
    EXPECT_EQ(Recognise(line), 0U);
    Path flat;
    Append(flat, {{0, 0}, 20000, 20000, 0}, 0, 0.5, 100);
    EXPECT_EQ(Recognise(flat), 0U);
    Path shallow;
    Append(shallow, {{0, 0}, 500, 500, 0}, 0, 8, 100);
    EXPECT_EQ(Recognise(shallow), 0U) << "turns by less than 10 degrees";
    Path small;
    Append(small, {{0, 0}, 0.5, 0.5, 0}, 0, 30, 100);
    EXPECT_EQ(Recognise(small), 0U) << "leaves its chord by less than two tolerances";
    Path dense;
    Append(dense, {{0, 0}, 0.015, 0.015, 0}, 0, 350, 100);
    EXPECT_LE(Recognise(dense), 1U);
}

TEST(RecogniseArcs, TooFewLinesAreNoArc) {
    Path three;
    Append(three, {{0, 0}, 1, 1, 0}, 0, 60, 3);
    EXPECT_EQ(Recognise(three), 0U);
    Path four;
    Append(four, {{0, 0}, 1, 1, 0}, 0, 60, 4);
    EXPECT_EQ(Recognise(four), 1U);
    Path point;
    point.points = {{1, 1}, {1, 1}};
    EXPECT_EQ(Recognise(point), 0U);
    Path repeated;
    repeated.points.assign(20, {1, 1});
    EXPECT_EQ(Recognise(repeated), 0U);
}

TEST(RecogniseArcs, ForgetsArcsFromBefore) {
    Path path;
    path.points = {{0, 0}, {1, 0}};
    path.arcs.resize(3);
    EXPECT_EQ(Recognise(path), 0U);
}

TEST(RecogniseArcs, RandomPolylinesHaveNone) {
    for (int trial = 0; trial < test_support::Scaled(40); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        Path path;
        for (int i = 0; i < 200; ++i) {
            path.points.push_back(tool_test::RandomPoint(random, 100.0F));
        }
        EXPECT_EQ(Recognise(path), 0U);
    }
}

/// Curves of all kinds that no arc has to fit: only what is promised is looked at.
TEST(RecogniseArcs, OnAnyCurveArcsKeepTheirPromises) {
    std::size_t arcs = 0;
    const int trials = test_support::Scaled(60);
    for (int trial = 0; trial < trials; ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        const double a = random.uniform(0.5F, 4.0F);
        const double b = random.uniform(0.5F, 4.0F);
        const double noise = random.percent(50) ? 0.004 : 0.0;
        const int points = random.between(10, 400);
        Path path;
        for (int i = 0; i < points; ++i) {
            const double t = 7.0 * i / points;
            path.points.push_back({30 * std::sin(a * t) + noise * random.unit(),
                                   20 * std::cos(b * t) + noise * random.unit()});
        }
        arcs += Recognise(path);
    }
    EXPECT_GT(arcs, static_cast<std::size_t>(trials));
}

TEST(RecogniseArcs, AMirroredPathHasMirroredArcs) {
    Path path;
    Append(path, {{50, 50}, 30, 12, 20}, 10, 200, 150);
    AppendLine(path, {0, 0});
    Path mirrored = path;
    for (Point& point : mirrored.points) {
        point.y = -point.y;
    }
    ASSERT_EQ(Recognise(path), 1U);
    ASSERT_EQ(Recognise(mirrored), 1U);
    EXPECT_EQ(mirrored.arcs[0].first, path.arcs[0].first);
    EXPECT_EQ(mirrored.arcs[0].last, path.arcs[0].last);
    EXPECT_NEAR(mirrored.arcs[0].sweep, -path.arcs[0].sweep, 1e-6);
    EXPECT_NEAR(mirrored.arcs[0].radiusY, path.arcs[0].radiusY, 1e-6);
}

} // namespace
