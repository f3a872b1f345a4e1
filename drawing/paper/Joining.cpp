// Polyline chaining: lines become a graph, which is cleaned and decomposed into Euler trails.
#include "drawing/paper/Joining.h"

#include "drawing/paper/EulerTrails.h"
#include "drawing/paper/GraphCleaning.h"
#include "drawing/paper/LineGraph.h"

namespace kxcontour {
namespace {

Path PathAlong(const Trail& trail, const LineGraph& graph) {
    Path path;
    path.points.reserve(trail.steps.size() + 1);
    for (const std::uint32_t step : trail.steps) {
        path.points.push_back(graph.vertices[graph.vertexAt(step)]);
    }
    path.points.push_back(graph.vertices[graph.vertexAt(trail.steps.back() ^ 1U)]);
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

} // namespace kxcontour
