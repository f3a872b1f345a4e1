// Angles are reduced to an eighth of a turn either side of a multiple of a right angle, where
// Taylor series converge fast. Radians are reduced by multiplication with as many bits of 2 / pi as
// matter (M. Payne and R. Hanek, Radian Reduction for Trigonometric Functions, SIGNUM Newsletter
// 18, 1983). Arc tangents are reduced to an eighth around multiples of a quarter, by the addition
// theorem.
#include "fitting/Angles.h"

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

/// A whole number of right angles, modulo 4, and what is left: radians, up to pi / 4 either way.
struct ReducedAngle {
    unsigned quarters;
    double rest;
};

/// A right angle is 2^126, so that whole turns overflow away. The mantissa of 24 bits times the
/// bits of 2 / pi that are not whole turns is off by less than 2^-101 of a right angle: far less
/// than what any float leaves. Cosines of all floats were compared with those of quadruple
/// precision.
ReducedAngle Reduced(float radians) {
    constexpr int kMantissaBits = std::numeric_limits<float>::digits;
    constexpr int kQuarterBits = 126;
    /// 2 / pi in 256 bits after the point, from the last word to the first, and what is before it.
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

/// For tangents from 0 to 1.
double ArcTangent(double tangent) {
    /// The arc tangents of 0, 1/4, 1/2, 3/4 and 1, and what rounding has taken off them.
    constexpr std::array<double, 5> kHigh{0x0.0p+0, 0x1.f5b75f92c80ddp-3, 0x1.dac670561bb4fp-2,
                                          0x1.4978fa3269ee1p-1, 0x1.921fb54442d18p-1};
    constexpr std::array<double, 5> kLow{0x0.0p+0, 0x1.8ab6e3cf7afbdp-57, 0x1.a2b7f222f65e2p-56,
                                         0x1.2419a87f2a458p-56, 0x1.1a62633145c07p-55};
    const double step = std::nearbyint(4.0 * tangent);
    const double x = (tangent - step / 4.0) / (1.0 + tangent * step / 4.0);
    double sum = 0.0;
    for (int n = 17; n >= 3; n -= 2) {
        sum = (1.0 / n + sum) * -x * x;
    }
    const auto at = static_cast<std::size_t>(step);
    return kHigh[at] + (kLow[at] + (x + x * sum));
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
    const double angle = 2.0 * ArcTangent(std::sqrt((1.0 - size) / (1.0 + size)));
    return cosine < 0.0 ? std::numbers::pi - angle : angle;
}

} // namespace ctr
