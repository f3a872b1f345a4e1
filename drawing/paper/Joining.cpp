// Polyline chaining: lines become a graph, which is cleaned and decomposed into Euler trails.
#include "drawing/paper/Joining.h"

#include "drawing/paper/EulerTrails.h"
#include "drawing/paper/GraphCleaning.h"
#include "drawing/paper/LineGraph.h"
#include "drawing/paper/Plane.h"

#include <algorithm>

namespace kxcontour {
namespace {

Path PathAlong(const Trail& trail, const LineGraph& graph) {
    Path path;
    path.points.reserve(trail.steps.size() + 1);
    const auto append = [&](std::uint32_t end) {
        const GraphEdge& edge = graph.edges[end / 2];
        path.points.push_back(graph.vertices[end % 2 == 0 ? edge.from : edge.to]);
    };
    for (const std::uint32_t step : trail.steps) {
        append(step);
    }
    append(trail.steps.back() ^ 1U);
    return path;
}

} // namespace

std::vector<Path> JoinLines(const std::vector<PageLine>& lines, const JoiningRules& rules) {
    LineGraph graph = MakeLineGraph(lines, rules.joint);
    RemoveDangles(graph, rules.dangle);
    ContractShortEdges(graph, rules.shortEdge);
    CloseGaps(graph, rules.gap);
    std::vector<Path> paths;
    for (const Trail& trail : FindEulerTrails(graph)) {
        paths.push_back(PathAlong(trail, graph));
    }
    return paths;
}

double LengthOf(const Path& path) {
    double length = 0.0;
    for (std::size_t i = 1; i < path.points.size(); ++i) {
        length += plane::Distance(path.points[i - 1], path.points[i]);
    }
    return length;
}

double ExtentOf(const Path& path) {
    Point low = path.points.front();
    Point high = low;
    for (const Point& point : path.points) {
        low = {std::min(low.x, point.x), std::min(low.y, point.y)};
        high = {std::max(high.x, point.x), std::max(high.y, point.y)};
    }
    return std::max(high.x - low.x, high.y - low.y);
}

} // namespace kxcontour
