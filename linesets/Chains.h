// Polyline chaining: segments ordered so that each begins where the previous one ends.
#pragma once

#include <cstddef>
#include <vector>

namespace ctr {

/// A segment in a chain: its vertices in the direction of the chain, and its index.
struct ChainLink {
    unsigned int from;
    unsigned int to;
    unsigned int segment;
};

/// Returns every segment of a line list once, chain by chain; chainEnds receives the number of
/// links up to the end of each chain.
///
/// Chains pass through vertices of degree two. They end at free ends, at junctions, and where a
/// closed loop has returned to its start. All indices must be below vertexCount. Linear time.
std::vector<ChainLink> BuildChains(std::size_t vertexCount,
                                   const unsigned int* indices,
                                   std::size_t segmentCount,
                                   std::vector<std::size_t>& chainEnds);

} // namespace ctr
