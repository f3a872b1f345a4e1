// Open edges that lie beside each other: the two rims of a crack.
#pragma once

#include "features/OpenEdges.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// Two open edges of which each is the other's nearest.
struct EdgePair {
    std::uint32_t first; ///< Indices into the edges; first < second.
    std::uint32_t second;
    bool sameWay; ///< The start of one is at the start of the other: their triangles disagree about
                  ///< which side is the front.
    double gap;   ///< The larger distance between the ends that belong together.
};

/// How far apart ends may be that belong together.
struct PairRule {
    double distance;      ///< In the shape's coordinates.
    double shareOfLength; ///< Of the shorter edge; under 1/2, so that an edge cannot shrink to a
                          ///< point.
    double shareOfHeight; ///< Of the lower triangle: what is as thin as the gap is no neighbour.
};

/// Pairs every open edge with the nearest other one whose both ends are as near as the rule allows,
/// where the two are each other's nearest. Edges of one triangle, and edges that fold back onto
/// each other (FoldsBack()), are no pairs. Pairs come in the order of their gaps, then of their
/// edges. Expected linear time; where scores of edges lie on each other, only the first of them
/// are considered.
std::vector<EdgePair> FindEdgePairs(const std::vector<OpenEdge>& edges, const PairRule& rule);

} // namespace ctr
