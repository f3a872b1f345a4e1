// Pairs of boundary edges that lie beside each other: the two rims of a crack.
#pragma once

#include "features/BoundaryEdges.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// Two boundary edges, each of which is nearest to the other.
struct EdgePair {
    std::uint32_t first; ///< Indices into the edges; first < second.
    std::uint32_t second;
    bool sameWay; ///< The start of one is at the start of the other: their triangles are oriented
                  ///< inconsistently.
    double gap;   ///< The larger of the distances between ends that correspond.
};

/// The largest distance between ends that correspond; the smallest of the three limits counts.
struct PairRule {
    double distance;      ///< In the coordinates of the surface.
    double shareOfLength; ///< Of the shorter edge; below 1/2, so that no edge shrinks to a point.
    double shareOfHeight; ///< Of the lower triangle, since a sliver as thin as the gap is not a
                          ///< neighbour.
};

/// Pairs each boundary edge with the nearest other one within the rule if the two are mutually
/// nearest. Edges of one triangle and edges that fold back onto each other (FoldsBack()) are not
/// paired. Pairs are sorted by gap, then by edge.
///
/// Expected linear time. Of more than 64 edges in one cell of the spatial hash, only the first 64
/// are considered.
std::vector<EdgePair> FindEdgePairs(const std::vector<BoundaryEdge>& edges, const PairRule& rule);

} // namespace ctr
