// One vertex for each place of a shape.
#pragma once

#include "drawing/scene/Model.h"

namespace kxcontour {

/// Lets triangles share the vertices that are in one place: some importers give each its own.
///
/// The normals go: without them, vertices are nothing but places. Vertices come in the order in
/// which their places do; an index of no vertex stays as it is. Expected linear time.
void ShareVertices(Shape& shape);

} // namespace kxcontour
