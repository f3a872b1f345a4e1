// Turns between the axes of files and those of the world.
#pragma once

#include <Wm4Foundation.h>
#include <kxDrawing/Scene.h>

namespace kxcontour {

using kxdrawing::UpAxis;

/// Takes the axis that points up to y and keeps the frame right-handed. With x up, z points to the
/// front; with y up, z; with z up, -y.
/// For row vectors.
Wm4::Matrix4<double> StandUp(UpAxis up);

} // namespace kxcontour
