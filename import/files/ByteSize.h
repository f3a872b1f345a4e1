// Byte sizes as text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kxcontour {

/// Parses a number with a unit of bytes, such as 500MB, 1.5 GB or 4096: B, kB, MB, GB or TB in any
/// case, each a thousand times the one before; without a unit, bytes. None for other text, for less
/// than one byte and for more than 10^18.
std::optional<std::uint64_t> ReadByteSize(std::string_view text);

/// "2 GB": in the largest unit of which there is at least one, with all digits.
std::string ByteSizeText(std::uint64_t bytes);

} // namespace kxcontour
