// A forward pass computes the angles, a backward pass the limits of runs. O(n).
#include "drawing/paper/TurningAngles.h"

#include "drawing/common/Angles.h"
#include "drawing/paper/Plane.h"

namespace kxcontour {

using namespace plane;

TurningAngles::TurningAngles(const std::vector<Point>& points, double noise)
    : limits_(points.size()) {
    const std::size_t last = points.size() - 1;
    std::vector<Turn> turns(points.size());
    headings_.assign(last, 0.0);
    for (std::size_t i = 0; i < last; ++i) {
        hasRepeatedPoint_ = hasRepeatedPoint_ || IsSame(points[i], points[i + 1]);
        if (i > 0) {
            turns[i] = TurnAt(points[i - 1], points[i], points[i + 1], noise);
            headings_[i] = headings_[i - 1] + turns[i].angle;
            count(turns[i]);
        }
    }
    if (IsSame(points.front(), points.back())) {
        count(TurnAt(points[last - 1], points[0], points[1], noise));
    }
    findLimits(points, turns);
}

/// A point has the limits of the next one unless the run must end there.
void TurningAngles::findLimits(const std::vector<Point>& points, const std::vector<Turn>& turns) {
    const std::size_t last = points.size() - 1;
    limits_[last] = {last, last};
    for (std::size_t i = last; i-- > 0;) {
        if (IsSame(points[i], points[i + 1])) {
            limits_[i] = {i, i};
            continue;
        }
        limits_[i] = limits_[i + 1];
        const Turn& turn = turns[i + 1];
        const bool isCorner = std::abs(turn.angle) > kCorner;
        if (isCorner || (turn.angle < 0.0 && !turn.isNoise)) {
            limits_[i].positive = i + 1;
        }
        if (isCorner || (turn.angle > 0.0 && !turn.isNoise)) {
            limits_[i].negative = i + 1;
        }
    }
}

TurningAngles::Turn TurningAngles::TurnAt(Point before, Point at, Point after, double noise) {
    const Point arriving = at - before;
    const Point leaving = after - at;
    const double cross = Cross(arriving, leaving);
    const double height = noise * Distance(before, after);
    return {AngleOf(Dot(arriving, leaving), cross), std::abs(cross) <= height};
}

void TurningAngles::count(const Turn& turn) {
    hasPositive_ = hasPositive_ || (turn.angle > 0.0 && !turn.isNoise);
    hasNegative_ = hasNegative_ || (turn.angle < 0.0 && !turn.isNoise);
}

} // namespace kxcontour
