// The base of metadata.
#include <kxSceneGraph/kxMetadata.h>

namespace kx {

constinit const kxRtti kxMetadata::TYPE("kxMetadata", &kxObject::TYPE);

kxMetadata::~kxMetadata() = default;

const kxRtti& kxMetadata::GetType() const {
    return TYPE;
}

} // namespace kx
