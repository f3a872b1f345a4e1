// Line weights along the rims of parts.
#pragma once

#include "drawing/paper/Paper.h"

namespace kxcontour {

/// Draws short runs of lighter lines like the heavier lines that they connect.
///
/// Along the rim of a part some facets face the viewer and some do not, where it is seen edge-on or
/// its surface is cracked. Its edges are then creases and silhouettes in turn, and a rim drawn in
/// two weights looks broken. So one to five lighter lines between two heavier ones take the kind
/// of these (of the lighter of both, should they differ), where
///
/// - all of them follow each other without a corner (30 degrees), each the straightest continuation
///   of the one before;
/// - the rim bends from one heavier line to the other by more than half a degree and less than 60:
///   a straight edge may well change where another part begins, and a larger bend is too much of
///   the rim;
/// - none of them is more than twice as long as the longer of these two.
///
/// The heavier line is the one with the wider stroke: where visible kinds are equally wide,
/// nothing changes. Hidden lines are not changed. Lines keep their object; those that change are
/// appended to their new group, which may be a new one behind the others. Lines are connected where
/// their ends are equal, as those of edges that share a vertex are. Expected O(n) for n lines.
void EvenOutWeights(PageLines& lines, const StyleSheet& styles);

} // namespace kxcontour
