// Gaps that nobody sees.
#pragma once

#include "drawing/paper/Figure.h"

namespace kxcontour {

/// Makes one point of two loose ends (points of one link) that are not farther apart than the gap:
/// that of the earlier one. Each joins the first that it finds alone. Of two lines that lie on each
/// other one is left over each stretch; where the drawing changes from one to the other there is
/// such a gap. The two ends of one link stay apart. Millimetres; 0 joins none. Expected O(n).
void JoinLooseEnds(Figure& figure, double gap);

} // namespace kxcontour
