// A table of the growth of time on the worst scenes.
#pragma once

#include <string>

namespace bench {

/// The smallest size of which a quarter is still a scene.
constexpr unsigned int kLeastWorstSize = 16;

/// Measures everything for WorstScenes(), or for the comma-separated names, each at a quarter, a
/// half and all of a size (0: the scene's own). Prints one line per measurement. Throws
/// std::invalid_argument for an unknown name.
void PrintWorst(const std::string& names, unsigned int largest);

} // namespace bench
