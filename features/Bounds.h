// Points and axis-aligned bounding boxes in doubles.
#pragma once

#include <Wm4Foundation.h>

#include <algorithm>
#include <limits>

namespace ctr {

/// The same point; the conversion is exact.
inline Wm4::Vector3<double> InDoubles(const Wm4::Vector3<float>& p) {
    return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

/// A closed box; by default empty, with its minimum above its maximum.
struct Bounds {
    Wm4::Vector3<double> min{kFar, kFar, kFar};
    Wm4::Vector3<double> max{-kFar, -kFar, -kFar};

    Wm4::Vector3<double> size() const { return max - min; }

    void add(const Wm4::Vector3<double>& point) {
        for (int axis = 0; axis < 3; ++axis) {
            min[axis] = std::min(min[axis], point[axis]);
            max[axis] = std::max(max[axis], point[axis]);
        }
    }
    /// The other box must not be empty.
    void add(const Bounds& other) {
        add(other.min);
        add(other.max);
    }

private:
    static constexpr double kFar = std::numeric_limits<double>::infinity();
};

} // namespace ctr
