// What decides whether two jobs ask for the same drawing.
#pragma once

#include "options/Options.h"

#include <string>

namespace kxcontour {

/// Everything that a drawing is made from, defaults and the tool's version included, but not the
/// contents of its inputs and what is said along the way. One line of printable ASCII.
std::string SignatureOf(const DrawingOptions& options);

} // namespace kxcontour
