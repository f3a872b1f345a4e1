// Sorting of edges by the ranks of their end points.
#pragma once

#include "linesets/Steps.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace ctr {

/// Sorts records by firstRank, which is below rankCount, and by `less` where that is equal. False,
/// with records as they were, where goOn(steps done) says so on the way.
///
/// Edges of a mesh meet in small numbers at a vertex, so one counting pass over the first ranks
/// leaves only short runs to compare. The result depends on nothing but the records as long as
/// records that `less` does not tell apart are the same.
template <class Record, class Less, class GoOn>
bool SortByFirstRank(std::vector<Record>& records, std::uint32_t rankCount, Less less, GoOn goOn) {
    std::vector<std::size_t> ends(std::size_t{rankCount} + 1, 0);
    const auto countAll = [&](std::size_t i, std::size_t end) {
        for (; i < end; ++i) {
            ++ends[std::size_t{records[i].firstRank} + 1];
        }
    };
    if (!InSteps(records.size(), goOn, countAll)) {
        return false;
    }
    for (std::size_t rank = 1; rank < ends.size(); ++rank) {
        ends[rank] += ends[rank - 1];
    }
    std::vector<Record> sorted(records.size());
    const auto placeAll = [&](std::size_t i, std::size_t end) {
        for (; i < end; ++i) {
            sorted[ends[records[i].firstRank]++] = records[i];
        }
    };
    std::size_t begin = 0;
    const auto sortRuns = [&](std::size_t rank, std::size_t end) {
        for (; rank < end; ++rank) {
            std::sort(sorted.begin() + static_cast<std::ptrdiff_t>(begin),
                      sorted.begin() + static_cast<std::ptrdiff_t>(ends[rank]), less);
            begin = ends[rank];
        }
    };
    if (!InSteps(records.size(), goOn, placeAll) || !InSteps(rankCount, goOn, sortRuns)) {
        return false;
    }
    records = std::move(sorted);
    return true;
}

template <class Record, class Less>
void SortByFirstRank(std::vector<Record>& records, std::uint32_t rankCount, Less less) {
    SortByFirstRank(records, rankCount, less, GoOnAlways());
}

} // namespace ctr
