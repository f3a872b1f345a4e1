// Character by character; see Unicode 15.0, section 23.2 (layout controls), and UAX #9 for the
// marks of direction.
#include "tool/common/PlainText.h"

#include "drawing/common/Utf8.h"

#include <cstddef>

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

/// The prefix and so many hexadecimal digits.
std::string Escape(std::string_view prefix, char32_t value, int digits) {
    std::string text(prefix);
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        text += "0123456789abcdef"[value >> static_cast<unsigned>(shift) & 0xFU];
    }
    return text;
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
        return Escape("\\x", static_cast<unsigned char>(byte), 2);
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
            plain += Escape("\\u", c.code, 4);
        } else {
            plain += text.substr(0, size);
        }
        text.remove_prefix(size);
    }
    return plain;
}

} // namespace kxcontour
