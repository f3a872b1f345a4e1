// Numbers the places and points the triangles at them.
#include "drawing/scene/SharedVertices.h"

#include "drawing/scene/Places.h"

#include <bit>
#include <cstdint>

namespace kxcontour {

void ShareVertices(Shape& shape) {
    const Places places(*shape.vertices);
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    kx::kxPointer<kx::kxVertexBuffer> shared(
        new kx::kxVertexBuffer(attributes, static_cast<int>(places.count())));
    for (std::uint32_t place = 0; place < places.count(); ++place) {
        const PositionBits& bits = places.position(place);
        shared->Position3(static_cast<int>(place)) = {std::bit_cast<float>(bits[0]),
                                                      std::bit_cast<float>(bits[1]),
                                                      std::bit_cast<float>(bits[2])};
    }
    const auto count = static_cast<unsigned int>(shape.vertices->GetVertexQuantity());
    unsigned int* const indices = shape.triangles->GetData();
    for (int i = 0; i < shape.triangles->GetIndexQuantity(); ++i) {
        if (indices[i] < count) {
            indices[i] = places.ofVertex(indices[i]);
        }
    }
    shape.vertices = shared;
}

} // namespace kxcontour
