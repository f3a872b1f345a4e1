// The orthographic camera that fits a model onto a page.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include "camera/PageSize.h"
#include "camera/View.h"
#include "scene/Box.h"
#include "scene/MeshBuilder.h"

namespace kxcontour {

/// The box of a mesh's triangles along the axes of a view: x right, y up, z towards the eye.
Box MeasureInView(const kx::kxTriMesh& mesh, const ViewAxes& axes);

/// What the camera shows, in world units along the axes of the view.
struct Frame {
    Wm4::Vector3<double> center;   ///< In view coordinates, as in MeasureInView().
    Wm4::Vector3<double> halfSize; ///< From the centre to the edges; over 0.
};

/// Fits a box onto a page: centred, inside the margin and touching it on one axis.
///
/// drawn is the box of what is drawn, in view coordinates, and not empty. The frame covers the
/// whole sheet, so that x and y from -1 to 1 are its edges. It is deep enough for the box and for
/// whatever of the occluders lies between it and the eye on the sheet; what is behind the box can
/// hide nothing and need not be inside.
Frame FitToPage(const Box& drawn, const std::vector<Box>& occluders, PageSize page);

/// The camera of a frame, with the finest grid that the library accepts.
///
/// Matrices are computed in doubles and rounded once. -1 in depth is nearest to the eye. Throws
/// Failure (NothingToDraw) where the frame is too large or too small for single precision.
ctr::DiscreteProjectionSpace MakeCamera(const Frame& frame, const ViewAxes& axes);

} // namespace kxcontour
