// Plain sums, products and quotients, which every machine rounds alike: the C library's functions
// differ in their last bits between versions of it and between processors.
//
// Angles are reduced to an eighth of a turn either side of a right angle (radians as in W. Cody and
// W. Waite, Software Manual for the Elementary Functions, 1980), tangents to an eighth either side
// of a multiple of a quarter by the addition theorem; Taylor series do the rest.
#include "drawing/common/Angles.h"

#include <ctr/detail/ArcTangent.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>

namespace kxcontour {
namespace {

constexpr Turn kNoTurn{std::numeric_limits<double>::quiet_NaN(),
                       std::numeric_limits<double>::quiet_NaN()};

/// 1 / n! at n. Factorials up to that of 22 are doubles.
constexpr std::array<double, 20> InverseFactorials() {
    std::array<double, 20> inverses{1.0};
    double factorial = 1.0;
    for (std::size_t n = 1; n < inverses.size(); ++n) {
        factorial *= static_cast<double>(n);
        inverses[n] = 1.0 / factorial;
    }
    return inverses;
}

/// Up to 45 degrees either way.
Turn SmallTurn(double radians) {
    constexpr std::array<double, 20> kInverses = InverseFactorials();
    const double square = radians * radians;
    double cosine = 0.0;
    double sine = 0.0;
    for (std::size_t n = 18; n >= 2; n -= 2) {
        cosine = (kInverses[n] - cosine) * square;
        sine = (kInverses[n + 1] - sine) * square;
    }
    return {1.0 - cosine, radians - radians * sine};
}

/// A turn and so many right angles more; quarters is a whole number.
Turn Onward(Turn turn, double quarters) {
    switch ((static_cast<int>(std::fmod(quarters, 4.0)) + 4) % 4) {
    case 1:
        return {-turn.sine, turn.cosine};
    case 2:
        return {-turn.cosine, -turn.sine};
    case 3:
        return {turn.sine, -turn.cosine};
    default:
        return turn;
    }
}

/// The smaller of two lengths over the larger.
double Ratio(double x, double y) {
    const double larger = std::max(x, y);
    if (larger == 0.0) {
        return 0.0;
    }
    return std::isinf(larger) ? (x == y ? 1.0 : 0.0) : std::min(x, y) / larger;
}

} // namespace

Turn TurnBy(double degrees) {
    if (!std::isfinite(degrees)) {
        return kNoTurn;
    }
    const double quarters = std::nearbyint(degrees / 90.0);
    return Onward(SmallTurn((degrees - 90.0 * quarters) * kDegree), quarters);
}

Turn TurnByRadians(double radians) {
    /// Half of pi; its first 33 bits and the rest. Multiples of the former are exact.
    constexpr double kHigh = 0x1.921fb544p+0;
    constexpr double kLow = 0x1.0b4611a626331p-34;
    constexpr double kManyTurns = 0x1p18 * 2.0 * std::numbers::pi;
    if (!std::isfinite(radians)) {
        return kNoTurn;
    }
    const double angle = std::fmod(radians, kManyTurns);
    const double quarters = std::nearbyint(angle * (2.0 / std::numbers::pi));
    return Onward(SmallTurn((angle - quarters * kHigh) - quarters * kLow), quarters);
}

double AngleOf(double x, double y) {
    if (std::isnan(x) || std::isnan(y)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const double across = std::abs(x);
    const double up = std::abs(y);
    const double fromAxis = ctr::detail::ArcTangent(Ratio(across, up));
    const bool isSteep = up > across;
    double angle = isSteep ? std::numbers::pi / 2.0 - fromAxis : fromAxis;
    if (std::signbit(x)) {
        angle = isSteep ? std::numbers::pi / 2.0 + fromAxis : std::numbers::pi - fromAxis;
    }
    return std::copysign(angle, y);
}

} // namespace kxcontour
