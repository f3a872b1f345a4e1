// Anchors the vtable of the primitives' interface in the library.
#include <kxCommonAddOns/kxGenericBVHPrimitives.h>

namespace kx {

kxGenericBVHPrimitives::~kxGenericBVHPrimitives() = default;

} // namespace kx
