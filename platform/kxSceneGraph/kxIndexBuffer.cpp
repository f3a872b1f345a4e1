// Storage of indices.
#include <kxSceneGraph/kxIndexBuffer.h>

#include <algorithm>
#include <cstddef>

namespace kx {

namespace {

std::size_t CheckedQuantity(int quantity) {
    return static_cast<std::size_t>(std::max(quantity, 0));
}

} // namespace

constinit const kxRtti kxIndexBuffer::TYPE("kxIndexBuffer", &kxObject::TYPE);

kxIndexBuffer::kxIndexBuffer(int indexQuantity, IndexBufferType type)
    : indices_(CheckedQuantity(indexQuantity)), type_(type) {}

kxIndexBuffer::~kxIndexBuffer() = default;

const kxRtti& kxIndexBuffer::GetType() const {
    return TYPE;
}

void kxIndexBuffer::SetIndexQuantity(int indexQuantity) {
    indices_.resize(CheckedQuantity(indexQuantity));
}

} // namespace kx
