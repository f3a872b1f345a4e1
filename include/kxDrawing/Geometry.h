// Points, directions and matrices of the drawing interface.
#pragma once

#include <array>

namespace kxdrawing {

/// A point or a direction in space.
using Vector = std::array<double, 3>;

/// An affine or projective map of space, row by row, for column vectors: p' = M p, with the
/// translation in elements 3, 7 and 11.
using Matrix = std::array<double, 16>;

constexpr Matrix kIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

/// A point on the page: millimetres from the upper left corner, x to the right and y down.
struct Point {
    double x = 0.0; ///< To the right.
    double y = 0.0; ///< Downwards.
};

} // namespace kxdrawing
