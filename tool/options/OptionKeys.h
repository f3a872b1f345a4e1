// Options from the keys of a configuration or job file.
#pragma once

#include "options/GivenOptions.h"
#include "options/OptionTable.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace kxcontour {

/// Where keys stand.
struct KeySource {
    std::string file;  ///< Paths are relative to its folder.
    std::string where; ///< Begins the messages about the keys: "jobs.json: job 3: ".
    /// Begins later messages about the values, where that differs from `where`.
    std::string valueWhere;
    Scope place = Scope::Config;
    std::vector<std::string> otherKeys; ///< Allowed, and left to the caller.
};

/// Reads the members of an object as options, each of its natural type. Throws Failure (Usage) for
/// an unknown key, naming the nearest, and for a value of a wrong type.
GivenOptions ReadKeys(const nlohmann::json& object, const KeySource& source);

/// What to call the type of a value: "a text", "a number", "a list" and so on.
std::string TypeText(const nlohmann::json& value);

/// Reads a whole file of options, of up to 16 MiB. Throws Failure (Unreadable).
std::string ReadOptionFile(const std::string& path);

/// Reads JSON. Throws Failure (Unreadable) with the line of what is wrong.
nlohmann::json ParseJson(const std::string& text, const std::string& path);

/// A path from a file, as seen from where the tool runs. "-" and absolute paths stay.
std::string PathBeside(const std::string& file, const std::string& path);

} // namespace kxcontour
