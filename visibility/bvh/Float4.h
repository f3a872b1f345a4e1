// Four numbers that are worked on together.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ctr {

using Lanes = float __attribute__((vector_size(16)));
/// Whole numbers, and what comparisons of lanes give: all bits of a lane or none.
using IntegerLanes = std::int32_t __attribute__((vector_size(16)));

// Lane by lane, of numbers; and bit k for a lane k that is set. The compilers know the instructions
// for it by these names only.
#ifdef __SSE2__
inline Lanes Least(Lanes a, Lanes b) {
    return _mm_min_ps(a, b);
}
inline Lanes Most(Lanes a, Lanes b) {
    return _mm_max_ps(a, b);
}
inline unsigned int BitsOf(IntegerLanes comparison) {
    return static_cast<unsigned int>(_mm_movemask_ps(reinterpret_cast<Lanes>(comparison)));
}
#else
inline Lanes Least(Lanes a, Lanes b) {
    return a < b ? a : b;
}
inline Lanes Most(Lanes a, Lanes b) {
    return a > b ? a : b;
}
inline unsigned int BitsOf(IntegerLanes comparison) {
    const IntegerLanes bits = comparison & IntegerLanes{1, 2, 4, 8};
    return static_cast<unsigned int>(bits[0] | bits[1] | bits[2] | bits[3]);
}
#endif

inline Lanes All(float value) {
    return Lanes{value, value, value, value};
}

/// The coordinates of a corner, and after them the number that follows it in memory.
inline IntegerLanes NumbersOf(const BakedVertex* corner) {
    IntegerLanes numbers;
    std::memcpy(&numbers, corner, sizeof numbers);
    return numbers;
}

} // namespace ctr
