// Vectors, matrices and axis-parallel boxes in doubles.
#pragma once

#include <Wm4Foundation.h>
#include <kxDrawing/Geometry.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace kxcontour {

inline Wm4::Vector3<double> ToVector(const kxdrawing::Vector& v) {
    return {v[0], v[1], v[2]};
}

/// The matrix for row vectors.
inline Wm4::Matrix4<double> RowVectorMatrix(const kxdrawing::Matrix& matrix) {
    Wm4::Matrix4<double> transposed(false);
    for (int i = 0; i < 16; ++i) {
        transposed[i % 4][i / 4] = matrix[static_cast<std::size_t>(i)];
    }
    return transposed;
}

inline Wm4::Vector3<double> ToDouble(const Wm4::Vector3<float>& v) {
    return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

inline bool IsFinite(const Wm4::Vector3<double>& v) {
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

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
