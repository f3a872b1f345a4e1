// Texts of others in messages.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

/// The text, UTF-8, or its first 60 bytes at most and "..." when it is longer. No character is cut.
std::string Shortened(std::string_view text);

} // namespace kxcontour
