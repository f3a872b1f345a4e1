// How polylines turn.
#pragma once

#include "drawing/paper/Paper.h"

#include <cstddef>
#include <numbers>
#include <vector>

namespace kxcontour {

/// Radians. A vertex that turns by more is a corner that is meant.
constexpr double kCorner = std::numbers::pi / 6.0;

/// The turns of a polyline at its vertices, and how far runs reach that bend to one side.
///
/// A turn is positive from x towards y. Turns at vertices that are not farther than the noise
/// beside the line between their neighbours count as turns to either side.
class Bends {
public:
    /// points: two or more; closed if the last equals the first. noise in millimetres. O(n).
    Bends(const std::vector<Point>& points, double noise);

    /// The direction of the line that starts at the point, relative to that of the first one, with
    /// all turns between counted. Radians.
    double heading(std::size_t line) const { return headings_[line]; }

    /// The last point that a run can reach from the first without a corner, a line of no length or
    /// a turn to the wrong side.
    std::size_t limit(std::size_t first, bool positive) const {
        return positive ? limits_[first].positive : limits_[first].negative;
    }

    /// Corners count here as any other turn; so does that at the start of a closed polyline.
    bool bendsToOneSide(bool positive) const { return positive ? !hasNegative_ : !hasPositive_; }

    /// Whether neighbouring points are equal somewhere.
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
