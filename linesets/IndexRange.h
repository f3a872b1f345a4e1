// Whether the indices of a buffer number vertices, which most operations take for granted.
#pragma once

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>

#include <algorithm>
#include <cstddef>

namespace ctr {

/// Whether the first `count` indices are below a number of vertices.
inline bool IndicesAreInRange(const unsigned int* indices, std::size_t count, int vertexQuantity) {
    return std::all_of(indices, indices + count, [vertexQuantity](unsigned int index) {
        return index < static_cast<unsigned int>(vertexQuantity);
    });
}

/// Whether all indices of a buffer number positions, but for those of an element of `size` indices
/// that is not whole. True where either buffer is missing: there is nothing to look up.
inline bool IndicesAreInRange(const kx::kxIndexBuffer* indices,
                              const kx::kxVertexBuffer* vertices,
                              std::size_t size) {
    if (indices == nullptr || vertices == nullptr) {
        return true;
    }
    const std::size_t count = static_cast<std::size_t>(indices->GetIndexQuantity()) / size * size;
    return count == 0 ||
           (vertices->GetAttributes().GetPositionChannels() == 3 &&
            IndicesAreInRange(indices->GetData(), count, vertices->GetVertexQuantity()));
}

} // namespace ctr
