// Points of a grid segment at a rational parameter, rounded down to the grid. Exact, O(1).
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include "visibility/exact/GridArithmetic.h"

#include <cstdint>

namespace ctr {

/// The nearest double or one next to it.
inline double ValueOf(const Fraction& t) {
    return static_cast<double>(t[0]) / static_cast<double>(t[1]);
}

/// floor(p0 + (p1 - p0) t) for t in [0, 1]; the result is the same from either end. `parameter` is
/// ValueOf(t).
std::int32_t CoordinateAt(std::int32_t p0, std::int32_t p1, const Fraction& t, double parameter);

/// The grid point at or below p0 + (p1 - p0) t on every axis, for t in [0, 1].
BakedVertex PointAt(const BakedVertex& p0, const BakedVertex& p1, const Fraction& t);

} // namespace ctr
