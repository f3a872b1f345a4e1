// Sorting of edges by the ranks of their end points: a counting sort by the first rank (prefix
// sums; D. E. Knuth, The Art of Computer Programming 3, 1973), then comparison sorts of records
// with the same first rank. O(n + r) for n records of r ranks if few records share a rank. Exact.
#pragma once

#include "linesets/Progress.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace ctr {

/// Sorts records by firstRank, which is below rankCount, and then by `less`. The counter counts
/// records and comparisons.
///
/// Few edges of a mesh meet at a vertex, so only short ranges remain to be compared. The result
/// depends on nothing but the records as long as records equivalent under `less` are equal.
template <class Record, class Less>
void SortByFirstRank(std::vector<Record>& records,
                     std::uint32_t rankCount,
                     Less less,
                     ItemCounter& work) {
    std::vector<std::size_t> ends(std::size_t{rankCount} + 1, 0);
    ForEachCounted(records.size(), work,
                   [&](std::size_t i) { ++ends[std::size_t{records[i].firstRank} + 1]; });
    for (std::size_t rank = 1; rank < ends.size(); ++rank) {
        ends[rank] += ends[rank - 1];
    }
    std::vector<Record> sorted(records.size());
    ForEachCounted(records.size(), work,
                   [&](std::size_t i) { sorted[ends[records[i].firstRank]++] = records[i]; });
    const auto counted = [&](const Record& x, const Record& y) {
        work.count(1);
        return less(x, y);
    };
    std::size_t begin = 0;
    for (std::uint32_t rank = 0; rank < rankCount; ++rank) {
        std::sort(sorted.begin() + static_cast<std::ptrdiff_t>(begin),
                  sorted.begin() + static_cast<std::ptrdiff_t>(ends[rank]), counted);
        begin = ends[rank];
    }
    records = std::move(sorted);
}

} // namespace ctr
