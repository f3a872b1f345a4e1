// Options from the keys of a configuration or job file.
#pragma once

#include "tool/options/GivenOptions.h"
#include "tool/options/OptionTable.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace kxcontour {

/// The source of keys.
struct KeySource {
    std::string file;  ///< Paths are relative to its folder.
    std::string where; ///< Begins the messages about the keys: "jobs.json: job 3: ".
    /// Begins later messages about the values, where that differs from `where`.
    std::string valueWhere;
    Scope place = Scope::Config;
    std::vector<std::string> otherKeys; ///< Allowed, and left to the caller.
};

/// Reads the members of an object as options, each in its natural type. Throws InvalidArgument for
/// an unknown key, naming the nearest, and for a value of a wrong type.
GivenOptions ReadKeys(const nlohmann::json& object, const KeySource& source);

/// Throws InvalidArgument: "WHAT has to be WANTED, not" and the type of the value, such as "a
/// list".
[[noreturn]] void
RefuseType(const std::string& what, const char* wanted, const nlohmann::json& value);

} // namespace kxcontour
