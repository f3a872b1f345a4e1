// Row vectors times 4x4 matrices, in the fixed order of operations on which all results depend.
#pragma once

#include <Wm4Foundation.h>

#include <cmath>

namespace ctr {

/// (x, y, z, 1) * M: per column x * row0 + y * row1 + z * row2 + row3, summed left to right.
inline Wm4::Vector4<float> TransformPoint(const Wm4::Matrix4<float>& m,
                                          const Wm4::Vector3<float>& p) {
    const float x = p[0];
    const float y = p[1];
    const float z = p[2];
    return {x * m[0][0] + y * m[1][0] + z * m[2][0] + m[3][0],
            x * m[0][1] + y * m[1][1] + z * m[2][1] + m[3][1],
            x * m[0][2] + y * m[1][2] + z * m[2][2] + m[3][2],
            x * m[0][3] + y * m[1][3] + z * m[2][3] + m[3][3]};
}

/// Each coordinate divided by w. A product with 1 / w would round differently.
inline Wm4::Vector3<float> DivideByW(const Wm4::Vector4<float>& p) {
    return {p[0] / p[3], p[1] / p[3], p[2] / p[3]};
}

/// NaN if a coordinate is NaN; the vector class's own length would be 0.
inline float Distance(const Wm4::Vector3<float>& p, const Wm4::Vector3<float>& q) {
    const float x = p[0] - q[0];
    const float y = p[1] - q[1];
    const float z = p[2] - q[2];
    return std::sqrt(x * x + y * y + z * z);
}

} // namespace ctr
