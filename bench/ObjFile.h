// Scenes as OBJ files, which every peer reads.
#pragma once

#include "bench/scenes/Scene.h"

#include <string>

namespace bench {

/// Writes one object a part; coordinates in as many digits as bring back the same float.
///
/// Throws std::runtime_error, naming the file, when it cannot be written.
void WriteObj(const Scene& scene, const std::string& path);

/// Reads a file of WriteObj(): of OBJ in general no more than that is understood.
///
/// Throws std::runtime_error, naming the file and the line.
Scene ReadObj(const std::string& path);

} // namespace bench
