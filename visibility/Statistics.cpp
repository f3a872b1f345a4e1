// Atomic counters without order: nothing depends on them.
#include "visibility/Statistics.h"

#include <ctr/detail/Statistics.h>

#ifdef CTR_STATS
#include <array>
#include <atomic>
#endif

namespace ctr {

#ifdef CTR_STATS
namespace {

constexpr auto kCounterCount = static_cast<std::size_t>(Counter::count);

constexpr std::array<const char*, kCounterCount> kCounterNames = {
    "segments of feature edges",
    "segments occluded by the coarse depth buffer",
    "intersection edges",
    "intersection edges occluded by the coarse depth buffer",
    "intersection edges in contact",
    "occluded by a recent occluder",
    "occluded by front triangles of a dense region",
    "occluded by the union of intervals",
    "BVH searches",
    "BVH nodes visited",
    "BVH subtrees skipped, their part being covered",
    "triangles tested for occlusion",
    "triangles rejected by the box of the segment",
    "occluded intervals",
    "nodes tested against packets",
    "nodes rejected by packets",
    "candidate pairs",
    "pairs rejected by boxes",
    "pairs rejected, both being occluded",
    "pairs rejected by planes of the packet",
    "pairs rejected by the plane of the other triangle",
    "pairs tested exactly",
    "intersections",
    "dense searches of pairs",
    "dense regions searched for visible pairs",
    "dense searches of segments",
};
static_assert(kCounterNames.back() != nullptr);

std::array<std::atomic<std::uint64_t>, kCounterCount> counts{};

} // namespace

void Count(Counter counter, std::uint64_t events) {
    counts[static_cast<std::size_t>(counter)].fetch_add(events, std::memory_order_relaxed);
}
#endif

namespace detail {

bool StatisticsAreBuiltIn() {
#ifdef CTR_STATS
    return true;
#else
    return false;
#endif
}

std::vector<StatisticsEntry> ReadStatistics() {
    std::vector<StatisticsEntry> entries;
#ifdef CTR_STATS
    for (std::size_t i = 0; i < kCounterCount; ++i) {
        entries.push_back({kCounterNames[i], counts[i].load(std::memory_order_relaxed)});
    }
#endif
    return entries;
}

} // namespace detail
} // namespace ctr
