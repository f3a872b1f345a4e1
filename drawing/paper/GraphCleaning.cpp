// Dangles are followed from their free end. Of each vertex only the exclusive or of its edge
// numbers is stored: at a vertex of degree 2, that and one edge give the other.
#include "drawing/paper/GraphCleaning.h"

#include "drawing/paper/Plane.h"
#include "drawing/paper/PointClusters.h"

#include <algorithm>
#include <numeric>

namespace kxcontour {
namespace {

using plane::operator-;

/// The edges from a free end to a vertex of degree 3 or more; none where they are no shorter than
/// length or end elsewhere.
std::vector<std::uint32_t> DangleFrom(std::uint32_t vertex,
                                      const LineGraph& graph,
                                      const std::vector<std::uint32_t>& degrees,
                                      const std::vector<std::uint32_t>& edgeXor,
                                      double length) {
    std::vector<std::uint32_t> chain;
    std::uint32_t edge = edgeXor[vertex];
    double measured = 0.0;
    do {
        const auto& [from, to] = graph.edges[edge];
        chain.push_back(edge);
        measured += plane::Distance(graph.vertices[from], graph.vertices[to]);
        vertex = from ^ to ^ vertex;
        edge ^= edgeXor[vertex];
    } while (degrees[vertex] == 2 && measured < length);
    return degrees[vertex] > 2 && measured < length ? chain : std::vector<std::uint32_t>();
}

/// False for nearly all drawings, so that this is worth a test of its own.
bool HasEdgeUnder(const LineGraph& graph, double length) {
    return std::any_of(graph.edges.begin(), graph.edges.end(), [&](const GraphEdge& edge) {
        return plane::SquaredLength(graph.vertices[edge[1]] - graph.vertices[edge[0]]) <
               length * length;
    });
}

/// Ends of edges at vertices of degree 1.
std::vector<std::uint32_t> FreeEndsOf(const LineGraph& graph) {
    const std::vector<std::uint32_t> degrees = DegreesOf(graph);
    std::vector<std::uint32_t> ends;
    for (std::uint32_t end = 0; end < 2 * graph.edges.size(); ++end) {
        if (degrees[graph.vertexAt(end)] == 1) {
            ends.push_back(end);
        }
    }
    return ends;
}

} // namespace

void RemoveDangles(LineGraph& graph, double length) {
    if (!HasEdgeUnder(graph, length)) {
        return;
    }
    const std::vector<std::uint32_t> degrees = DegreesOf(graph);
    std::vector<std::uint32_t> edgeXor(graph.vertices.size());
    for (std::uint32_t end = 0; end < 2 * graph.edges.size(); ++end) {
        edgeXor[graph.vertexAt(end)] ^= end / 2;
    }
    std::vector<bool> isDangle(graph.edges.size());
    for (std::uint32_t vertex = 0; vertex < graph.vertices.size(); ++vertex) {
        if (degrees[vertex] == 1) {
            for (const std::uint32_t edge : DangleFrom(vertex, graph, degrees, edgeXor, length)) {
                isDangle[edge] = true;
            }
        }
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < graph.edges.size(); ++i) {
        if (!isDangle[i]) {
            graph.edges[kept++] = graph.edges[i];
        }
    }
    graph.edges.resize(kept);
}

void ContractShortEdges(LineGraph& graph, double length) {
    if (!HasEdgeUnder(graph, length)) {
        return;
    }
    const std::vector<std::uint32_t> degrees = DegreesOf(graph);
    std::vector<std::uint32_t> mergedInto(graph.vertices.size());
    std::iota(mergedInto.begin(), mergedInto.end(), 0U);
    std::vector<bool> isUsed(graph.vertices.size());
    for (const auto& [from, to] : graph.edges) {
        if (degrees[from] > 2 && degrees[to] > 2 && !isUsed[from] && !isUsed[to] &&
            plane::Distance(graph.vertices[from], graph.vertices[to]) < length) {
            mergedInto[to] = from;
            isUsed[from] = true;
            isUsed[to] = true;
        }
    }
    for (GraphEdge& edge : graph.edges) {
        edge = {mergedInto[edge[0]], mergedInto[edge[1]]};
    }
    std::erase_if(graph.edges, [](const GraphEdge& edge) { return edge[0] == edge[1]; });
}

void CloseGaps(LineGraph& graph, double gap) {
    if (gap <= 0.0) {
        return;
    }
    constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);
    const std::vector<std::uint32_t> ends = FreeEndsOf(graph);
    PointClusters clusters(gap, ends.size());
    std::vector<std::uint32_t> unmerged; // By cluster: its unmerged end, if any.
    for (const std::uint32_t end : ends) {
        const std::uint32_t cluster = clusters.add(graph.vertices[graph.vertexAt(end)]);
        if (cluster == unmerged.size()) {
            unmerged.push_back(end);
            continue;
        }
        const std::uint32_t other = unmerged[cluster];
        if (other != kNone && other / 2 != end / 2) {
            graph.vertexAt(end) = graph.vertexAt(other);
            unmerged[cluster] = kNone;
        }
    }
}

} // namespace kxcontour
