// Recognition of circular and elliptic arcs in polylines.
#pragma once

#include "drawing/paper/Paper.h"

namespace kxcontour {

/// Finds the runs of a path that are circular or elliptic arcs, and fills path.arcs; earlier arcs
/// are discarded.
///
/// An arc replaces a run only where it stays within tolerance of the polyline everywhere, in both
/// directions, and starts and ends at the run's own end points (within 1e-4 mm). Circles are
/// preferred to ellipses that are not much longer; the longest run from the start of the path comes
/// first. A run has at least four lines (five for an ellipse), turns to one side (up to a fifth of
/// the tolerance counts as rounding), has no corner of more than 30 degrees, turns by at least 10
/// degrees and has a sagitta of at least two tolerances; no radius exceeds 10 m. A closed path that
/// is one ellipse becomes one arc of a full turn, provided that each line spans at most 30 degrees
/// of it, measured on the circle that the ellipse is the image of.
///
/// tolerance in millimetres, over 0. Coordinates are finite. Expected O(n log n) for n points.
void RecogniseArcs(Path& path, double tolerance);

} // namespace kxcontour
