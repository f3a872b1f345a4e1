// Drawings that are there already.
#pragma once

#include <string>

namespace kxcontour {

/// Whether a file begins as the drawings of the writers do, of whatever format. False for a file
/// that is empty, cannot be read or is not there.
bool IsDrawing(const std::string& path);

} // namespace kxcontour
