// The camera that shows a scene as it was asked for.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include "drawing/camera/View.h"
#include "drawing/scene/Box.h"
#include "drawing/scene/MeshBuilder.h"

#include <optional>

namespace kxcontour {

/// The box of a mesh's triangles along the axes of a view: x right, y up, z towards the eye.
Box MeasureInView(const kx::kxTriMesh& mesh, const ViewAxes& axes);

/// What a camera has to do with.
struct CameraSubjects {
    const MeshList& drawn;
    const MeshList& fitted; ///< The part of drawn that fills the page; not empty.
    const MeshList& occluders;
};

/// A camera and what it does to sizes.
struct AimedCamera {
    ctr::DiscreteProjectionSpace space;
    /// World units that a millimetre of paper shows; none in perspective.
    std::optional<double> unitsPerMillimetre;
    /// Width and height of all that is drawn, in millimetres of paper; none in perspective.
    std::optional<PageSize> drawnSize;
};

/// Aims a camera. Its clipping planes lie so that nothing in front of the eye is cut, but for what
/// in perspective is nearer than a 4096th of the farthest point.
///
/// The request's points are in the world's axes and units, its scale in millimetres of paper per
/// world unit. A perspective camera without a position goes where everything fits; with one it
/// stays there. In parallel projection a position only gives a direction, and a focal point the
/// middle of the page. Throws InvalidArgument for a camera that cannot be, NothingToDraw for sizes
/// that single precision cannot hold or for a model wholly behind the eye.
AimedCamera AimCamera(const View& view, const CameraSubjects& subjects, const Page& page);

} // namespace kxcontour
