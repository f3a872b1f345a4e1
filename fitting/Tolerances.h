// The tolerances that define straight runs and arcs, and the bounds of searches for runs that can
// be joined, derived from them in one chain. Angles are in radians.
//
// Tolerances are part of the definition of a run: a fit is accepted within them. Bounds of searches
// only exclude what no fit can accept, so they exceed the tolerances by the rounding of floats.
#pragma once

#include <numbers>

namespace ctr::fit_tolerances {

constexpr double kDegree = std::numbers::pi / 180.0;

constexpr double SquareOf(double value) {
    return value * value;
}
/// The cosine of an angle of at most 90 degrees by its Taylor series, to 1e-9.
constexpr double CosineSeries(double angle) {
    double sum = 0.0;
    for (int n = 14; n >= 2; n -= 2) {
        sum = (1.0 + sum) * -SquareOf(angle) / (n * (n - 1));
    }
    return 1.0 + sum;
}
/// The quotient of the sine of an angle of at most 90 degrees and the angle, likewise.
constexpr double SineShareSeries(double angle) {
    double sum = 0.0;
    for (int n = 14; n >= 2; n -= 2) {
        sum = (1.0 + sum) * -SquareOf(angle) / (n * (n + 1));
    }
    return 1.0 + sum;
}
constexpr bool IsWithin(double value, double expected, double share) {
    return value > expected * (1.0 - share) && value < expected * (1.0 + share);
}

// 1. Fits (FittingSystem).

/// The square of a tenth of a degree, for directions about a line or about a plane.
constexpr double kAngleToleranceSquared = 3.04617e-6;
static_assert(IsWithin(kAngleToleranceSquared, SquareOf(0.1 * kDegree), 1e-5));
/// The square of 1 % of the radius, for bisector planes about a centre.
constexpr double kRadiusToleranceSquared = 0.0001;
static_assert(IsWithin(kRadiusToleranceSquared, SquareOf(0.01), 1e-9));
/// Limits of the ratio of the area of the triangle fan to that of the circular sector. Steps of
/// 22.5 degrees are far within the first; the second is the float 1.005.
constexpr double kSmallestAreaRatio = 0.825263276564015;
constexpr double kLargestAreaRatio = 1.0049999952316284;
static_assert(kSmallestAreaRatio < SineShareSeries(22.5 * kDegree));
static_assert(kLargestAreaRatio > 1.0);
/// Segment lengths must be within a factor of 3 of the first chord.
constexpr double kLengthRatioSquared = 9.0;
constexpr double kInverseLengthRatioSquared = 0.1111111111111111;
static_assert(IsWithin(kInverseLengthRatioSquared, 1.0 / kLengthRatioSquared, 1e-15));
/// The smallest angle that an arc may sweep: pi / 8, or 22.5 degrees.
constexpr float kLeastArcAngle = 0.3926991F;
static_assert(IsWithin(static_cast<double>(kLeastArcAngle), 22.5 * kDegree, 1e-6));

// 2. Bounds of searches for directions that fit (DirectionTree, RunJoining).

/// Exceeds the difference of two products of unit vectors in floats, in different orders: three
/// roundings each, of terms that add up to at most the square root of 3.
constexpr float kCosineRounding = 1e-6F;
static_assert(2.0 * 3.0 * 1.7321 * 0x1p-24 <= static_cast<double>(kCosineRounding));
/// The spread of the directions of a straight run, per segment.
constexpr float kStraightSpread = 3.1e-6F;
static_assert(static_cast<double>(kStraightSpread) > kAngleToleranceSquared);
/// Up to this spread, all directions of a straight run are near one axis.
constexpr float kLargeSpread = 0.1F;
/// Two chords of an arc do not turn by 61 degrees or more: their fan would be too small.
constexpr float kCosineOf62Degrees = 0.469F;
static_assert(SineShareSeries(61.0 * kDegree) < kSmallestAreaRatio);
static_assert(static_cast<double>(kCosineOf62Degrees) < CosineSeries(62.0 * kDegree));
/// Two single segments sweep twice the angle that they turn by, at least kLeastArcAngle.
constexpr float kCosineOf11Degrees = 0.9817F;
static_assert(static_cast<double>(kCosineOf11Degrees) > CosineSeries(11.0 * kDegree));
static_assert(2.0 * 11.0 * kDegree < static_cast<double>(kLeastArcAngle));

} // namespace ctr::fit_tolerances
