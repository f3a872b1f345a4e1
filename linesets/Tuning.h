// All tuning numbers of linesets/: sizes that choose how a result is computed, and in the case of
// kMostTrials how many ways to continue a line are tried. Tolerances are in fitting/Tolerances.h.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ctr {

struct LineTuning {
    // Joining of runs (RunJoining.cpp, DirectionTree.cpp).

    /// Up to here, the records at a vertex are ordered by sorting; at a vertex where more records
    /// end, such as the hub of a wheel, they are found by direction.
    static constexpr std::size_t kFewEnds = 64;
    /// The limit of candidates tried for one end of a chain at such a vertex. If n records end
    /// there, all joins take O(n log n); the tests use wheels and spheres of thousands of spokes.
    static constexpr int kMostTrials = 256;
    static constexpr std::uint32_t kDirectionsPerLeaf = 8;

    // Memory access.

    /// Segments ahead of the current one whose vertices are prefetched, as they are in no order
    /// (CommonSegments.cpp).
    static constexpr std::size_t kPrefetchedSegments = 16;

    // Progress (Progress.h).

    /// Items between two polls for cancellation: about a millisecond.
    static constexpr std::size_t kItemsPerPoll = 16384;
    /// Items of the simplest loops that are counted at once.
    static constexpr std::size_t kItemsPerCount = 1024;
    /// Steps of a run as reported to the host; fewer than kLeastReported are not worth a call.
    static constexpr double kSteps = 1000.0;
    static constexpr double kLeastReported = 0.1;
};

} // namespace ctr
