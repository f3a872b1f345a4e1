// Character by character; see Unicode 15.0, section 23.2 (layout controls), and UAX #9 for the
// marks of direction.
#include "tool/common/PlainText.h"

#include "drawing/common/Utf8.h"

#include <cstdint>
#include <fmt/format.h>

namespace kxcontour {
namespace {

bool IsControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

bool IsDirectionMark(char32_t code) {
    return code == 0x061C || code == 0x200E || code == 0x200F ||
           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

bool EndsLine(char32_t code) {
    return code == 0x2028 || code == 0x2029;
}

std::string EscapeByte(char byte) {
    switch (byte) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return fmt::format("\\x{:02x}", static_cast<unsigned char>(byte));
    }
}

} // namespace

std::string PlainText(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    while (!text.empty()) {
        const Utf8Character c = DecodeUtf8(text);
        const std::size_t size = c.size > 0 ? c.size : 1;
        if (c.size == 0 || c.code == 0x7F || c.code < 0x20) {
            plain += EscapeByte(text.front());
        } else if (IsControl(c.code) || IsDirectionMark(c.code) || EndsLine(c.code)) {
            plain += fmt::format("\\u{:04x}", static_cast<std::uint32_t>(c.code));
        } else {
            plain += text.substr(0, size);
        }
        text.remove_prefix(size);
    }
    return plain;
}

} // namespace kxcontour
