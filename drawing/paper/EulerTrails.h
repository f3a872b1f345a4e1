// Decomposition of a graph of lines into the fewest trails.
#pragma once

#include "drawing/paper/LineGraph.h"

#include <cstdint>
#include <vector>

namespace kxcontour {

/// A walk that uses each edge once. A step is the edge end where the walk enters an edge: 2 i at
/// the first vertex of edge i, 2 i + 1 at the second.
struct Trail {
    std::vector<std::uint32_t> steps;
    bool closed = false;
};

/// Covers every edge once, with the least number of trails: max(1, k) for each connected component
/// with 2k vertices of odd degree (Euler 1736). Among crossing lines, trails go straight on as far
/// as that number permits.
///
/// Trails are sorted by their first edge in the order of the graph, which they run along from its
/// first to its second vertex. A closed trail starts at the first corner from there on (30 degrees
/// or more), otherwise at the first vertex of degree 3 or more, otherwise with its first edge.
/// O(n log n) for n edges.
std::vector<Trail> FindEulerTrails(const LineGraph& graph);

} // namespace kxcontour
