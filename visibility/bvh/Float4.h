// SIMD vectors of four numbers and the lane masks that comparisons of them give.
//
// GCC and clang vector types: arithmetic and comparisons are written as for scalars. Only minimum,
// maximum and the conversion of a comparison to bits need intrinsics.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ctr {

using Float4 = float __attribute__((vector_size(16)));
/// Integers, and results of comparisons: all bits of a lane are set, or none.
using Int4 = std::int32_t __attribute__((vector_size(16)));
/// Bit k stands for lane k.
using LaneMask = unsigned int;

#ifdef __SSE2__
inline Float4 Min(Float4 a, Float4 b) {
    return _mm_min_ps(a, b);
}
inline Float4 Max(Float4 a, Float4 b) {
    return _mm_max_ps(a, b);
}
/// The lanes in which a comparison is true.
inline LaneMask LaneMaskOf(Int4 comparison) {
    return static_cast<LaneMask>(_mm_movemask_ps(reinterpret_cast<Float4>(comparison)));
}
#else
inline Float4 Min(Float4 a, Float4 b) {
    return a < b ? a : b;
}
inline Float4 Max(Float4 a, Float4 b) {
    return a > b ? a : b;
}
/// The lanes in which a comparison is true.
inline LaneMask LaneMaskOf(Int4 comparison) {
    const Int4 bits = comparison & Int4{1, 2, 4, 8};
    return static_cast<LaneMask>(bits[0] | bits[1] | bits[2] | bits[3]);
}
#endif

/// One value in all lanes.
inline Float4 Broadcast(float value) {
    return Float4{value, value, value, value};
}

/// The coordinates of a corner and, in the fourth lane, the number that follows it in memory.
inline Int4 LoadCorner(const BakedVertex* corner) {
    Int4 numbers;
    std::memcpy(&numbers, corner, sizeof numbers);
    return numbers;
}

} // namespace ctr
