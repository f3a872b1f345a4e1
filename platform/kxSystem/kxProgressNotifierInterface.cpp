// Anchors the vtable of the progress interface in the library.
#include <kxSystem/kxProgressNotifierInterface.h>

namespace kx {

kxProgressNotifierInterface::~kxProgressNotifierInterface() = default;

} // namespace kx
