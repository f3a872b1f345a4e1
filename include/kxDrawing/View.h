// The camera of a drawing.
#pragma once

#include <kxDrawing/Geometry.h>

#include <cstdint>
#include <optional>

namespace kxdrawing {

/// The named directions of view.
enum class Direction : std::uint8_t { Front, Back, Left, Right, Top, Bottom, Iso };

/// The kinds of projection.
enum class Projection : std::uint8_t { Orthographic, Perspective };

/// A direction of view, its projection and its size on the page.
///
/// Start from one of the functions and set what should differ. Unless a scale is given, or the
/// camera is a matrix, the drawing fills the page inside its margin. Angles are degrees; positions
/// and directions are in the coordinates of the scene.
struct View {
    Direction direction = Direction::Iso; ///< Used where neither angles nor an eye are given.
    std::optional<double> azimuth;        ///< 0 in front, 90 on the right.
    std::optional<double> elevation;      ///< 0 level, 90 from above.
    double roll = 0.0;                    ///< Turns the drawing counter-clockwise on the page.
    /// A point to look from; in parallel projection it only gives the direction.
    std::optional<Vector> eye;
    std::optional<Vector> target; ///< In the middle of the page; none: the middle of the scene.
    std::optional<Vector> up;     ///< Points up on the page; none: the up axis of the scene.
    Projection projection = Projection::Orthographic; ///< Parallel by default.
    double fieldOfView = 30.0; ///< Vertical, of the page inside its margin; perspective only.
    double zoom = 1.0;         ///< Over 0; 2 draws everything twice as large.
    /// Length on paper over real length, such as 0.5 for 1:2; orthographic only. None: fit the
    /// page.
    std::optional<double> scale;
    /// Takes scene coordinates to clip coordinates: x and y from -1 to 1 over the page, z from -1
    /// (near) to 1 (far), after division by w. Replaces all of the above.
    std::optional<Matrix> matrix;

    /// A named direction of view.
    static View named(Direction direction) {
        View view;
        view.direction = direction;
        return view;
    }
    /// An eye that has gone azimuth degrees from the front towards the right, then up by elevation.
    static View angles(double azimuth, double elevation) {
        View view;
        view.azimuth = azimuth;
        view.elevation = elevation;
        return view;
    }
    /// A perspective view from an eye to a target; the eye stays where it is.
    static View lookAt(const Vector& eye, const Vector& target, const Vector& up) {
        View view;
        view.eye = eye;
        view.target = target;
        view.up = up;
        view.projection = Projection::Perspective;
        return view;
    }
    /// A camera of the caller's own, see View::matrix.
    static View fromMatrix(const Matrix& viewProjection) {
        View view;
        view.matrix = viewProjection;
        return view;
    }
};

} // namespace kxdrawing
