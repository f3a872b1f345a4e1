// Storage of vertices: one array per attribute.
#include <kxSceneGraph/kxVertexBuffer.h>

#include <algorithm>

namespace kx {

namespace {

// The default constructor of the vectors does not initialise them.
std::vector<Wm4::Vector3<float>> ZeroVectors(int channels, int quantity) {
    const int stored = channels == 3 ? quantity : 0;
    return {static_cast<std::size_t>(stored), Wm4::Vector3<float>(0.0f, 0.0f, 0.0f)};
}

} // namespace

constinit const kxRtti kxVertexBuffer::TYPE("kxVertexBuffer", &kxObject::TYPE);

kxVertexBuffer::kxVertexBuffer(const kxAttributes& attributes, int vertexQuantity)
    : attributes_(attributes), vertexQuantity_(std::max(vertexQuantity, 0)),
      positions_(ZeroVectors(attributes.GetPositionChannels(), vertexQuantity_)),
      normals_(ZeroVectors(attributes.GetNormalChannels(), vertexQuantity_)) {}

kxVertexBuffer::~kxVertexBuffer() = default;

const kxRtti& kxVertexBuffer::GetType() const {
    return TYPE;
}

} // namespace kx
