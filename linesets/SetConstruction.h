// Buffers and placement for operations that create sets.
#pragma once

#include <ctr/LineSegmentSet.h>

#include <kxSceneGraph/kxAttributes.h>

#include <cstddef>
#include <limits>
#include <stdexcept>

namespace ctr {

/// A count as a buffer size; throws std::length_error if it is too large.
inline int BufferSize(std::size_t count) {
    if (count > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw std::length_error("more than 2147483647 vertices or indices in one buffer");
    }
    return static_cast<int>(count);
}

/// The number of segments of a line list; an odd last index is ignored.
inline std::size_t SegmentCount(const kx::kxIndexBuffer* lines) {
    return lines != nullptr ? static_cast<std::size_t>(lines->GetIndexQuantity()) / 2 : 0;
}

inline kx::kxPointer<kx::kxVertexBuffer> MakePositionBuffer(std::size_t vertexCount) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    return {new kx::kxVertexBuffer(attributes, BufferSize(vertexCount))};
}

inline kx::kxPointer<kx::kxIndexBuffer> MakeLineBuffer(std::size_t segmentCount) {
    return {new kx::kxIndexBuffer(BufferSize(2 * segmentCount), kx::IBT_LINES)};
}

/// Sets both transformations of a set and notifies its parents of the local one.
inline void Place(LineSegmentSet& set,
                  const kx::kxGenericTransformation<float>& local,
                  const kx::kxGenericTransformation<float>& world) {
    set.SetLocalTransformation(local);
    set.setDirtyDown(false);
    set.SetWorldTransformation(world);
}

/// The framework's model-space update, for all controllers.
inline void UpdateModelSpace(LineSegmentSet& set, bool recomputeBound) {
    constexpr int kAllControllers = -2;
    set.UpdateMS(recomputeBound, false, kAllControllers);
}

/// Copies placement, colour and width from the set that a set was derived from.
inline void CopyAppearance(LineSegmentSet& set, const LineSegmentSet& source) {
    Place(set, source.GetLocalTransformation(), source.GetWorldTransformation());
    set.setColor(source.getColor());
    set.setWidth(source.getWidth());
}

} // namespace ctr
