// Sorting of edges by the ranks of their end points.
#pragma once

#include "linesets/Work.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace ctr {

/// Sorts records by firstRank, which is below rankCount, and by `less` where that is equal. The
/// work counts records and comparisons.
///
/// Edges of a mesh meet in small numbers at a vertex, so one counting pass over the first ranks
/// leaves only short runs to compare. The result depends on nothing but the records as long as
/// records that `less` does not tell apart are the same.
template <class Record, class Less>
void SortByFirstRank(std::vector<Record>& records,
                     std::uint32_t rankCount,
                     Less less,
                     WorkCounter& work) {
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
