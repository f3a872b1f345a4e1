// Whether two triangles lie in one plane, but for the rounding to the grid.
#pragma once

#include "visibility/exact/ContactTolerance.h"

namespace ctr {

/// A triangle by its three corners, counter-clockwise on screen, and its plane.
struct FaceOnGrid {
    const BakedVertex* corners;
    GridVector normal;
};

/// Whether the triangles are in contact wherever one lies over the other on screen: nowhere is one
/// farther in front of the other than the tolerance allows for the steeper of the two planes.
///
/// Only where both are is looked at: beyond it, the plane of a narrow triangle says nothing. True
/// also for triangles that are nowhere over each other. Exact.
bool AreInContact(const FaceOnGrid& a, const FaceOnGrid& b, const ContactTolerance& tolerance);

} // namespace ctr
