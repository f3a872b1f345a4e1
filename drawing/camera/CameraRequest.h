// What a user asks of the camera.
#pragma once

#include <Wm4Foundation.h>

#include "drawing/camera/View.h"

#include <cstdint>
#include <optional>
#include <string>

namespace kxcontour {

enum class Projection : std::uint8_t { Orthographic, Perspective };

/// A direction to look from, by name, by angles or by points; points win over angles, angles over
/// the name. Angles are degrees.
struct CameraRequest {
    View view = View::Iso;
    std::optional<double> azimuth;   ///< 0 in front, 90 on the right.
    std::optional<double> elevation; ///< 0 level, 90 from above.
    double roll = 0.0;               ///< Turns the drawing counter-clockwise on the page.
    /// Points in the axes and the unit of the first model's file.
    std::optional<Wm4::Vector3<double>> position;
    std::optional<Wm4::Vector3<double>> focalPoint; ///< None: the middle of what is fitted.
    std::optional<Wm4::Vector3<double>> viewUp;     ///< None: the file's up axis.
    Projection projection = Projection::Orthographic;
    double fieldOfView = 30.0; ///< Vertical, of the sheet inside its margin; perspective only.
    std::optional<std::string> fitObject; ///< The object that fills the page; none: everything.
    double zoom = 1.0;                    ///< Over 0; 2 draws everything twice as large.
    std::optional<double> scale;          ///< Length on paper over real length; orthographic only.
};

} // namespace kxcontour
