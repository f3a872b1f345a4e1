// Cosines and arc cosines from sums, products, quotients and square roots only, which IEEE 754
// rounds identically everywhere. The functions of the C library differ in their last bits between
// versions, and between processors with and without fused multiply-add.
#pragma once

namespace ctr {

/// The float nearest to the cosine of an angle in radians, for angles of any size; NaN for angles
/// that are not finite.
float Cosine(float radians);

/// The cosine of an angle in degrees, within two units in the last place; exact at multiples of 90.
/// NaN for angles that are not finite.
double CosineOfDegrees(double degrees);

/// The arc cosine, from 0 to pi radians, within three units in the last place; at -1, 0 and 1 the
/// doubles nearest to pi, pi / 2 and 0. NaN outside of -1 to 1.
double ArcCosine(double cosine);

} // namespace ctr
