// What the program does with a command line that makes sense.
#pragma once

#include "tool/options/CommandLine.h"

#include <ostream>

namespace kxcontour {

/// Carries out a command: results go to out, all else to log. Returns the exit code of a batch in
/// which something failed; any other failure is thrown.
int Execute(const Command& command, std::ostream& out, std::ostream& log);

} // namespace kxcontour
