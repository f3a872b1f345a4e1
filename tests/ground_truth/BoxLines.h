// What a drawing of boxes has to show, by definition.
//
// The lines of a scene are the edges of its boxes and the lines where faces of two boxes cross:
// faces in planes of different axes, along a segment that belongs to both. A point of such a line
// is visible unless the open ray from it to the eye runs through the inside of a box, its surface
// excluded. So
//   - what lies strictly inside another box is hidden: every ray from there starts inside;
//   - an edge in the plane of another box's face is not hidden by that face, and both outlines of
//     overlapping parts that are flush are shown in full;
//   - a ray that only touches, in a corner, along an edge or along a face seen edge-on, hides
//     nothing, not even one that runs between two boxes in contact. What is seen so lies on paper
//     where the edge lies at which the ray leaves the face.
// It makes no difference whether boxes belong to one object or to several.
//
// Along an axis-aligned line the rays that meet the inside of one box start from one open
// interval, which is worked out in closed form. Corners are whole numbers and directions and eyes
// have a few digits, so numbers that have to be compared either are equal or differ by far more
// than the 1e-9 at which they count as equal; with the sines of arbitrary angles, what is decided
// wrongly at that margin is shorter than 1e-6 of a unit. Nothing is left out as undecided.
#pragma once

#include <Wm4Foundation.h>

#include "BoxScene.h"

#include <string>
#include <vector>

namespace ground_truth {

using Vector = Wm4::Vector3<double>;

/// The position from which a scene is viewed.
struct Eye {
    bool parallel = true;
    Vector place; ///< The direction to the eye in a parallel view, otherwise the eye.
};

/// A line along an axis in space.
struct SpaceLine {
    Vector from;
    Vector to;
    bool isEdge = true; ///< Otherwise faces cross there.
};

/// "edge (0 0 0) - (1 0 0)"
std::string Describe(const SpaceLine& line);

/// The visible stretches of all lines; where lines of several boxes lie on each other, each.
std::vector<SpaceLine> VisibleLines(const std::vector<Cuboid>& boxes, const Eye& eye);

} // namespace ground_truth
