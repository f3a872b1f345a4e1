// Limits the nesting of a file of options before it is parsed.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

enum class OptionSyntax { Toml, Json };

/// Throws InvalidArgument if arrays and tables are nested deeper than 64 levels, or a dotted key of
/// TOML has more than 64 parts: far more than options need, and far fewer than overflow the stack
/// of a recursive parser or destructor. path begins the message. Linear time.
///
/// Takes any text; up to the first syntax error it is tokenised as the parser would.
void RequireShallow(std::string_view text, OptionSyntax syntax, const std::string& path);

} // namespace kxcontour
