// Whether two triangles are coplanar but for the rounding to the grid. Exact, O(1).
#pragma once

#include "visibility/exact/ContactTolerance.h"

namespace ctr {

/// A triangle with its three corners, counter-clockwise on screen, and its plane normal.
struct FaceOnGrid {
    const BakedVertex* corners;
    GridVector normal;
};

/// Whether two triangles are in contact wherever they overlap on screen: nowhere is one farther in
/// front of the other than the tolerance allows for the steeper of the two planes.
///
/// Only the overlap is tested: beyond it, the plane of a narrow triangle is not meaningful. True
/// for triangles that do not overlap on screen.
bool AreInContact(const FaceOnGrid& a, const FaceOnGrid& b, const ContactTolerance& tolerance);

} // namespace ctr
