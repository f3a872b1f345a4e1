// Powers of two, so that all of it is exact.
#include "drawing/scene/CoordinateSteps.h"

#include <algorithm>
#include <limits>

namespace kxcontour {

double FloatStep(double value) {
    constexpr int kLeast = std::numeric_limits<float>::min_exponent - 24;
    int exponent = 0;
    std::frexp(value, &exponent);
    return std::ldexp(1.0, std::max(exponent - std::numeric_limits<float>::digits, kLeast));
}

bool UsesStep(double value, double step) {
    return std::isfinite(value) && std::fmod(value, 2.0 * step) != 0.0;
}

bool IsCoarse(double step, const Wm4::Vector3<double>& size) {
    constexpr double kCoarsePart = 1e-5;
    return step > kCoarsePart * std::max({size[0], size[1], size[2]});
}

} // namespace kxcontour
