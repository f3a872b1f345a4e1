// Keeps what XML allows (Extensible Markup Language 1.0, section 2.2).
#include "drawing/output/XmlText.h"

#include "drawing/common/Utf8.h"

#include <cstddef>

namespace kxcontour {
namespace {

bool IsAllowed(char32_t code) {
    return code >= 0x20 ? code != 0xFFFE && code != 0xFFFF
                        : code == '\t' || code == '\n' || code == '\r';
}

/// What stands for a character of markup; empty for any other.
std::string_view EscapeOf(char32_t code) {
    switch (code) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    default:
        return "";
    }
}

/// The same in an attribute, where a reader would turn white space into blanks (section 3.3.3).
std::string_view AttributeEscapeOf(char32_t code) {
    switch (code) {
    case '"':
        return "&quot;";
    case '\t':
        return "&#9;";
    case '\n':
        return "&#10;";
    case '\r':
        return "&#13;";
    default:
        return EscapeOf(code);
    }
}

std::string Escape(std::string_view text, std::string_view (*escapeOf)(char32_t)) {
    std::string escaped;
    escaped.reserve(text.size());
    while (!text.empty()) {
        const Utf8Character c = DecodeUtf8(text);
        if (c.size == 0) {
            escaped += "\xEF\xBF\xBD";
            text.remove_prefix(1);
            continue;
        }
        const std::string_view escape = escapeOf(c.code);
        if (!escape.empty()) {
            escaped += escape;
        } else if (IsAllowed(c.code)) {
            escaped += text.substr(0, c.size);
        }
        text.remove_prefix(c.size);
    }
    return escaped;
}

} // namespace

std::string EscapeXml(std::string_view text) {
    return Escape(text, EscapeOf);
}

std::string EscapeXmlAttribute(std::string_view text) {
    return Escape(text, AttributeEscapeOf);
}

} // namespace kxcontour
