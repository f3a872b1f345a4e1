// Vertex normals: dropped where they say nothing about smoothness, else brought into the form that
// the crease test needs.
#pragma once

#include "drawing/scene/Model.h"

namespace kxcontour {

/// A corner's normal may be this many degrees off its triangle's own: two decimals, as few as files
/// write, turn a unit normal by 0.4 degrees.
constexpr double kFlatNormalTolerance = 0.5;

/// Drops the normals of objects whose normals are those of their triangles and nothing more.
///
/// Such normals tell only that the surface is made of triangles, not where it is meant to be
/// smooth. They are dropped where, on every triangle of every shape of an object, the three
/// corners have one normal, and that is the triangle's own or its opposite within
/// kFlatNormalTolerance. Fine smooth surfaces stay far from that: their corners differ. Normals of
/// no direction, and triangles so thin that rounding turns their plane, do not count. One smooth
/// triangle keeps all normals of its object. A shape that is placed in several objects keeps its
/// normals if one of them does. Vertices in one place are shared where normals go. The model must
/// be clean. Expected linear time.
void DropFlatNormals(Model& model);

/// Scales the normals to unit length, in place.
///
/// A normal that is zero or not finite becomes the mean of the unit normals of its triangles, which
/// keeps it from looking like a crease on all sides. Returns false, having changed nothing that
/// matters, when no vertex of a triangle has a usable normal: the mesh is then one without normals.
/// All indices must be in range. Linear time.
bool RepairNormals(kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles);

} // namespace kxcontour
