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

class DangleRemover {
public:
    DangleRemover(LineGraph& graph, double length)
        : graph_(graph), length_(length), degrees_(DegreesOf(graph)),
          edgeXor_(graph.vertices.size()), isDangle_(graph.edges.size()) {
        for (std::uint32_t i = 0; i < graph.edges.size(); ++i) {
            edgeXor_[graph.edges[i].from] ^= i;
            edgeXor_[graph.edges[i].to] ^= i;
        }
    }

    void remove() {
        for (std::uint32_t vertex = 0; vertex < graph_.vertices.size(); ++vertex) {
            if (degrees_[vertex] == 1) {
                markFrom(vertex);
            }
        }
        std::size_t kept = 0;
        for (std::size_t i = 0; i < graph_.edges.size(); ++i) {
            if (!isDangle_[i]) {
                graph_.edges[kept++] = graph_.edges[i];
            }
        }
        graph_.edges.resize(kept);
    }

private:
    /// Follows the chain from a free end to a vertex of another degree than 2.
    void markFrom(std::uint32_t vertex) {
        std::uint32_t edge = edgeXor_[vertex];
        double length = 0.0;
        chain_.clear();
        do {
            const auto& [from, to] = graph_.edges[edge];
            chain_.push_back(edge);
            length += plane::Distance(graph_.vertices[from], graph_.vertices[to]);
            vertex = from ^ to ^ vertex;
            edge ^= edgeXor_[vertex];
        } while (degrees_[vertex] == 2 && length < length_);
        if (degrees_[vertex] > 2 && length < length_) {
            for (const std::uint32_t dangling : chain_) {
                isDangle_[dangling] = true;
            }
        }
    }

    LineGraph& graph_;
    double length_;
    std::vector<std::uint32_t> degrees_;
    std::vector<std::uint32_t> edgeXor_; ///< By vertex.
    std::vector<bool> isDangle_;         ///< By edge.
    std::vector<std::uint32_t> chain_;   ///< Edges from the current free end.
};

/// False for nearly all drawings, so that this is worth a test of its own.
bool HasEdgeUnder(const LineGraph& graph, double length) {
    return std::any_of(graph.edges.begin(), graph.edges.end(), [&](const GraphEdge& edge) {
        return plane::SquaredLength(graph.vertices[edge.to] - graph.vertices[edge.from]) <
               length * length;
    });
}

/// An end of an edge at a vertex of degree 1.
struct FreeEnd {
    std::uint32_t edge = 0;
    std::uint32_t GraphEdge::*vertex = &GraphEdge::from;
};

std::vector<FreeEnd> FreeEndsOf(const LineGraph& graph) {
    const std::vector<std::uint32_t> degrees = DegreesOf(graph);
    std::vector<FreeEnd> ends;
    for (std::uint32_t i = 0; i < graph.edges.size(); ++i) {
        for (const auto vertex : {&GraphEdge::from, &GraphEdge::to}) {
            if (degrees[graph.edges[i].*vertex] == 1) {
                ends.push_back({i, vertex});
            }
        }
    }
    return ends;
}

} // namespace

void RemoveDangles(LineGraph& graph, double length) {
    if (HasEdgeUnder(graph, length)) {
        DangleRemover(graph, length).remove();
    }
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
        edge = {mergedInto[edge.from], mergedInto[edge.to]};
    }
    std::erase_if(graph.edges, [](const GraphEdge& edge) { return edge.from == edge.to; });
}

void CloseGaps(LineGraph& graph, double gap) {
    if (gap <= 0.0) {
        return;
    }
    constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);
    const std::vector<FreeEnd> ends = FreeEndsOf(graph);
    const auto vertexAt = [&](const FreeEnd& end) -> std::uint32_t& {
        return graph.edges[end.edge].*end.vertex;
    };
    PointClusters clusters(gap, ends.size());
    std::vector<std::uint32_t> unmerged; // By cluster: its unmerged end, if any.
    for (std::uint32_t i = 0; i < ends.size(); ++i) {
        const std::uint32_t cluster = clusters.add(graph.vertices[vertexAt(ends[i])]);
        if (cluster == unmerged.size()) {
            unmerged.push_back(i);
            continue;
        }
        const std::uint32_t other = unmerged[cluster];
        if (other != kNone && ends[other].edge != ends[i].edge) {
            vertexAt(ends[i]) = vertexAt(ends[other]);
            unmerged[cluster] = kNone;
        }
    }
}

} // namespace kxcontour
