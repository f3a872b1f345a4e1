// Vertices are clusters of line ends. Ends are sorted by vertex by counting.
#include "drawing/paper/LineGraph.h"

#include "drawing/paper/PointClusters.h"

#include <numeric>
#include <utility>

namespace kxcontour {

LineGraph MakeLineGraph(const std::vector<PageLine>& lines, double tolerance) {
    LineGraph graph;
    PointClusters clusters(tolerance, 2 * lines.size());
    graph.edges.reserve(lines.size());
    for (const PageLine& line : lines) {
        const std::uint32_t from = clusters.add(line.a);
        const std::uint32_t to = clusters.add(line.b);
        if (from != to) {
            graph.edges.push_back({from, to});
        }
    }
    graph.vertices = clusters.representatives();
    return graph;
}

std::vector<std::uint32_t> DegreesOf(const LineGraph& graph) {
    std::vector<std::uint32_t> degrees(graph.vertices.size());
    for (const GraphEdge& edge : graph.edges) {
        ++degrees[edge[0]];
        ++degrees[edge[1]];
    }
    return degrees;
}

EndsByVertex::EndsByVertex(std::vector<std::uint32_t> vertexOfEnd, std::size_t vertexCount)
    : vertexOfEnd_(std::move(vertexOfEnd)), firstEnd_(vertexCount + 2), ends_(vertexOfEnd_.size()) {
    for (const std::uint32_t vertex : vertexOfEnd_) {
        ++firstEnd_[vertex + 2];
    }
    std::partial_sum(firstEnd_.begin(), firstEnd_.end(), firstEnd_.begin());
    for (std::uint32_t end = 0; end < ends_.size(); ++end) {
        ends_[firstEnd_[vertexOfEnd_[end] + 1]++] = end;
    }
    firstEnd_.pop_back();
}

} // namespace kxcontour
