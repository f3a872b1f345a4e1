// One run of the tool, from the command line to the drawing.
#pragma once

#include "options/Options.h"

#include <ostream>

namespace kxcontour {

/// Draws what the options ask for, and writes one line about it to out.
///
/// Warnings and timings go to log. Throws Failure; no output file is created or changed then.
void Draw(const Options& options, std::ostream& out, std::ostream& log);

} // namespace kxcontour
