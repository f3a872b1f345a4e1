// A table of how the time of the worst scenes grows.
#pragma once

#include <string>

namespace bench {

/// A quarter of it still is a scene.
constexpr unsigned int kLeastWorstSize = 16;

/// Measures everything for WorstScenes(), or for those that are named with commas between, each at
/// a quarter, at half and at all of a size, which is that of the scene where it is 0. Prints a line
/// for each. Throws std::invalid_argument for a name that is none.
void PrintWorst(const std::string& names, unsigned int largest);

} // namespace bench
