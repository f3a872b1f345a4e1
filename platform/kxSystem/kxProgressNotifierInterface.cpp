// Gives the progress interface its one home in the library.
#include <kxSystem/kxProgressNotifierInterface.h>

namespace kx {

kxProgressNotifierInterface::~kxProgressNotifierInterface() = default;

} // namespace kx
