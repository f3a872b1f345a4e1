// Removal of artefacts from a graph of lines before its edges are chained: dangles, very short
// edges between crossings, and gaps.
//
// A dangle is a chain of edges from a vertex of degree 1 to one of degree 3 or more. All operations
// are O(n) for n edges (expected, for gaps). Lengths are in millimetres; 0 changes nothing.
#pragma once

#include "drawing/paper/LineGraph.h"

namespace kxcontour {

/// Removes dangles shorter than length: remainders of an edge that runs behind the face it starts
/// on, which would open a closed path or add a hook to its start. All are found before any is
/// removed, so nothing is left of a vertex where only dangles meet.
void RemoveDangles(LineGraph& graph, double length);

/// Contracts edges shorter than length between two vertices of degree 3 or more, so that lines that
/// cross beside such an edge go straight on. No vertex takes part twice, so none moves farther than
/// length.
void ContractShortEdges(LineGraph& graph, double length);

/// Merges pairs of vertices of degree 1 within the gap of each other, at the position of the
/// earlier one. Such gaps occur where duplicates were removed and the drawing changes from one of
/// two coincident lines to the other. Each vertex is merged with the first unmerged one that is
/// found; the two ends of one edge stay apart.
void CloseGaps(LineGraph& graph, double gap);

} // namespace kxcontour
