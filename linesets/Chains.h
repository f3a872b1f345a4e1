// Loose segments chained so that each begins where the one before it ends.
#pragma once

#include <cstddef>
#include <vector>

namespace ctr {

/// A segment as it is written: its two vertices in the direction of the chain, and its number.
struct ChainLink {
    unsigned int from;
    unsigned int to;
    unsigned int segment;
};

/// Writes every segment of a line list once, chain by chain; chainEnds gets the number of links up
/// to the end of each chain.
///
/// Chains run through vertices that exactly two segment ends share; they end at loose ends, at
/// junctions, and where a closed loop has come back to its start. All indices are below
/// vertexCount. Linear time.
std::vector<ChainLink> BuildChains(std::size_t vertexCount,
                                   const unsigned int* indices,
                                   std::size_t segmentCount,
                                   std::vector<std::size_t>& chainEnds);

} // namespace ctr
