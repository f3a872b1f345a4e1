// Numbers from text.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>

namespace kxcontour {

/// A whole text as a finite decimal number, independent of locale; nothing for any other text,
/// blanks included. The format says whether an exponent is allowed.
std::optional<double> ReadNumber(std::string_view text,
                                 std::chars_format format = std::chars_format::general);

} // namespace kxcontour
