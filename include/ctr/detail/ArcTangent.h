// The arc tangent from sums, products and quotients only, which IEEE 754 rounds identically
// everywhere: reduction by the addition theorem, then a Taylor series. Constant time. Error
// bounds of the angles computed from it are in fitting/Angles.h.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>

namespace ctr::detail {

/// The arc tangent of a number from 0 to 1 in radians, by a Taylor series around the nearest
/// multiple of 1/4, to which the addition theorem reduces it.
inline double ArcTangent(double tangent) {
    /// The arc tangents of 0, 1/4, 1/2, 3/4 and 1, and their rounding errors.
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

} // namespace ctr::detail
