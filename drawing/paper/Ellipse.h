// Ellipses, and their fit to points.
#pragma once

#include "drawing/paper/Paper.h"

#include <optional>
#include <span>

namespace kxcontour {

/// An ellipse, parametrised by the angle on the circle that it is the stretched image of: 0 on the
/// first axis, a quarter turn on the second, which is the first turned from x towards y. Angles in
/// radians, lengths in millimetres.
struct Ellipse {
    Point center;
    Point axis{1.0, 0.0}; ///< The first one's direction, of length 1.
    double radiusX = 1.0; ///< Along the first axis, not less than radiusY; over 0.
    double radiusY = 1.0; ///< Equal to radiusX for a circle.

    Point at(double angle) const;

    /// The derivative of at().
    Point tangentAt(double angle) const;

    /// The angle of the nearest point, from -pi to pi, for points near the ellipse; for others, of
    /// some point that is not much farther.
    double angleNear(Point point) const;
};

enum class EllipseKind { Circle, Any };

/// The ellipse through the first and the last point that fits those between best.
///
/// The first and last point may be equal. Nothing when there is no such ellipse: for too few points
/// and for points on a line or a hyperbola. O(n).
std::optional<Ellipse> FitEllipse(std::span<const Point> points, EllipseKind kind);

} // namespace kxcontour
