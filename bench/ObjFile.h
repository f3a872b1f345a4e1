// Scenes as OBJ files, which every peer reads.
#pragma once

#include "bench/scenes/Scene.h"

#include <string>

namespace bench {

/// Writes one object per part; coordinates have enough digits to restore the same float.
///
/// Throws std::runtime_error with the file name if it cannot be written.
void WriteObj(const Scene& scene, const std::string& path);

/// Reads a file written by WriteObj(), the only subset of OBJ that is supported.
///
/// Throws std::runtime_error with the file name and the line.
Scene ReadObj(const std::string& path);

} // namespace bench
