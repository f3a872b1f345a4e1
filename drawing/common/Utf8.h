// Text as characters.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kxcontour {

struct Utf8Character {
    char32_t code = 0;
    std::size_t size = 0; ///< Bytes; 0: no valid character starts here.
};

/// The first character of a text that is not empty.
Utf8Character DecodeUtf8(std::string_view text);

/// The text with every byte that is part of no character replaced by U+FFFD.
std::string RepairUtf8(std::string_view text);

} // namespace kxcontour
