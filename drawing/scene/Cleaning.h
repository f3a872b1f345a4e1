// Takes out of a model the triangles that no line can be drawn from.
#pragma once

#include <ctr/Surface.h>

#include "drawing/scene/Model.h"

#include <string>

namespace kxcontour {

using ctr::DroppedTriangles;

/// Adds those of another model.
void Add(DroppedTriangles& sum, const DroppedTriangles& other);

/// Drops bad triangles from every shape, as ctr::CleanTriangles() does.
DroppedTriangles CleanShapes(Model& model);

/// One line for the user: "left out 3 triangles: 2 degenerate, 1 not finite".
std::string DescribeDropped(const DroppedTriangles& dropped);

} // namespace kxcontour
