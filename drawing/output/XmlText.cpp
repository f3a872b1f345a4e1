// Keeps the characters that XML allows (Extensible Markup Language 1.0, section 2.2).
#include "drawing/output/XmlText.h"

#include "drawing/common/Utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace kxcontour {
namespace {

bool IsAllowed(char32_t code) {
    return code >= 0x20 ? code != 0xFFFE && code != 0xFFFF
                        : code == '\t' || code == '\n' || code == '\r';
}

struct Escape {
    char32_t code;
    std::string_view text;
    bool onlyInAttributes; ///< There a reader would turn white space into blanks (section 3.3.3).
};

constexpr std::array<Escape, 7> kEscapes{{{'&', "&amp;", false},
                                          {'<', "&lt;", false},
                                          {'>', "&gt;", false},
                                          {'"', "&quot;", true},
                                          {'\t', "&#9;", true},
                                          {'\n', "&#10;", true},
                                          {'\r', "&#13;", true}}};

std::string Escaped(std::string_view text, bool inAttribute) {
    std::string escaped;
    escaped.reserve(text.size());
    while (!text.empty()) {
        const Utf8Character c = DecodeUtf8(text);
        const auto escape = std::find_if(kEscapes.begin(), kEscapes.end(), [&](const Escape& e) {
            return e.code == c.code && (inAttribute || !e.onlyInAttributes);
        });
        if (c.size == 0) {
            escaped += "\xEF\xBF\xBD";
        } else if (escape != kEscapes.end()) {
            escaped += escape->text;
        } else if (IsAllowed(c.code)) {
            escaped += text.substr(0, c.size);
        }
        text.remove_prefix(std::max<std::size_t>(c.size, 1));
    }
    return escaped;
}

} // namespace

std::string EscapeXml(std::string_view text) {
    return Escaped(text, false);
}

std::string EscapeXmlAttribute(std::string_view text) {
    return Escaped(text, true);
}

} // namespace kxcontour
