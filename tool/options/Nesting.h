// How deep a file of options is nested, before anything parses it.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

enum class OptionSyntax { Toml, Json };

/// Throws Failure (Usage) when lists and tables are nested deeper than 64 levels, or a dotted key
/// of TOML has more than 64 parts: far more than options need, and far less than what a parser or a
/// destructor that calls itself for each level can bear. path begins the message. Linear time.
///
/// Takes any text; up to its first mistake it is looked at as its parser would.
void RequireShallow(std::string_view text, OptionSyntax syntax, const std::string& path);

} // namespace kxcontour
