// Decodes UTF-8 (RFC 3629) character by character.
#include "drawing/common/Utf8.h"

namespace kxcontour {
namespace {

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The number of bytes that a first byte announces, and its own bits of the code.
Utf8Character FirstByte(unsigned char byte) {
    if (byte < 0x80U) {
        return {byte, 1};
    }
    if (byte >= 0xC2U && byte < 0xE0U) {
        return {byte & 0x1FU, 2};
    }
    if (byte >= 0xE0U && byte < 0xF0U) {
        return {byte & 0x0FU, 3};
    }
    return byte >= 0xF0U && byte < 0xF5U ? Utf8Character{byte & 0x07U, 4} : Utf8Character{};
}

/// Neither longer than need be, nor half of a surrogate pair, nor beyond the last code.
bool IsScalar(const Utf8Character& c) {
    const char32_t least = c.size == 4 ? 0x10000 : c.size == 3 ? 0x800 : c.size == 2 ? 0x80 : 0;
    return c.code >= least && c.code <= 0x10FFFF && (c.code < 0xD800 || c.code > 0xDFFF);
}

} // namespace

Utf8Character DecodeUtf8(std::string_view text) {
    Utf8Character c = FirstByte(static_cast<unsigned char>(text[0]));
    if (c.size > text.size()) {
        return {};
    }
    for (std::size_t i = 1; i < c.size; ++i) {
        if (!IsContinuation(text[i])) {
            return {};
        }
        c.code = c.code << 6U | (static_cast<unsigned char>(text[i]) & 0x3FU);
    }
    return IsScalar(c) ? c : Utf8Character{};
}

std::string RepairUtf8(std::string_view text) {
    std::string repaired;
    repaired.reserve(text.size());
    while (!text.empty()) {
        const std::size_t size = DecodeUtf8(text).size;
        repaired += size > 0 ? text.substr(0, size) : "\xEF\xBF\xBD";
        text.remove_prefix(size > 0 ? size : 1);
    }
    return repaired;
}

} // namespace kxcontour
