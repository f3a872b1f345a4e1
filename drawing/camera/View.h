// The axes of views.
#pragma once

#include <Wm4Foundation.h>
#include <kxDrawing/Page.h>
#include <kxDrawing/View.h>

namespace kxcontour {

using kxdrawing::Page;
using kxdrawing::PageSize;
using kxdrawing::Projection;
using kxdrawing::View;

/// The axes of a view in the world, of unit length and at right angles; right x up = back.
///
/// The world has y up and looks at its front from +z. back points from the model to the eye.
struct ViewAxes {
    Wm4::Vector3<double> right;
    Wm4::Vector3<double> up;
    Wm4::Vector3<double> back;
};

/// The axes of a view. All but Iso have entries of exactly 0, 1 and -1; Iso looks along a body
/// diagonal of the axes (isometric), from the front, the right and above.
ViewAxes AxesOf(kxdrawing::Direction direction);

/// The axes of an eye that has gone azimuth degrees from the front towards the right, and then up
/// by elevation degrees. Multiples of 90 give entries of exactly 0, 1 and -1.
ViewAxes AxesOf(double azimuth, double elevation);

/// The axes of an eye in the direction back from the model, with viewUp as upright on the page as
/// can be. Throws InvalidArgument when back is zero or parallel to viewUp.
ViewAxes AxesLooking(const Wm4::Vector3<double>& back, const Wm4::Vector3<double>& viewUp);

/// The same view with the drawing turned counter-clockwise on the page, in degrees.
ViewAxes Rolled(const ViewAxes& axes, double degrees);

} // namespace kxcontour
