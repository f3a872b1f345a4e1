// Turning angles of polylines.
#pragma once

#include "drawing/paper/Paper.h"

#include <cstddef>
#include <numbers>
#include <vector>

namespace kxcontour {

/// Radians. A vertex with a larger turning angle is a corner.
constexpr double kCorner = std::numbers::pi / 6.0;

/// The turning angles of a polyline at its vertices, and the longest runs without inflection or
/// corner.
///
/// An angle is positive from x towards y. Angles at vertices within the noise of the line between
/// their neighbours count as turns to either side.
class TurningAngles {
public:
    /// points: two or more; closed if the last equals the first. noise in millimetres. O(n).
    TurningAngles(const std::vector<Point>& points, double noise);

    /// The direction of the line that starts at the point relative to that of the first one: the
    /// sum of the turning angles between. Radians.
    double heading(std::size_t line) const { return headings_[line]; }

    /// The last point of the longest run from the first point without a corner, a line of zero
    /// length or a turn to the other side.
    std::size_t limit(std::size_t first, bool positive) const {
        return positive ? limits_[first].positive : limits_[first].negative;
    }

    /// Corners count as any other turn; so does the start of a closed polyline.
    bool turnsToOneSide(bool positive) const { return positive ? !hasNegative_ : !hasPositive_; }

    /// Whether any two successive points are equal.
    bool hasRepeatedPoint() const { return hasRepeatedPoint_; }

private:
    struct Limits {
        std::size_t positive = 0;
        std::size_t negative = 0;
    };
    struct Turn {
        double angle = 0.0;
        bool isNoise = false;
    };

    static Turn TurnAt(Point before, Point at, Point after, double noise);
    void count(const Turn& turn);
    void findLimits(const std::vector<Point>& points, const std::vector<Turn>& turns);

    std::vector<double> headings_;
    std::vector<Limits> limits_;
    bool hasPositive_ = false;
    bool hasNegative_ = false;
    bool hasRepeatedPoint_ = false;
};

} // namespace kxcontour
