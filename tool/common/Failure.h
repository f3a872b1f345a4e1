// How a run or a job fails: one line for the user and an exit code.
#pragma once

#include <kxDrawing/Errors.h>

#include <exception>
#include <string>

namespace kxcontour {

/// What the process returns. The numbers are documented in --help and do not change.
enum class ExitCode {
    Drawn = 0,
    Internal = 1,      ///< A defect of the tool, or out of memory.
    Usage = 2,         ///< The command line makes no sense.
    Unreadable = 3,    ///< A model file is missing, damaged or of an unknown kind.
    NothingToDraw = 4, ///< No triangles, or no visible line in the view.
    CannotWrite = 5,   ///< The drawing cannot be written where it was asked for.
};

struct Failure {
    ExitCode code = ExitCode::Internal;
    std::string message; ///< Names are quoted as they are; Messages.h escapes them.
};

Failure FailureOf(const std::exception& error);

/// Ends the run because of what was asked for.
[[noreturn]] inline void RefuseUsage(const std::string& message) {
    throw kxdrawing::InvalidArgument(message);
}

} // namespace kxcontour
