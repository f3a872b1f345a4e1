// Reduces a vertex buffer to the distinct positions that a line list uses, in the order of
// positions. Exact: positions are compared bit by bit, apart from the sign of zero. O(n log n).
#include <ctr/LineSegmentSet.h>

#include "linesets/IndexRange.h"
#include "linesets/PositionOrder.h"
#include "linesets/SetConstruction.h"

#include <algorithm>
#include <cstddef>

namespace ctr {
namespace {

/// The vertices that the line list uses, in the order of positions.
std::vector<KeyedVertex> SortedUsedVertices(const kx::kxVertexBuffer& vertices,
                                            const kx::kxIndexBuffer& lines) {
    std::vector<bool> used(PositionCount(&vertices), false);
    const unsigned int* indices = lines.GetData();
    const std::size_t count = 2 * SegmentCount(&lines);
    for (std::size_t i = 0; i < count; ++i) {
        if (indices[i] < used.size()) {
            used[indices[i]] = true;
        }
    }
    std::vector<KeyedVertex> sorted;
    for (std::size_t i = 0; i < used.size(); ++i) {
        if (used[i]) {
            sorted.push_back(
                {KeyOf(vertices.Position3(static_cast<int>(i))), static_cast<std::uint32_t>(i)});
        }
    }
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

} // namespace

void LineSegmentSet::CreateFilteredVertexBuffer(const kx::kxVertexBuffer& vertices,
                                                const kx::kxIndexBuffer& lines,
                                                kx::kxPointer<kx::kxVertexBuffer>& filtered,
                                                std::vector<unsigned int>& remapping) {
    filtered = nullptr;
    remapping.assign(static_cast<std::size_t>(vertices.GetVertexQuantity()), 0);
    const std::vector<KeyedVertex> sorted = SortedUsedVertices(vertices, lines);
    std::vector<std::uint32_t> kept;
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        if (i == 0 || sorted[i].key != sorted[i - 1].key) {
            kept.push_back(sorted[i].vertex);
        }
        remapping[sorted[i].vertex] = static_cast<unsigned int>(kept.size()) - 1;
    }
    filtered = MakePositionBuffer(kept.size());
    for (std::size_t i = 0; i < kept.size(); ++i) {
        filtered->Position3(static_cast<int>(i)) = vertices.Position3(static_cast<int>(kept[i]));
    }
}

void LineSegmentSet::CreateFilteredVertexBufferPatched(
    const kx::kxVertexBuffer& vertices,
    kx::kxIndexBuffer& lines,
    kx::kxPointer<kx::kxVertexBuffer>& filtered) {
    std::vector<unsigned int> remapping;
    CreateFilteredVertexBuffer(vertices, lines, filtered, remapping);
    unsigned int* indices = lines.GetData();
    std::transform(indices, indices + lines.GetIndexQuantity(), indices, [&](unsigned int index) {
        return index < remapping.size() ? remapping[index] : kNoVertex;
    });
}

} // namespace ctr
