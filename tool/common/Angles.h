// Angles in degrees, the same on every machine.
#pragma once

namespace kxcontour {

/// In radians; the nearest double.
inline constexpr double kDegree = 3.14159265358979323846 / 180.0;

struct Turn {
    double cosine;
    double sine;
};

/// The turn by an angle in degrees, correct to 1e-15; exact for multiples of 90.
Turn TurnBy(double degrees);

} // namespace kxcontour
