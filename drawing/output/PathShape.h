// What writers ask of a path.
#pragma once

#include "drawing/paper/Paper.h"

namespace kxcontour {

/// The point of an arc at a parameter in degrees (arc.start is the first).
Point PointAt(const Arc& arc, double parameter);

} // namespace kxcontour
