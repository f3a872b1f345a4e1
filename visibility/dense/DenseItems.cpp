// Counts the triangles at each edge of a hub by sorting the other ends of edges. Exact, O(n log n)
// for n triangles at the hub.
#include "visibility/dense/DenseItems.h"

#include <cstddef>

namespace ctr {

void SetSharedHubs(const DistinctTriangles& triangles,
                   std::uint32_t hub,
                   std::uint32_t degree,
                   std::vector<DenseItem>& items) {
    std::vector<std::uint32_t> ends;
    for (const DenseItem& item : items) {
        for (const std::uint32_t position : triangles.positions(item.number)) {
            if (position != hub) {
                ends.push_back(position);
            }
        }
    }
    std::sort(ends.begin(), ends.end());
    for (DenseItem& item : items) {
        auto next = item.hubs.begin();
        for (const std::uint32_t position : triangles.positions(item.number)) {
            const auto [first, last] = std::equal_range(ends.begin(), ends.end(), position);
            if (last - first > std::ptrdiff_t{degree}) {
                *next++ = position;
            }
        }
        std::sort(item.hubs.begin(), item.hubs.end());
    }
}

} // namespace ctr
