// Taylor series up to 45 degrees, with plain sums and products: the C library's functions may
// differ in the last bit between machines.
#include "common/Angles.h"

#include <cmath>

namespace kxcontour {
namespace {

Turn SmallTurn(double degrees) {
    const double x = degrees * kDegree;
    Turn turn{0.0, 0.0};
    for (int n = 22; n >= 2; n -= 2) {
        turn.cosine = (1.0 + turn.cosine) * -x * x / (n * (n - 1));
        turn.sine = (1.0 + turn.sine) * -x * x / (n * (n + 1));
    }
    return {1.0 + turn.cosine, x * (1.0 + turn.sine)};
}

} // namespace

Turn TurnBy(double degrees) {
    const double quarters = std::nearbyint(degrees / 90.0);
    const Turn small = SmallTurn(degrees - 90.0 * quarters);
    switch ((static_cast<int>(std::fmod(quarters, 4.0)) + 4) % 4) {
    case 1:
        return {-small.sine, small.cosine};
    case 2:
        return {-small.cosine, -small.sine};
    case 3:
        return {small.sine, -small.cosine};
    default:
        return small;
    }
}

} // namespace kxcontour
