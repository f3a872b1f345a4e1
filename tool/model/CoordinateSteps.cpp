// Looks at the bits of floats.
#include "model/CoordinateSteps.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace kxcontour {
namespace {

/// The exponent of the last bit that a float of this size has.
int LastBit(double value) {
    int exponent = 0;
    std::frexp(value, &exponent);
    return std::max(exponent - std::numeric_limits<float>::digits, -149);
}

/// The exponent of the lowest bit that is set; the value is a float, finite and not 0.
int LowestSetBit(double value) {
    const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(std::abs(value)));
    const std::uint32_t mantissa = bits & 0x7FFFFFU;
    return LastBit(value) + (mantissa == 0 ? 23 : std::countr_zero(mantissa));
}

} // namespace

void CoordinateSteps::add(const FilePoint& point) {
    if (!std::isfinite(point[0]) || !std::isfinite(point[1]) || !std::isfinite(point[2])) {
        return;
    }
    box_.add({point[0], point[1], point[2]});
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (point[axis] != 0.0) {
            lowestBit_[axis] = std::min(lowestBit_[axis], LowestSetBit(point[axis]));
        }
    }
}

FilePoint CoordinateSteps::coarse() const {
    FilePoint steps{0.0, 0.0, 0.0};
    if (box_.isEmpty()) {
        return steps;
    }
    const Wm4::Vector3<double> size = box_.size();
    const double largestSize = std::max({size[0], size[1], size[2]});
    for (int axis = 0; axis < 3; ++axis) {
        const double farthest = std::max(std::abs(box_.min[axis]), std::abs(box_.max[axis]));
        const auto at = static_cast<std::size_t>(axis);
        const int lastBit = LastBit(farthest);
        const double step = std::ldexp(1.0, lastBit);
        if (size[axis] > 0.0 && lowestBit_[at] <= lastBit && step > kCoarseStep * largestSize) {
            steps[at] = step;
        }
    }
    return steps;
}

} // namespace kxcontour
