// Lines as a graph: their ends are vertices, the lines edges.
#pragma once

#include "drawing/paper/Paper.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kxcontour {

/// A line between two different vertices, given by their numbers. Its ends are numbered, too: end
/// 2 i is the first of edge i, end 2 i + 1 the second.
using GraphEdge = std::array<std::uint32_t, 2>;

/// May have vertices without edges.
struct LineGraph {
    std::vector<Point> vertices;
    std::vector<GraphEdge> edges; ///< In the order of the lines.

    std::uint32_t& vertexAt(std::uint32_t end) { return edges[end / 2][end % 2]; }
    std::uint32_t vertexAt(std::uint32_t end) const { return edges[end / 2][end % 2]; }
};

/// Merges an end with an earlier one within tolerance of it (PointClusters.h). A line whose ends
/// are merged gives no edge.
LineGraph MakeLineGraph(const std::vector<PageLine>& lines, double tolerance);

/// The number of edge ends at each vertex.
std::vector<std::uint32_t> DegreesOf(const LineGraph& graph);

/// The ends of lines by the vertex that they lie at.
class EndsByVertex {
public:
    EndsByVertex(std::vector<std::uint32_t> vertexOfEnd, std::size_t vertexCount);

    std::uint32_t vertexOf(std::uint32_t end) const { return vertexOfEnd_[end]; }

    /// In increasing order.
    std::span<const std::uint32_t> at(std::uint32_t vertex) const {
        return {ends_.data() + firstEnd_[vertex], firstEnd_[vertex + 1] - firstEnd_[vertex]};
    }

private:
    std::vector<std::uint32_t> vertexOfEnd_;
    std::vector<std::uint32_t> firstEnd_; ///< By vertex: its ends in ends_; one more at the end.
    std::vector<std::uint32_t> ends_;
};

} // namespace kxcontour
