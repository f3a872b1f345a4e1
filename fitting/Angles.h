// Cosines and arc cosines from sums, products, quotients and square roots alone, which IEEE 754
// rounds alike everywhere. The C library's functions differ in their last bits between versions of
// it, and between processors with and without fused multiply-add.
#pragma once

namespace ctr {

/// The float nearest to the cosine of an angle in radians. Angles of any size are reduced exactly;
/// not a number for those that are not finite.
float Cosine(float radians);

/// The cosine of an angle in degrees, within two units in the last place; exact at multiples of 90.
/// Not a number for angles that are not finite.
double CosineOfDegrees(double degrees);

/// The angle from 0 to pi whose cosine is given, in radians, within three units in the last place;
/// exact at -1, 0 and 1, that is, the doubles nearest to pi, pi / 2 and 0. Not a number for what is
/// no cosine.
double ArcCosine(double cosine);

} // namespace ctr
