// Where the shapes of a model end up in the world.
#pragma once

#include <Wm4Foundation.h>
#include <kxDrawing/Scene.h>

#include "drawing/scene/Box.h"
#include "drawing/scene/Model.h"

namespace kxcontour {

using kxdrawing::UpAxis;

/// Takes the axis that points up to y and keeps the frame right-handed. With x up, z points to the
/// front; with y up, z; with z up, -y. For row vectors.
Wm4::Matrix4<double> StandUp(UpAxis up);

/// The box of the corners of a shape's triangles, in its own coordinates. The shape must be clean.
Box BoxOf(const Shape& shape);

/// A box around all vertices of a model where they are placed, used or not; those that are not
/// finite do not count, and shapes are taken as their boxes. The model need not be clean.
Box VertexBox(const Model& model);

/// Whether what is in the box lies so far from the origin for its size that single precision leaves
/// it few digits.
bool LiesFarAway(const Box& box);

/// A point near the middle of a box that lies far away, a multiple of about half the box's size:
/// with so few digits, differences from it are exact as a rule. Else the origin.
Wm4::Vector3<double> RoundOrigin(const Box& box);

/// The point of the world that meshes should be moved to, so that their coordinates are small.
///
/// The world's origin itself, unless the model lies far from it for its size, as buildings in map
/// coordinates do: single precision would then leave it few digits to be drawn with. A clean model;
/// placements that are not finite do not count.
Wm4::Vector3<double> ChooseOrigin(const Model& model);

} // namespace kxcontour
