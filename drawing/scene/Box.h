// Axis-parallel boxes in doubles.
#pragma once

#include <Wm4Foundation.h>

#include <algorithm>
#include <limits>

namespace kxcontour {

/// A closed box; by default the empty one, whose minimum is above its maximum.
struct Box {
    Wm4::Vector3<double> min{kFar, kFar, kFar};
    Wm4::Vector3<double> max{-kFar, -kFar, -kFar};

    bool isEmpty() const { return !(min[0] <= max[0]); }
    Wm4::Vector3<double> size() const { return max - min; }
    /// Half of each end, so that the sum cannot overflow.
    Wm4::Vector3<double> center() const { return 0.5 * min + 0.5 * max; }

    void add(const Wm4::Vector3<double>& point) {
        for (int axis = 0; axis < 3; ++axis) {
            min[axis] = std::min(min[axis], point[axis]);
            max[axis] = std::max(max[axis], point[axis]);
        }
    }
    void add(const Box& other) {
        if (!other.isEmpty()) {
            add(other.min);
            add(other.max);
        }
    }

private:
    static constexpr double kFar = std::numeric_limits<double>::infinity();
};

} // namespace kxcontour
