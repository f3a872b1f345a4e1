// Lines that meet become long paths.
#pragma once

#include "paper/Paper.h"

#include <vector>

namespace kxcontour {

/// Joins lines end to end into the fewest paths that draw each of them once.
///
/// An end that is not farther than tolerance from one before it lies there (PointClusters.h). A
/// line whose ends become one point is nothing and is dropped. So is a spur: lines that lead from
/// where three or more meet to an end of their own in less than spurLength. What is left of an edge
/// behind the face it starts on is such a spur, and would open a closed path or bend its start.
///
/// Where more than two lines meet, a path goes straight on as far as that is possible without
/// making more paths. A connected figure with 2k ends of odd degree becomes max(1, k) paths
/// (Euler). Paths come in the order of their first lines and go along these from a to b. A closed
/// one starts at a corner if it has one (Trails.h). Points on a straight path stay. O(n log n).
std::vector<Path>
JoinLines(const std::vector<PaperLine>& lines, double tolerance, double spurLength = 0.0);

/// The length of a polyline.
double LengthOf(const Path& path);

/// The longer side of the box around a polyline.
double ExtentOf(const Path& path);

} // namespace kxcontour
