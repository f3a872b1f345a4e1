// Circles and ellipses in polylines.
#pragma once

#include "drawing/paper/Paper.h"

namespace kxcontour {

/// Finds the runs of a path that are circular or elliptic arcs, and fills path.arcs.
///
/// An arc takes the place of a run only where it stays within tolerance of the polyline everywhere,
/// in both directions, and starts and ends at the run's own end points (within 1e-4 mm). Circles
/// are preferred to ellipses that reach little farther; longest runs first along the path. A run
/// has four lines or more (five for an ellipse), bends to one side (a fifth of the tolerance is
/// taken for rounding), passes no corner of more than 30 degrees, turns by 10 degrees or more and
/// leaves its chord by two tolerances or more; no radius is over 10 m. A closed path that is one
/// ellipse is one arc with a full turn, provided that each line takes up 30 degrees of it at most,
/// as seen on the circle that the ellipse is the image of.
///
/// tolerance in millimetres, over 0. Coordinates are finite. Arcs from before are forgotten.
/// Expected O(n log n) for n points.
void RecogniseArcs(Path& path, double tolerance);

} // namespace kxcontour
