// Numbers are read and written by from_chars and to_chars, which ignore the locale and accept no
// blanks.
#include "tool/options/Values.h"

#include "drawing/common/NearestName.h"
#include "import/files/LetterCase.h"
#include "tool/common/Failure.h"
#include "tool/options/PaperText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>

namespace kxcontour {
namespace {

using Rgb = std::array<std::uint8_t, 3>;

struct NamedColor {
    const char* name;
    Rgb color;
};

constexpr std::array<NamedColor, 20> kColors{
    {{"black", {0, 0, 0}},       {"silver", {192, 192, 192}}, {"gray", {128, 128, 128}},
     {"grey", {128, 128, 128}},  {"white", {255, 255, 255}},  {"maroon", {128, 0, 0}},
     {"red", {255, 0, 0}},       {"purple", {128, 0, 128}},   {"fuchsia", {255, 0, 255}},
     {"magenta", {255, 0, 255}}, {"green", {0, 128, 0}},      {"lime", {0, 255, 0}},
     {"olive", {128, 128, 0}},   {"yellow", {255, 255, 0}},   {"orange", {255, 165, 0}},
     {"navy", {0, 0, 128}},      {"blue", {0, 0, 255}},       {"teal", {0, 128, 128}},
     {"aqua", {0, 255, 255}},    {"cyan", {0, 255, 255}}}};

constexpr std::size_t kMostBytes = 60;

/// The bytes of a UTF-8 character after its first one are 10xxxxxx.
bool BeginsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

std::string Quoted(std::string_view text) {
    return "'" + Shortened(text) + "'";
}

[[noreturn]] void
RefuseValue(std::string_view text, const char* what, const std::string& expected) {
    RefuseUsage(std::string(what) + " " + Quoted(text) + " is not " + expected);
}

/// #rgb and #rrggbb; the short form doubles each digit.
std::optional<Rgb> ReadHexColor(std::string_view text) {
    std::string digits(text.substr(text.starts_with('#') ? 1 : text.size()));
    if (digits.size() == 3) {
        digits = {digits[0], digits[0], digits[1], digits[1], digits[2], digits[2]};
    }
    std::uint32_t value = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, 16);
    if (digits.size() != 6 || error != std::errc() || stop != end) {
        return std::nullopt;
    }
    const auto byte = [&](unsigned int shift) {
        return static_cast<std::uint8_t>((value >> shift) & 0xFFU);
    };
    return Rgb{byte(16), byte(8), byte(0)};
}

constexpr NumberRange kStyleLengths{0.0, 100.0, true, false};

std::vector<double> ParseDashes(const std::string& text) {
    std::vector<double> dashes;
    if (text == "none") {
        return dashes;
    }
    for (const std::string& part : Split(text, "/")) {
        const std::optional<double> length = ReadPaperLength(part);
        if (!length || !kStyleLengths.holds(*length)) {
            RefuseUsage(
                "dash '" + text +
                "' is not 'none' or positive lengths up to 100 mm separated by '/', such as 1/0.5");
        }
        dashes.push_back(*length);
    }
    // Lengths alternate between on and off, so the period of an odd number of them is twice as
    // long.
    if (dashes.size() % 2 == 1) {
        dashes.reserve(2 * dashes.size());
        dashes.insert(dashes.end(), dashes.begin(), dashes.end());
    }
    return dashes;
}

void ApplyValue(const std::string& key, const std::string& value, StrokeStyle& style) {
    if (key == "width") {
        style.width =
            ParseLength(value, "line width", "a positive length up to 100 mm", kStyleLengths);
    } else if (key == "color") {
        style.color = ParseColor(value);
    } else {
        style.dashes = ParseDashes(value);
    }
}

void ApplyItem(const std::string& item, StyleSheet& styles) {
    const std::size_t equals = item.find('=');
    const std::string name = item.substr(0, equals);
    const std::size_t dot = name.find('.');
    if (equals == std::string::npos || dot == std::string::npos) {
        RefuseUsage("style '" + item + "' is not TYPE.KEY=VALUE, such as crease.width=0.25mm");
    }
    const std::string key = name.substr(dot + 1);
    const std::size_t family = ParseName(name.substr(0, dot), "line type",
                                         {"crease", "silhouette", "intersection", "hidden", "all"});
    ParseName(key, "style key", {"width", "color", "dash"});
    const std::array<StrokeStyle*, 4> all{&styles.crease, &styles.silhouette, &styles.intersection,
                                          &styles.hidden};
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (i == family || family == all.size()) {
            ApplyValue(key, item.substr(equals + 1), *all[i]);
        }
    }
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

bool NumberRange::holds(double value) const {
    return (lowOpen ? value > low : value >= low) && (highOpen ? value < high : value <= high);
}

double
ParseNumber(std::string_view text, const char* what, const char* expected, NumberRange range) {
    const std::optional<double> number = ReadNumber(text);
    if (!number || !range.holds(*number)) {
        RefuseValue(text, what, expected);
    }
    return *number;
}

double
ParseLength(std::string_view text, const char* what, const char* expected, NumberRange range) {
    const std::optional<double> length = ReadPaperLength(text);
    if (!length || !range.holds(*length)) {
        RefuseValue(text, what, std::string(expected) + "; write 2, 2mm, 0.2cm, 0.08in or 5pt");
    }
    return *length;
}

unsigned int
ParseCount(std::string_view text, const char* what, unsigned int low, unsigned int high) {
    unsigned int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < low || value > high) {
        RefuseValue(text, what,
                    "a whole number from " + std::to_string(low) + " to " + std::to_string(high));
    }
    return value;
}

double ParseRatio(std::string_view text) {
    const std::size_t colon = text.find(':');
    const bool hasColon = colon != std::string_view::npos;
    const std::optional<double> paper = ReadNumber(text.substr(0, colon));
    const std::optional<double> real =
        hasColon ? ReadNumber(text.substr(colon + 1)) : std::optional<double>(1.0);
    // Both signs are checked: -1:-2 is no scale.
    const bool positive = paper && real && *paper > 0.0 && *real > 0.0;
    const double ratio = positive ? *paper / *real : 0.0;
    if (!(ratio > 0.0 && std::isfinite(ratio))) {
        RefuseValue(text, "scale", "a ratio such as 1:2, 2:1 or 0.5");
    }
    return ratio;
}

kxdrawing::Vector ParsePoint(std::string_view text, const char* what) {
    const std::vector<std::string> parts = Split(text, ",");
    kxdrawing::Vector point{};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::optional<double> number = ReadNumber(parts[i]);
        if (parts.size() != 3 || !number) {
            RefuseValue(text, what, "three numbers X,Y,Z");
        }
        point[i] = *number;
    }
    return point;
}

std::array<std::uint8_t, 3> ParseColor(std::string_view text) {
    if (const std::optional<Rgb> color = ReadHexColor(text)) {
        return *color;
    }
    const std::string name = LowerCase(text);
    const auto* const found =
        std::find_if(kColors.begin(), kColors.end(),
                     [&](const NamedColor& color) { return name == color.name; });
    if (found != kColors.end()) {
        return found->color;
    }
    const std::string nearest = NearestName(text, ColorNames());
    RefuseUsage("unknown colour " + Quoted(text) + "; " +
                (nearest.empty() ? "" : "did you mean " + Quoted(nearest) + "? ") +
                "write #rgb, #rrggbb or a basic colour name");
}

const std::vector<std::string>& ColorNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> list(kColors.size());
        std::transform(kColors.begin(), kColors.end(), list.begin(),
                       [](const NamedColor& color) { return color.name; });
        return list;
    }();
    return names;
}

void ApplyStyles(std::string_view list, StyleSheet& styles) {
    for (const std::string& item : Split(list, ",")) {
        ApplyItem(item, styles);
    }
}

std::size_t
ParseName(std::string_view text, const char* what, const std::vector<std::string>& names) {
    const auto found = std::find(names.begin(), names.end(), text);
    if (found != names.end()) {
        return static_cast<std::size_t>(found - names.begin());
    }
    const std::string nearest = NearestName(text, names);
    RefuseUsage("unknown " + std::string(what) + " " + Quoted(text) + "; " +
                (nearest.empty() ? "" : "did you mean " + Quoted(nearest) + "? ") + "choose " +
                Enumerate(names));
}

std::vector<std::string> Split(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t at = text.find(separator); at != std::string_view::npos;
         at = text.find(separator, start)) {
        parts.emplace_back(text.substr(start, at - start));
        start = at + separator.size();
    }
    parts.emplace_back(text.substr(start));
    return parts;
}

std::string Joined(const std::vector<std::string>& parts, std::string_view separator) {
    return fmt::format("{}", fmt::join(parts, separator));
}

std::string Replaced(std::string_view text, std::string_view part, std::string_view by) {
    return Joined(Split(text, part), by);
}

std::string Enumerate(const std::vector<std::string>& names) {
    const std::vector<std::string> most(names.begin(), names.end() - 1);
    return Joined(most, ", ") + (most.empty() ? "" : " or ") + names.back();
}

std::string NumberText(double value) {
    std::array<char, 32> text{};
    const std::to_chars_result result =
        std::to_chars(text.data(), text.data() + text.size(), value);
    return std::string(text.data(), result.ptr);
}

std::string QuotedWord(const std::string& text) {
    std::string word;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        const bool isPlain = byte > ' ' && byte <= '~' &&
                             std::string_view("%,'").find(letter) == std::string_view::npos;
        word += isPlain ? std::string(1, letter) : fmt::format("%{:02X}", byte);
    }
    return "'" + word + "'";
}

std::string EndingOf(const std::string& path) {
    const std::string dotted = std::filesystem::path(path).extension().string();
    return LowerCase(dotted.substr(dotted.empty() ? 0 : 1));
}

} // namespace kxcontour
