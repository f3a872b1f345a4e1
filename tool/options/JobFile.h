// Job files: many drawings in one file.
#pragma once

#include "options/GivenOptions.h"

#include <string>
#include <vector>

namespace kxcontour {

/// A job as it stands in its file, with the file's defaults below it.
struct GivenJob {
    std::string where; ///< Begins messages about the job: "jobs.json: job 3: ".
    std::string name;  ///< Empty when the job has none.
    GivenOptions options;
};

/// Reads {"defaults": {...}, "jobs": [{"name": ..., "model": ..., "output": ...}, ...]}.
///
/// Keys are the long names of options, paths are relative to the file. Throws Failure: Unreadable
/// for a file that is missing or not JSON, with the line; Usage for unknown keys, wrong types and a
/// file without jobs. Comes back with one job or more.
std::vector<GivenJob> ReadJobFile(const std::string& path);

} // namespace kxcontour
