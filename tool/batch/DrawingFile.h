// Recognises existing drawings.
#pragma once

#include <string>

namespace kxcontour {

/// Whether a file begins like a drawing in one of the output formats. False for a file that is
/// empty, cannot be read or does not exist.
bool IsDrawing(const std::string& path);

} // namespace kxcontour
