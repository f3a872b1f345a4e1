// Crumbs that hang on other lines or lie between them.
#pragma once

#include "drawing/paper/Figure.h"

namespace kxcontour {

/// Leaves out spurs: links that lead from a point where three or more meet to a loose end in less
/// than length. What is left of an edge behind the face it starts on is such a spur, and would open
/// a closed path or bend its start. All are looked for in the figure as it is: where nothing but
/// spurs meet, nothing is left. Millimetres; 0 leaves out none. O(n).
void CutSpurs(Figure& figure, double length);

/// Makes one point of the two ends of a bridge: a link shorter than length between two points where
/// three or more meet. Lines that cross beside a bridge do not go straight on otherwise. No point
/// takes part twice, so none moves farther than length. Millimetres; 0 leaves all. O(n).
void ContractBridges(Figure& figure, double length);

} // namespace kxcontour
