// The exit code and the message of each kind of exception.
#include "tool/common/Failure.h"

#include <new>

namespace kxcontour {
namespace {

template <class Kind> bool Is(const std::exception& error) {
    return dynamic_cast<const Kind*>(&error) != nullptr;
}

} // namespace

Failure FailureOf(const std::exception& error) {
    if (Is<kxdrawing::InvalidArgument>(error)) {
        return {ExitCode::Usage, error.what()};
    }
    if (Is<kxdrawing::CannotRead>(error)) {
        return {ExitCode::Unreadable, error.what()};
    }
    if (Is<kxdrawing::NothingToDraw>(error)) {
        return {ExitCode::NothingToDraw, error.what()};
    }
    if (Is<kxdrawing::CannotWrite>(error)) {
        return {ExitCode::CannotWrite, error.what()};
    }
    const std::string reason = Is<std::bad_alloc>(error) ? "out of memory" : error.what();
    return {ExitCode::Internal, "internal error: " + reason};
}

} // namespace kxcontour
