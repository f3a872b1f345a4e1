// Symbol names of AC1015 in the code page that the header states (ANSI_1252): up to 255 characters,
// without < > / \ " : ; ? * | , = ` and controls.
#include "drawing/output/DxfNames.h"

#include "drawing/common/Utf8.h"

#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <string_view>

namespace kxcontour {
namespace {

/// Leaves room for a number.
constexpr std::size_t kMostCharacters = 240;

bool IsForbidden(char32_t code) {
    constexpr std::u32string_view kForbidden = U"<>/\\\":;?*|,='`";
    return code < 0x20 || code == 0x7F || kForbidden.find(code) != std::u32string_view::npos;
}

/// ASCII and the characters that code page 1252 shares with ISO 8859-1 as a byte, all others as an
/// escape.
std::string Encode(char32_t code) {
    if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) {
        return {static_cast<char>(code)};
    }
    return fmt::format("\\U+{:04X}", static_cast<std::uint32_t>(code));
}

/// Four hexadecimal digits are all that an escape has.
bool IsWritable(char32_t code) {
    return !IsForbidden(code) && code <= 0xFFFF;
}

/// The small letter of a capital of the Latin, Greek and Cyrillic scripts.
char32_t Fold(char32_t code) {
    const auto in = [code](char32_t first, char32_t last) { return code >= first && code <= last; };
    if (in('A', 'Z') || (in(0xC0, 0xDE) && code != 0xD7) || in(0x391, 0x3A9) || in(0x410, 0x42F)) {
        return code + 0x20;
    }
    if (in(0x400, 0x40F)) {
        return code + 0x50;
    }
    const bool evenCapital = in(0x100, 0x137) || in(0x14A, 0x177) || in(0x460, 0x481);
    const bool oddCapital = in(0x139, 0x148) || in(0x179, 0x17E);
    return (evenCapital && code % 2 == 0) || (oddCapital && code % 2 == 1) ? code + 1 : code;
}

std::string WithNumber(const std::string& text, std::size_t number) {
    return number > 1 ? text + "_" + std::to_string(number) : text;
}

} // namespace

std::string DxfNames::make(const std::string& name) {
    std::string written;
    std::string folded;
    std::size_t count = 0;
    for (std::string_view rest = name; !rest.empty() && count < kMostCharacters; ++count) {
        const Utf8Character c = DecodeUtf8(rest);
        rest.remove_prefix(c.size > 0 ? c.size : 1);
        const char32_t code = c.size > 0 && IsWritable(c.code) ? c.code : U'_';
        written += Encode(code);
        folded += Encode(Fold(code));
    }
    std::size_t& number = lastNumbers_[folded];
    do {
        ++number;
    } while (!taken_.insert(WithNumber(folded, number)).second);
    return WithNumber(written, number);
}

} // namespace kxcontour
