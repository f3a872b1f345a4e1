// Cuts before a byte that begins a character.
#include "drawing/common/Shortened.h"

#include <cstddef>

namespace kxcontour {
namespace {

constexpr std::size_t kMostBytes = 60;

/// The bytes of a character after its first one are 10xxxxxx.
bool BeginsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

} // namespace

std::string Shortened(std::string_view text) {
    if (text.size() <= kMostBytes) {
        return std::string(text);
    }
    std::size_t end = kMostBytes;
    while (end > 0 && !BeginsCharacter(text[end])) {
        --end;
    }
    return std::string(text.substr(0, end)) + "...";
}

} // namespace kxcontour
