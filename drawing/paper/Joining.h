// Chaining of lines into polylines.
#pragma once

#include "drawing/paper/Paper.h"

#include <vector>

namespace kxcontour {

/// Distances in millimetres.
struct JoiningRules {
    double joint = 0.001;   ///< Ends within this distance are one point (PointClusters.h).
    double dangle = 0.0;    ///< Dangles shorter than this are removed (GraphCleaning.h).
    double shortEdge = 0.0; ///< Lines between crossings that are shorter are contracted.
    double gap = 0.0;       ///< Free ends within this distance are merged.
};

/// Joins lines end to end into the fewest paths that draw each of them once.
///
/// A line whose ends become one point is dropped. Where more than two lines meet, a path goes
/// straight on as far as that is possible without making more paths. A connected component with 2k
/// vertices of odd degree becomes max(1, k) paths. Paths are sorted by their first lines, which
/// they run along from a to b. A closed path starts at a corner if it has one (EulerTrails.h).
/// Points on a straight path stay. O(n log n) for n lines.
std::vector<Path> JoinLines(const std::vector<PageLine>& lines, const JoiningRules& rules);

} // namespace kxcontour
