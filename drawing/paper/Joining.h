// Lines that meet become long paths.
#pragma once

#include "drawing/paper/Paper.h"

#include <vector>

namespace kxcontour {

/// What counts as joined, and what as too short to be looked at. Millimetres.
struct JoiningRules {
    double joint = 0.001; ///< Ends this near are one point (PointClusters.h).
    double spur = 0.0;    ///< Ends that lead off from other lines in less are left out (Spurs.h).
    double bridge = 0.0;  ///< Lines between others that are shorter become a point (Spurs.h).
    double gap = 0.0;     ///< Loose ends this near are one point (LooseEnds.h).
};

/// Joins lines end to end into the fewest paths that draw each of them once.
///
/// A line whose ends become one point is nothing and is dropped. Where more than two lines meet, a
/// path goes straight on as far as that is possible without making more paths. A connected figure
/// with 2k ends of odd degree becomes max(1, k) paths (Euler). Paths come in the order of their
/// first lines and go along these from a to b. A closed one starts at a corner if it has one
/// (Trails.h). Points on a straight path stay. O(n log n).
std::vector<Path> JoinLines(const std::vector<PageLine>& lines, const JoiningRules& rules);

/// The length of a polyline.
double LengthOf(const Path& path);

/// The longer side of the box around a polyline.
double ExtentOf(const Path& path);

} // namespace kxcontour
