// Edges are counted by sorting their ends.
#include "visibility/dense/DenseItems.h"

#include <cstddef>

namespace ctr {

void SetCrowdedEnds(const DistinctTriangles& triangles,
                    std::uint32_t hub,
                    std::uint32_t degree,
                    std::vector<CrowdItem>& items) {
    std::vector<std::uint32_t> ends;
    for (const CrowdItem& item : items) {
        for (const std::uint32_t place : triangles.places(item.number)) {
            if (place != hub) {
                ends.push_back(place);
            }
        }
    }
    std::sort(ends.begin(), ends.end());
    for (CrowdItem& item : items) {
        auto next = item.hubs.begin();
        for (const std::uint32_t place : triangles.places(item.number)) {
            const auto [first, last] = std::equal_range(ends.begin(), ends.end(), place);
            if (last - first > std::ptrdiff_t{degree}) {
                *next++ = place;
            }
        }
        std::sort(item.hubs.begin(), item.hubs.end());
    }
}

} // namespace ctr
