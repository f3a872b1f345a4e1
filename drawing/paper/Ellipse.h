// Ellipses, and those that fit points best.
#pragma once

#include "drawing/paper/Paper.h"

#include <optional>
#include <span>

namespace kxcontour {

/// An ellipse, run through by an angle on the circle of which it is a stretched image: 0 on the
/// first axis, a quarter turn on the second, which is a quarter turn from x towards y from the
/// first. Angles in radians, lengths in millimetres.
struct Ellipse {
    Point center;
    Point axis{1.0, 0.0}; ///< The first one's direction, of length 1.
    double radiusX = 1.0; ///< Along the first axis, not less than radiusY; over 0.
    double radiusY = 1.0; ///< Equal to radiusX for a circle.

    Point at(double angle) const;

    /// How at() moves with the angle.
    Point tangentAt(double angle) const;

    /// The angle of the nearest point, from -pi to pi. For points near the ellipse; from others,
    /// some point that is not too far.
    double angleNear(Point point) const;
};

enum class EllipseKind { Circle, Any };

/// The ellipse that goes through the first and the last point and fits those between best.
///
/// The first and last point may be equal; the ellipse then goes through that one. Nothing when
/// there is none: too few points, points on a line or on a hyperbola. O(n).
std::optional<Ellipse> FitEllipse(std::span<const Point> points, EllipseKind kind);

} // namespace kxcontour
