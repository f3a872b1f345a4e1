// Files of options for --config.
#pragma once

#include "options/GivenOptions.h"

#include <string>

namespace kxcontour {

/// Reads a file of options, TOML (.toml) or JSON (.json) by its ending in any case.
///
/// Keys are the long names of options, paths are relative to the file. Throws Failure: Unreadable
/// for a file that is missing or damaged, with the line; Usage for another ending, unknown keys and
/// values of wrong types.
GivenOptions ReadConfigFile(const std::string& path);

} // namespace kxcontour
