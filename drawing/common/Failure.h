// How the tool fails: one line for the user and an exit code.
#pragma once

#include <stdexcept>
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

/// Ends the run. what() says in one line what is wrong with which file; names
/// are quoted as they are, and escaped where the line is printed (Messages.h).
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

    ExitCode code() const { return code_; }

private:
    ExitCode code_;
};

/// Ends the run because of what was asked for.
[[noreturn]] inline void RefuseUsage(const std::string& message) {
    throw Failure(ExitCode::Usage, message);
}

} // namespace kxcontour
