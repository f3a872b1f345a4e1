// The library's counters, where they are built in (CTR_STATS).
#pragma once

#include <ostream>

namespace kxcontour {

/// Writes one line per counter that is not 0, and nothing in a build without counters.
void PrintStatistics(std::ostream& out);

} // namespace kxcontour
