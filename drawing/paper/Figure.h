// Lines as links between points.
#pragma once

#include "drawing/paper/Paper.h"
#include "drawing/paper/Trails.h"

#include <cstdint>
#include <vector>

namespace kxcontour {

/// Some points may have no link.
struct Figure {
    std::vector<Point> points;
    std::vector<Link> links; ///< In the order of the lines.
};

/// An end that is not farther than tolerance from one before it lies there (PointClusters.h). A
/// line whose ends become one point gives no link.
Figure FigureOf(const std::vector<PageLine>& lines, double tolerance);

/// By point: how many links end there.
std::vector<std::uint32_t> DegreesOf(const Figure& figure);

} // namespace kxcontour
