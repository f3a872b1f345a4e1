// Gives the primitives' interface its one home in the library.
#include <kxCommonAddOns/kxGenericBVHPrimitives.h>

namespace kx {

kxGenericBVHPrimitives::~kxGenericBVHPrimitives() = default;

} // namespace kx
