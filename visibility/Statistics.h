// Counters of how often each shortcut pays. They are compiled in with the CMake option CTR_STATS;
// otherwise Count() is empty and costs nothing.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ctr {

/// In the order of StatisticsEntry; the names are in Statistics.cpp.
enum class Counter : std::uint8_t {
    segments,
    segmentsOccludedByDepthBuffer,
    edges,
    edgesOccludedByDepthBuffer,
    edgesInContact,
    occludedByRecent,
    occludedByFronts,
    occludedByUnion,
    bvhSearches,
    bvhNodes,
    bvhSubtreesCovered,
    trianglesTested,
    trianglesBesideBox,
    occludedIntervals,
    packetNodes,
    packetNodesRejected,
    candidatePairs,
    pairsRejectedByBoxes,
    pairsRejectedByMarks,
    pairsRejectedByPacketPlanes,
    pairsRejectedByPlane,
    pairsTested,
    intersections,
    densePairSearches,
    denseRegionsSearched,
    denseSegments,
    count
};

#ifdef CTR_STATS
/// Adds to a counter. Safe to call from any thread.
void Count(Counter counter, std::uint64_t events = 1);
#else
inline void Count(Counter /*counter*/, std::uint64_t /*events*/ = 1) {}
#endif

} // namespace ctr
