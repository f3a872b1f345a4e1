// Plane vectors for points on paper. Bring the names in with `using namespace plane` inside a
// source file.
#pragma once

#include "drawing/paper/Paper.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace kxcontour::plane {

inline Point operator+(Point p, Point q) {
    return {p.x + q.x, p.y + q.y};
}

inline Point operator-(Point p, Point q) {
    return {p.x - q.x, p.y - q.y};
}

inline Point operator*(Point p, double factor) {
    return {p.x * factor, p.y * factor};
}

inline bool IsSame(Point p, Point q) {
    return p.x == q.x && p.y == q.y;
}

inline double Dot(Point p, Point q) {
    return p.x * q.x + p.y * q.y;
}

/// Positive when the shorter turn from p to q is the one from x towards y.
inline double Cross(Point p, Point q) {
    return p.x * q.y - p.y * q.x;
}

inline double SquaredLength(Point p) {
    return Dot(p, p);
}

/// The plain root, not std::hypot, whose last bit differs between libraries.
inline double Length(Point p) {
    return std::sqrt(SquaredLength(p));
}

inline double Distance(Point p, Point q) {
    return Length(q - p);
}

/// The vector at length 1; zero stays zero.
inline Point Direction(Point p) {
    const double length = Length(p);
    return length > 0.0 ? Point{p.x / length, p.y / length} : Point{};
}

/// To the nearest point between a and b, ends included; a and b may be equal.
inline double SquaredDistanceToLine(Point p, Point a, Point b) {
    const Point along = b - a;
    const double square = SquaredLength(along);
    const double at = square > 0.0 ? std::clamp(Dot(p - a, along) / square, 0.0, 1.0) : 0.0;
    return SquaredLength(a + along * at - p);
}

inline double LengthOf(std::span<const Point> polyline) {
    double length = 0.0;
    for (std::size_t i = 1; i < polyline.size(); ++i) {
        length += Distance(polyline[i - 1], polyline[i]);
    }
    return length;
}

/// The bounding box of the points that were added.
struct Bounds {
    static constexpr double kFar = std::numeric_limits<double>::infinity();

    Point low{kFar, kFar};
    Point high{-kFar, -kFar};

    Point size() const { return high - low; }

    void add(Point p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
};

} // namespace kxcontour::plane
