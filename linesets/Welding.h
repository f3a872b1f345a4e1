// Welding of equal positions: which vertices are at the same point.
//
// A point is a position at which there are vertices; its index is that of the first of them. Only
// exactly equal positions are welded; there is no tolerance. Expected linear time by a spatial hash
// (ctr/detail/Welding.h).
#pragma once

#include <ctr/detail/Welding.h>

#include "linesets/PositionOrder.h"
#include "linesets/Progress.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// The point of each of `count` vertices: the index of the first vertex with the same key. See
/// Weld().
template <class KeyOfVertex>
std::vector<std::uint32_t> WeldPositions(std::size_t count, KeyOfVertex keyOf) {
    return detail::Weld<PositionKey>(count, keyOf,
                                     [](const PositionKey& key) { return HashOf(key); });
}

/// Ranks of the points that are in use, in the order of their positions.
class PositionRanks {
public:
    explicit PositionRanks(std::size_t pointCount) : ranks_(pointCount, 0) {}

    void use(std::uint32_t point) { ranks_[point] = 1; }

    /// Ranks from 0 for all points in use; O(p + n log n) for n of p points. The counter counts
    /// comparisons; keyOf may count its own calls.
    template <class KeyOfPoint> void rank(KeyOfPoint keyOf, ItemCounter& work) {
        std::vector<KeyedVertex> order;
        order.reserve(static_cast<std::size_t>(std::count(ranks_.begin(), ranks_.end(), 1U)));
        for (std::size_t point = 0; point < ranks_.size(); ++point) {
            if (ranks_[point] != 0) {
                order.push_back({keyOf(point), static_cast<std::uint32_t>(point)});
            }
        }
        std::sort(order.begin(), order.end(), [&work](const auto& x, const auto& y) {
            work.count(1);
            return x < y;
        });
        for (const KeyedVertex& vertex : order) {
            ranks_[vertex.vertex] = count_++;
        }
    }

    std::uint32_t count() const { return count_; }
    std::uint32_t operator[](std::uint32_t point) const { return ranks_[point]; }

private:
    std::vector<std::uint32_t> ranks_;
    std::uint32_t count_ = 0;
};

} // namespace ctr
