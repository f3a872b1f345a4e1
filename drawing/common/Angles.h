// Sines, cosines and directions, the same on every machine.
#pragma once

namespace kxcontour {

/// In radians; the nearest double.
inline constexpr double kDegree = 3.14159265358979323846 / 180.0;

struct Turn {
    double cosine;
    double sine;
};

/// The turn by an angle in degrees, correct to 1e-15; exact for multiples of 90. Not a number for
/// angles that are not finite.
Turn TurnBy(double degrees);

/// The turn by an angle in radians, within two units in the last place up to five turns, correct to
/// 1e-15 up to a million radians. Not a number for angles that are not finite.
Turn TurnByRadians(double radians);

/// The angle from the first axis to the direction (x, y), from -pi to pi radians, within three
/// units in the last place; exact for multiples of 45 degrees. Its sign is that of y: -pi for y =
/// -0 on the negative first axis. For (0, 0), 0 or pi by the sign of x.
double AngleOf(double x, double y);

} // namespace kxcontour
