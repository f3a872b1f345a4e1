// Index range checks. A segment or triangle exists if all of its indices are in range.
//
// Hosts pass on the contents of files unchecked. All operations skip segments and triangles that do
// not exist. Exact; constant time per element.
#pragma once

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace ctr {

/// Not the index of any vertex.
constexpr unsigned int kNoVertex = std::numeric_limits<unsigned int>::max();

/// The number of vertices with a position; 0 without a buffer.
inline unsigned int PositionCount(const kx::kxVertexBuffer* vertices) {
    return vertices != nullptr && vertices->GetAttributes().GetPositionChannels() == 3
               ? static_cast<unsigned int>(vertices->GetVertexQuantity())
               : 0U;
}

/// Whether a segment's two indices are below a number of positions.
inline bool SegmentExists(const unsigned int* indices, unsigned int positionCount) {
    return std::max(indices[0], indices[1]) < positionCount;
}

/// Whether a triangle's three indices are below a number of positions.
inline bool TriangleExists(const unsigned int* indices, unsigned int positionCount) {
    return std::max({indices[0], indices[1], indices[2]}) < positionCount;
}

/// Whether all segments of a line list exist; an odd last index is ignored. True if either buffer
/// is missing.
inline bool SegmentsExist(const kx::kxIndexBuffer* lines, const kx::kxVertexBuffer* vertices) {
    if (lines == nullptr || vertices == nullptr) {
        return true;
    }
    const std::size_t count = static_cast<std::size_t>(lines->GetIndexQuantity()) / 2 * 2;
    const unsigned int positions = PositionCount(vertices);
    return std::all_of(lines->GetData(), lines->GetData() + count,
                       [positions](unsigned int index) { return index < positions; });
}

} // namespace ctr
