// Quantisation of normalised device coordinates to the integer grid, and back to world space.
//
// A coordinate in the view is rounded down, by less than one step; beyond it, coordinates saturate.
// Constant time, in single precision.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include "projection/Homogeneous.h"

#include <cstdint>
#include <limits>

namespace ctr {

/// Truncation toward zero, saturated to the 32-bit range; NaN becomes 0.
inline std::int32_t SaturatedToInt(float value) {
    constexpr float kLimit = 2147483648.0F;
    if (value >= kLimit) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (value < -kLimit) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return value == value ? static_cast<std::int32_t>(value) : 0;
}

/// The grid coordinate of an NDC value on one axis.
inline std::int32_t Quantise(const DiscreteProjectionSpace& space, float ndc, int axis) {
    return SaturatedToInt((ndc - space.frustumMin[axis]) * space.voxelScale[axis]);
}

/// The grid point of a clip-space point; clamping absorbs the rounding errors of clipping.
inline BakedVertex QuantiseClamped(const DiscreteProjectionSpace& space,
                                   const Wm4::Vector4<float>& clip) {
    std::int32_t grid[3];
    for (int axis = 0; axis < 3; ++axis) {
        float ndc = clip[axis] / clip[3];
        ndc = ndc < space.frustumMax[axis] ? ndc : space.frustumMax[axis];
        ndc = ndc > space.frustumMin[axis] ? ndc : space.frustumMin[axis];
        grid[axis] = Quantise(space, ndc, axis);
    }
    return {grid[0], grid[1], grid[2]};
}

/// The world position of a grid point.
inline Wm4::Vector3<float> GridToWorld(const DiscreteProjectionSpace& space, const BakedVertex& v) {
    const Wm4::Vector3<float> ndc(
        static_cast<float>(v.x) * space.voxelSize[0] + space.frustumMin[0],
        static_cast<float>(v.y) * space.voxelSize[1] + space.frustumMin[1],
        static_cast<float>(v.z) * space.voxelSize[2] + space.frustumMin[2]);
    return DivideByW(TransformPoint(space.clipToWorld, ndc));
}

} // namespace ctr
