// Exact integer geometry on the grid: differences, cross products and plane values in 64 bits.
//
// With b bits across the screen and d in depth, coordinate differences are below 2^b and 2^d. Then
//   side values (cross products of screen differences)          < 2^(2b + 1)
//   plane normals             |nx|, |ny| < 2^(b + d + 1),  |nz| < 2^(2b + 1)
//   plane distances   |nx dx| + |ny dy| + |nz dz| < 3 * 2^(2b + d + 1)
// The setter of the grid allows 2b + d <= 59 and its constructor 60: distances are below
// 3 * 2^61 < 2^63. The difference of two distances from one plane is the distance of a coordinate
// difference and has the same bound, likewise for side values, so everything fits in 64 bits.
// Sizes that pass the setter only because its sum wraps can exceed this: coordinates reach 2^31 - 1
// there. Sums and products are therefore taken modulo 2^64, which is well defined, and the same
// number wherever the bounds hold.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include <Wm4Foundation.h>

#include <cstdint>

namespace ctr {

using GridVector = Wm4::Vector3<std::int64_t>;
/// (numerator, denominator), the denominator positive.
using Fraction = Wm4::Vector2<std::int64_t>;

inline std::int64_t WrapMultiply(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}
inline std::int64_t WrapAdd(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}
inline std::int64_t WrapSubtract(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

inline std::int64_t WrapNegate(std::int64_t value) {
    return WrapSubtract(0, value);
}
/// |value|
inline std::int64_t WrapSize(std::int64_t value) {
    return value < 0 ? WrapNegate(value) : value;
}

inline int SignOf(std::int64_t value) {
    return static_cast<int>(value > 0) - static_cast<int>(value < 0);
}

inline GridVector Difference(const BakedVertex& p, const BakedVertex& q) {
    return {std::int64_t{p.x} - std::int64_t{q.x}, std::int64_t{p.y} - std::int64_t{q.y},
            std::int64_t{p.z} - std::int64_t{q.z}};
}

/// a d - b c
inline std::int64_t Determinant(std::int64_t a, std::int64_t b, std::int64_t c, std::int64_t d) {
    return WrapSubtract(WrapMultiply(a, d), WrapMultiply(b, c));
}

/// The cross product of the screen parts; positive when q turns left of p.
inline std::int64_t CrossXY(const GridVector& p, const GridVector& q) {
    return Determinant(p[0], p[1], q[0], q[1]);
}

inline GridVector Cross(const GridVector& p, const GridVector& q) {
    return {Determinant(p[1], p[2], q[1], q[2]), Determinant(p[2], p[0], q[2], q[0]),
            Determinant(p[0], p[1], q[0], q[1])};
}

/// The normal of a triangle as in BakedTriangles::trianglePlanes; often faster to recompute than to
/// load.
inline GridVector NormalOf(const BakedVertex* corners) {
    return Cross(Difference(corners[2], corners[0]), Difference(corners[1], corners[0]));
}

inline std::int64_t Dot(const GridVector& p, const GridVector& q) {
    return WrapAdd(WrapAdd(WrapMultiply(p[0], q[0]), WrapMultiply(p[1], q[1])),
                   WrapMultiply(p[2], q[2]));
}

/// The fraction with its sign moved into the numerator.
inline Fraction MakeFraction(std::int64_t numerator, std::int64_t denominator) {
    return denominator < 0 ? Fraction(WrapNegate(numerator), WrapNegate(denominator))
                           : Fraction(numerator, denominator);
}

} // namespace ctr
