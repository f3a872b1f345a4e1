// Which segments and triangles exist: those whose indices number positions.
//
// Hosts hand over what files say. An operation leaves out what does not exist, as baking does.
#pragma once

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace ctr {

/// Numbers no vertex of any buffer.
constexpr unsigned int kNoVertex = std::numeric_limits<unsigned int>::max();

/// How many vertices have a position; 0 without a buffer.
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

/// Whether all segments of a line list exist; an odd last index counts for nothing. True where
/// either buffer is missing: there is nothing to look up.
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
