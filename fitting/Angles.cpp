// Cosines and arc cosines by reduction of the argument and Taylor series, in constant time; error
// bounds are stated in the header.
//
// Angles are reduced to within pi / 4 of a multiple of a right angle, where Taylor series converge
// fast. Radians are reduced by multiplication with the relevant bits of 2 / pi (M. Payne and R.
// Hanek, Radian Reduction for Trigonometric Functions, SIGNUM Newsletter 18, 1983). Tangents are
// reduced to within 1/8 of a multiple of 1/4 by the addition theorem.
#include "fitting/Angles.h"

#include <ctr/detail/ArcTangent.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

namespace ctr {
namespace {

using UnsignedWide = unsigned __int128;
using SignedWide = __int128;

constexpr double kDegree = std::numbers::pi / 180.0;
constexpr double kRightAngle = std::numbers::pi / 2.0;

/// A whole number of right angles, modulo 4, and the remainder in radians, from -pi / 4 to pi / 4.
struct ReducedAngle {
    unsigned quarters;
    double rest;
};

/// In fixed point with 2^126 for a right angle, so that full turns overflow. The product of the
/// 24-bit mantissa and the bits of 2 / pi below full turns has an error below 2^-101 of a right
/// angle, far less than the smallest remainder of any float. The cosines of all floats were
/// compared with quadruple precision.
ReducedAngle Reduced(float radians) {
    constexpr int kMantissaBits = std::numeric_limits<float>::digits;
    constexpr int kQuarterBits = 126;
    /// 2 / pi with 256 fractional bits, least significant word first, then its integer part.
    constexpr std::array<std::uint64_t, 5> kTwoOverPi{0xfe5163abdebbc561U, 0xdb6295993c439041U,
                                                      0xfc2757d1f534ddc0U, 0xa2f9836e4e441529U, 0U};
    const float size = std::abs(radians);
    if (size < static_cast<float>(std::numbers::pi / 4.0)) {
        return {0, static_cast<double>(size)};
    }
    int exponent = 0;
    const auto mantissa =
        static_cast<std::uint64_t>(std::ldexp(std::frexp(size, &exponent), kMantissaBits));
    const auto dropped = static_cast<unsigned>(256 - kQuarterBits + kMantissaBits - exponent);
    const auto word = [&](unsigned number) {
        const std::size_t at = dropped / 64U + number;
        const UnsignedWide two = UnsignedWide{kTwoOverPi[at + 1]} << 64U | kTwoOverPi[at];
        return static_cast<std::uint64_t>(two >> dropped % 64U);
    };
    const UnsignedWide angle = (UnsignedWide{word(1)} << 64U | word(0)) * mantissa;
    const UnsignedWide half = UnsignedWide{1} << (kQuarterBits - 1U);
    const auto quarters = static_cast<unsigned>((angle + half) >> kQuarterBits);
    const auto rest = static_cast<SignedWide>(angle - (UnsignedWide{quarters} << kQuarterBits));
    return {quarters, std::ldexp(static_cast<double>(rest), -kQuarterBits) * kRightAngle};
}

ReducedAngle ReducedDegrees(double degrees) {
    const double turn = std::fmod(degrees, 360.0);
    const double quarters = std::nearbyint(turn / 90.0);
    const auto whole = static_cast<unsigned>(static_cast<int>(quarters) + 4) % 4U;
    return {whole, (turn - 90.0 * quarters) * kDegree};
}

double CosineOf(const ReducedAngle& angle) {
    const double x = angle.rest;
    double cosine = 0.0;
    double sine = 0.0;
    for (int n = 22; n >= 2; n -= 2) {
        cosine = (1.0 + cosine) * -x * x / (n * (n - 1));
        sine = (1.0 + sine) * -x * x / (n * (n + 1));
    }
    const double size = angle.quarters % 2U == 0U ? 1.0 + cosine : x * (1.0 + sine);
    return angle.quarters == 1U || angle.quarters == 2U ? -size : size;
}

} // namespace

float Cosine(float radians) {
    if (!std::isfinite(radians)) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    return static_cast<float>(CosineOf(Reduced(radians)));
}

double CosineOfDegrees(double degrees) {
    if (!std::isfinite(degrees)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    return CosineOf(ReducedDegrees(degrees));
}

double ArcCosine(double cosine) {
    const double size = std::abs(cosine);
    if (!(size <= 1.0)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    // The tangent of half the angle.
    const double angle = 2.0 * detail::ArcTangent(std::sqrt((1.0 - size) / (1.0 + size)));
    return cosine < 0.0 ? std::numbers::pi - angle : angle;
}

} // namespace ctr
