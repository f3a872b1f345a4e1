// Points of a segment at a rational parameter, rounded down to the grid. A double gives the integer
// part unless the value is within kCertainFraction (ErrorBounds.h) of an integer; then 128-bit
// products decide. Exact, O(1).
#include "visibility/exact/SegmentPoint.h"

#include "visibility/ErrorBounds.h"

#include <cstdlib>

namespace ctr {
namespace {

/// floor(delta * part) for a part in [0, 1]; `guess` is off by less than a step.
std::int64_t ExactSteps(std::int64_t delta, const Fraction& part, std::int64_t guess) {
    using Wide = __int128;
    const Wide product = Wide{delta} * part[0];
    Wide steps = guess;
    while (steps * part[1] > product) {
        --steps;
    }
    while ((steps + 1) * part[1] <= product) {
        ++steps;
    }
    return static_cast<std::int64_t>(steps);
}

} // namespace

std::int32_t CoordinateAt(std::int32_t p0, std::int32_t p1, const Fraction& t, double parameter) {
    const std::int64_t delta = std::abs(std::int64_t{p1} - std::int64_t{p0});
    const bool rises = p1 >= p0;
    std::int64_t steps = 0;
    if (t[0] < 0 || t[0] > t[1]) {
        using Wide = __int128; // Only on grids beyond the documented bounds.
        const Wide part = rises ? Wide{t[0]} : Wide{t[1]} - Wide{t[0]};
        steps = static_cast<std::int64_t>(Wide{delta} * part / t[1]);
    } else {
        const double guess = static_cast<double>(delta) * (rises ? parameter : 1.0 - parameter);
        steps = static_cast<std::int64_t>(guess);
        const double rest = guess - static_cast<double>(steps);
        constexpr double kCertain = error_bounds::kCertainFraction;
        if (rest < kCertain || rest > 1.0 - kCertain) {
            steps = ExactSteps(delta, {rises ? t[0] : t[1] - t[0], t[1]}, steps);
        }
    }
    return static_cast<std::int32_t>(WrapAdd(rises ? p0 : p1, steps));
}

BakedVertex PointAt(const BakedVertex& p0, const BakedVertex& p1, const Fraction& t) {
    const double parameter = ValueOf(t);
    return {CoordinateAt(p0.x, p1.x, t, parameter), CoordinateAt(p0.y, p1.y, t, parameter),
            CoordinateAt(p0.z, p1.z, t, parameter)};
}

} // namespace ctr
