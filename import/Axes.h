// Turns between the axes of files and those of the world.
#pragma once

#include <Wm4Foundation.h>

#include "import/ModelRequest.h"

namespace kxcontour {

/// Takes the axis that points up to y and keeps the frame right-handed; see UpAxis for the front.
/// For row vectors.
Wm4::Matrix4<double> StandUp(UpAxis up);

} // namespace kxcontour
