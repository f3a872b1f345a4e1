// How often each shortcut of hidden-line removal pays, for tuning. Not installed.
#pragma once

#include <ctr/Export.h>

#include <cstdint>
#include <vector>

namespace ctr::detail {

/// One counter, of all objects and threads since the start of the program.
struct StatisticsEntry {
    const char* name;
    std::uint64_t count;
};

/// Whether counters are built in (CMake option CTR_STATS). The function is in every build, so that
/// neither the interface nor its users depend on the option.
CTR_EXPORT bool StatisticsAreBuiltIn();

/// All counters in a fixed order, empty where none are built in. Safe to call from any thread.
CTR_EXPORT std::vector<StatisticsEntry> ReadStatistics();

} // namespace ctr::detail
