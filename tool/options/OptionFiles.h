// Files of options: configuration files for --config, and job files with many drawings in each.
#pragma once

#include "tool/options/GivenOptions.h"

#include <string>
#include <vector>

namespace kxcontour {

/// Reads a file of options, TOML (.toml) or JSON (.json) by its ending, in upper or lower case.
///
/// Keys are the long names of options, paths are relative to the file. Throws CannotRead
/// for a file that is missing or damaged, with the line; Usage for another ending, unknown keys and
/// values of wrong types.
GivenOptions ReadConfigFile(const std::string& path);

/// A job of a file, merged with the defaults of the file.
struct GivenJob {
    std::string where; ///< Begins messages about the job: "jobs.json: job 3: ".
    std::string name;  ///< Empty when the job has none.
    GivenOptions options;
};

/// Reads {"defaults": {...}, "jobs": [{"name": ..., "model": ..., "output": ...}, ...]}.
///
/// Keys are the long names of options, paths are relative to the file. Throws CannotRead
/// for a file that is missing or not JSON, with the line; Usage for unknown keys, wrong types and a
/// file without jobs. Returns at least one job.
std::vector<GivenJob> ReadJobFile(const std::string& path);

} // namespace kxcontour
