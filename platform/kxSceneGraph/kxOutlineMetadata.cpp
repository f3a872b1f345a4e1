// The outline of a mesh.
#include <kxSceneGraph/kxOutlineMetadata.h>

namespace kx {

constinit const kxRtti kxOutlineMetadata::TYPE("kxOutlineMetadata", &kxMetadata::TYPE);

// The letters OUTL, which are recognisable in a memory dump.
const unsigned int kxOutlineMetadata::MetadataTypeId = 0x4F55544Cu;

kxOutlineMetadata::kxOutlineMetadata(const kxPointer<kxIndexBuffer>& outline) : outline_(outline) {}

kxOutlineMetadata::~kxOutlineMetadata() = default;

const kxRtti& kxOutlineMetadata::GetType() const {
    return TYPE;
}

unsigned int kxOutlineMetadata::GetMetadataTypeId() const {
    return MetadataTypeId;
}

kxPointer<kxIndexBuffer> kxOutlineMetadata::getIBuffer() const {
    return outline_;
}

} // namespace kx
