// What single precision leaves of large coordinates.
#pragma once

#include "drawing/scene/Box.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace kxcontour {

/// The distance between a float of this size and the next one.
double FloatStep(double value);

/// Whether a float uses the last digit that floats of the step have.
bool UsesStep(double value, double step);

/// What rounding to single precision has done to coordinates, in steps by axis.
struct FloatSteps {
    std::array<double, 3> all{};  ///< Between neighbouring floats at the largest coordinate.
    std::array<double, 3> lost{}; ///< The same where digits may have been lost by it; else 0.
};

/// Measures coordinates that were rounded to single precision.
///
/// No digits are lost to coordinates that are all equal, whose rounding moves everything alike, nor
/// to such as are all multiples of more than a step. pointAt(i) holds three floats as doubles;
/// those that are not finite do not count. Linear time.
template <class PointAt> FloatSteps MeasureSteps(std::size_t count, const PointAt& pointAt) {
    Box box;
    for (std::size_t i = 0; i < count; ++i) {
        const std::array<double, 3> p = pointAt(i);
        if (std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2])) {
            box.add({p[0], p[1], p[2]});
        }
    }
    FloatSteps steps;
    for (std::size_t axis = 0; axis < 3 && !box.isEmpty(); ++axis) {
        const int at = static_cast<int>(axis);
        const double step = FloatStep(std::max(std::abs(box.min[at]), std::abs(box.max[at])));
        std::size_t i = box.min[at] < box.max[at] ? 0 : count;
        while (i < count && !UsesStep(pointAt(i)[axis], step)) {
            ++i;
        }
        steps.all[axis] = step;
        steps.lost[axis] = i < count ? step : 0.0;
    }
    return steps;
}

/// Whether a step between neighbouring coordinates shows in a drawing of something of that size: on
/// a page of 200 mm, it is over 0.002 mm, and corners that are off by as much bend smooth surfaces.
bool IsCoarse(double step, const Wm4::Vector3<double>& size);

} // namespace kxcontour
