// Welds positions and redirects the triangles to the welded vertices.
#include "drawing/scene/SharedVertices.h"

#include <ctr/detail/PositionKey.h>
#include <ctr/detail/Welding.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kxcontour {
namespace {

using ctr::detail::PositionKey;

std::vector<std::uint32_t> WeldedVertices(const kx::kxVertexBuffer& vertices) {
    return ctr::detail::Weld<PositionKey>(
        static_cast<std::size_t>(vertices.GetVertexQuantity()),
        [&](std::size_t i) { return ctr::detail::KeyOf(vertices.Position3(static_cast<int>(i))); },
        [](const PositionKey& key) { return ctr::detail::HashOf(key); });
}

/// A negative zero becomes a positive one.
Wm4::Vector3<float> WithoutNegativeZeros(const Wm4::Vector3<float>& p) {
    return {p[0] + 0.0F, p[1] + 0.0F, p[2] + 0.0F};
}

} // namespace

void ShareVertices(Shape& shape) {
    const kx::kxVertexBuffer& vertices = *shape.vertices;
    std::vector<std::uint32_t> numbers = WeldedVertices(vertices);
    const std::uint32_t count = ctr::detail::NumberInOrder(numbers);
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    kx::kxPointer<kx::kxVertexBuffer> shared(
        new kx::kxVertexBuffer(attributes, static_cast<int>(count)));
    std::uint32_t next = 0;
    for (std::size_t i = 0; i < numbers.size() && next < count; ++i) {
        if (numbers[i] == next) {
            shared->Position3(static_cast<int>(next++)) =
                WithoutNegativeZeros(vertices.Position3(static_cast<int>(i)));
        }
    }
    unsigned int* const indices = shape.triangles->GetData();
    for (int i = 0; i < shape.triangles->GetIndexQuantity(); ++i) {
        if (indices[i] < numbers.size()) {
            indices[i] = numbers[indices[i]];
        }
    }
    shape.vertices = shared;
}

} // namespace kxcontour
