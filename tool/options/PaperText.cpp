// Numbers through from_chars, which knows no locale and takes no blanks; sheets by name (ISO 216
// and North American) or by their measures.
#include "tool/options/PaperText.h"

#include "drawing/common/NearestName.h"
#include "import/files/LetterCase.h"
#include "tool/common/Failure.h"
#include "tool/options/Values.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <system_error>

namespace kxcontour {
namespace {

/// In the order of PageNames().
constexpr std::array<PageSize, 9> kNamedPages{{{841.0, 1189.0},
                                               {594.0, 841.0},
                                               {420.0, 594.0},
                                               {297.0, 420.0},
                                               {210.0, 297.0},
                                               {148.0, 210.0},
                                               {105.0, 148.0},
                                               {215.9, 279.4},
                                               {215.9, 355.6}}};

constexpr double kShortestSide = 1.0;
constexpr double kLongestSide = 100000.0;

struct PaperUnit {
    std::string_view name;
    double millimetres;
};

constexpr std::array<PaperUnit, 4> kPaperUnits{
    {{"mm", 1.0}, {"cm", 10.0}, {"in", 25.4}, {"pt", 25.4 / 72.0}}};

/// Takes the unit off the end of a text; millimetres where there is none.
double TakeUnit(std::string_view& text) {
    for (const PaperUnit& unit : kPaperUnits) {
        if (text.ends_with(unit.name)) {
            text.remove_suffix(unit.name.size());
            return unit.millimetres;
        }
    }
    return 1.0;
}

std::optional<PageSize> FindNamedPage(std::string_view text) {
    const std::vector<std::string>& names = PageNames();
    const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
        return EqualsIgnoringCase(name, text);
    });
    return found == names.end()
               ? std::nullopt
               : std::optional(kNamedPages[static_cast<std::size_t>(found - names.begin())]);
}

/// A measure has no exponent.
std::optional<double> ReadMeasure(std::string_view text) {
    return ReadNumber(text, std::chars_format::fixed);
}

std::optional<PageSize> ParseMeasures(std::string_view text) {
    const std::size_t cross = text.find_first_of("xX");
    if (cross == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view heightText = text.substr(cross + 1);
    const double unit = TakeUnit(heightText);
    const std::optional<double> width = ReadMeasure(text.substr(0, cross));
    const std::optional<double> height = ReadMeasure(heightText);
    if (!width || !height) {
        return std::nullopt;
    }
    return PageSize{*width * unit, *height * unit};
}

[[noreturn]] void RefuseUnknown(std::string_view text) {
    const std::string nearest = NearestName(text, PageNames());
    RefuseUsage("unknown page '" + Shortened(text) + "'; " +
                (nearest.empty() ? "" : "did you mean '" + nearest + "'? ") +
                "choose A0 to A6, letter, legal or WIDTHxHEIGHT[mm|cm|in|pt]");
}

} // namespace

std::optional<double> ReadNumber(std::string_view text, std::chars_format format) {
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, format);
    if (error != std::errc() || stop != end || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> ReadPaperLength(std::string_view text) {
    const double unit = TakeUnit(text);
    const std::optional<double> number = ReadMeasure(text);
    if (!number || !std::isfinite(*number * unit)) {
        return std::nullopt;
    }
    return *number * unit;
}

PageSize ParsePageSize(std::string_view text) {
    if (const std::optional<PageSize> named = FindNamedPage(text)) {
        return *named;
    }
    const std::optional<PageSize> page = ParseMeasures(text);
    if (!page) {
        RefuseUnknown(text);
    }
    if (std::min(page->width, page->height) < kShortestSide) {
        RefuseUsage("page '" + std::string(text) + "' is too small; the minimum is 1 mm");
    }
    if (std::max(page->width, page->height) > kLongestSide) {
        RefuseUsage("page '" + std::string(text) + "' is too large; the maximum is 100000 mm");
    }
    return *page;
}

const std::vector<std::string>& PageNames() {
    static const std::vector<std::string> names{"A0", "A1", "A2",     "A3",   "A4",
                                                "A5", "A6", "letter", "legal"};
    return names;
}

} // namespace kxcontour
