// Welding of the vertices of a shape.
#pragma once

#include "drawing/scene/Model.h"

namespace kxcontour {

/// Replaces vertices at exactly equal positions by one: some importers give each triangle its own.
///
/// Normals are dropped. Vertices come in the order in which their positions occur first; indices
/// out of range are unchanged. Expected linear time, O(n log n) for any positions.
void ShareVertices(Shape& shape);

} // namespace kxcontour
