// Ranks of positions: vertices are sorted once, so that later comparisons are of integers. Exact,
// O(n log n).
#include "linesets/PositionOrder.h"

#include <algorithm>
#include <cstddef>

namespace ctr {

std::vector<std::uint32_t> RankPositions(const kx::kxVertexBuffer& vertices) {
    const auto count = static_cast<std::size_t>(vertices.GetVertexQuantity());
    std::vector<KeyedVertex> order(count);
    for (std::size_t i = 0; i < count; ++i) {
        order[i] = {KeyOf(vertices.Position3(static_cast<int>(i))), static_cast<std::uint32_t>(i)};
    }
    std::sort(order.begin(), order.end());

    std::vector<std::uint32_t> ranks(count);
    std::uint32_t rank = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0 && order[i].key != order[i - 1].key) {
            ++rank;
        }
        ranks[order[i].vertex] = rank;
    }
    return ranks;
}

} // namespace ctr
