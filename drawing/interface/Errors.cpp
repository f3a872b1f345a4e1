// The one place where the tables of the exception classes are.
#include <kxDrawing/Errors.h>

namespace kxdrawing {

Error::~Error() = default;
InvalidArgument::~InvalidArgument() = default;
CannotRead::~CannotRead() = default;
NothingToDraw::~NothingToDraw() = default;
CannotWrite::~CannotWrite() = default;

} // namespace kxdrawing
