// Lines and curves on paper for tests, and the measures that tests take of them.
#pragma once

#include "drawing/paper/Paper.h"
#include "support/Random.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace tool_test {

inline double DistanceToLine(kxcontour::Point p, kxcontour::Point a, kxcontour::Point b) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double square = dx * dx + dy * dy;
    double at = square > 0.0 ? ((p.x - a.x) * dx + (p.y - a.y) * dy) / square : 0.0;
    at = std::clamp(at, 0.0, 1.0);
    return std::hypot(a.x + at * dx - p.x, a.y + at * dy - p.y);
}

inline double DistanceToLines(kxcontour::Point p, const std::vector<kxcontour::PageLine>& lines) {
    double nearest = std::numeric_limits<double>::infinity();
    for (const kxcontour::PageLine& line : lines) {
        nearest = std::min(nearest, DistanceToLine(p, line.a, line.b));
    }
    return nearest;
}

inline kxcontour::Point Between(kxcontour::Point a, kxcontour::Point b, double at) {
    return {a.x + (b.x - a.x) * at, a.y + (b.y - a.y) * at};
}

/// How far the farthest of some points on the lines is from the others.
inline double FarthestSample(const std::vector<kxcontour::PageLine>& lines,
                             const std::vector<kxcontour::PageLine>& others) {
    constexpr int kSteps = 40;
    double farthest = 0.0;
    for (const kxcontour::PageLine& line : lines) {
        for (int i = 0; i <= kSteps; ++i) {
            const kxcontour::Point p = Between(line.a, line.b, i / static_cast<double>(kSteps));
            farthest = std::max(farthest, DistanceToLines(p, others));
        }
    }
    return farthest;
}

inline double LengthOfLine(const kxcontour::PageLine& line) {
    return std::hypot(line.b.x - line.a.x, line.b.y - line.a.y);
}

inline double LengthOfLines(const std::vector<kxcontour::PageLine>& lines) {
    double length = 0.0;
    for (const kxcontour::PageLine& line : lines) {
        length += LengthOfLine(line);
    }
    return length;
}

inline kxcontour::Point RandomPoint(test_support::Random& random, float size) {
    const double x = random.uniform(0.0F, size);
    const double y = random.uniform(0.0F, size);
    return {x, y};
}

} // namespace tool_test
