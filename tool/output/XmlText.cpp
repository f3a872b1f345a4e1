// Decodes UTF-8 (RFC 3629) character by character and keeps what XML allows (section 2.2 there).
#include "output/XmlText.h"

#include <cstddef>

namespace kxcontour {
namespace {

struct Character {
    char32_t code = 0;
    std::size_t size = 0; ///< Bytes; 0: no valid character starts here.
};

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The number of bytes that a first byte announces, and its own bits of the code.
Character FirstByte(unsigned char byte) {
    if (byte < 0x80U) {
        return {byte, 1};
    }
    if (byte >= 0xC2U && byte < 0xE0U) {
        return {byte & 0x1FU, 2};
    }
    if (byte >= 0xE0U && byte < 0xF0U) {
        return {byte & 0x0FU, 3};
    }
    return byte >= 0xF0U && byte < 0xF5U ? Character{byte & 0x07U, 4} : Character{};
}

/// Neither longer than need be, nor half of a surrogate pair, nor beyond the last code.
bool IsScalar(const Character& c) {
    const char32_t least = c.size == 4 ? 0x10000 : c.size == 3 ? 0x800 : c.size == 2 ? 0x80 : 0;
    return c.code >= least && c.code <= 0x10FFFF && (c.code < 0xD800 || c.code > 0xDFFF);
}

Character Decode(std::string_view text) {
    Character c = FirstByte(static_cast<unsigned char>(text[0]));
    if (c.size > text.size()) {
        return {};
    }
    for (std::size_t i = 1; i < c.size; ++i) {
        if (!IsContinuation(text[i])) {
            return {};
        }
        c.code = c.code << 6U | (static_cast<unsigned char>(text[i]) & 0x3FU);
    }
    return IsScalar(c) ? c : Character{};
}

bool IsAllowed(char32_t code) {
    return code >= 0x20 ? code != 0xFFFE && code != 0xFFFF
                        : code == '\t' || code == '\n' || code == '\r';
}

} // namespace

std::string EscapeXml(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    while (!text.empty()) {
        const Character c = Decode(text);
        if (c.size == 0) {
            escaped += "\xEF\xBF\xBD";
            text.remove_prefix(1);
            continue;
        }
        if (c.code == '&') {
            escaped += "&amp;";
        } else if (c.code == '<') {
            escaped += "&lt;";
        } else if (c.code == '>') {
            escaped += "&gt;";
        } else if (IsAllowed(c.code)) {
            escaped += text.substr(0, c.size);
        }
        text.remove_prefix(c.size);
    }
    return escaped;
}

} // namespace kxcontour
