// Links paths on paper back to the lines of the scene.
#pragma once

#include <kxDrawing/Drawing.h>

namespace kxcontour {

/// Fills in Path::lines and Path::object of all paths of a drawing whose lines are listed.
///
/// Joining moves and merges ends by fractions of the tolerance, and overlaps leave one line of
/// several: an edge of a path belongs to the line that passes its midpoint nearest, if possible of
/// the kind and object that the path has and with an interval there that is shown as the path is
/// (visible or hidden). tolerance: within which lines on paper count as one, millimetres. Expected
/// linear time, by a spatial hash over the page.
void LinkPathsToLines(kxdrawing::Drawing& drawing, double tolerance);

} // namespace kxcontour
