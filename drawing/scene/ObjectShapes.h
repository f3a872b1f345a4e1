// One surface per object.
#pragma once

#include "drawing/scene/Model.h"

namespace kxcontour {

/// Joins the shapes that are placed together as one object, so that a border between two materials
/// is none: those with normals become one shape and those without another one.
///
/// Objects made of the same shapes share the result, and shapes that are alone stay as they are; so
/// there are never more triangles than are placed. Placements keep the order of their objects, and
/// objects their names. Shapes whose vertices together could not be numbered stay apart. The
/// model must be clean; shapes that are placed no more are taken out of it.
void JoinShapesOfObjects(Model& model);

} // namespace kxcontour
