// One rim, one weight.
#pragma once

#include "drawing/paper/Paper.h"

namespace kxcontour {

/// Draws short stretches as the heavier lines that they lie between.
///
/// Along the rim of a part some facets face the viewer and some do not, where it is seen edge-on or
/// its surface is cracked. Its edges are creases and silhouettes in turn then, and a rim drawn in
/// two weights looks broken. So one to five lighter lines between two heavier ones get the family
/// of these (of the lighter of both, should they differ), where
///
/// - all of them follow each other without a corner (30 degrees), each going straight on best;
/// - the rim bends from one heavier line to the other by more than half a degree and less than 60:
///   a straight edge may well change where something adjoins it, and half a rim is half a rim;
/// - none of them is more than twice as long as the longer of these two.
///
/// Heavier is what has the wider stroke: where visible families are equally wide, nothing changes.
/// Hidden lines stay as they are. Lines keep their object; those that change go behind the lines of
/// their new group, which may be a new one behind the others. Lines follow each other where
/// their ends are equal, as those of edges that share a vertex are. Expected O(n) for n lines.
void EvenOutWeights(PageLines& lines, const StyleSheet& styles);

} // namespace kxcontour
