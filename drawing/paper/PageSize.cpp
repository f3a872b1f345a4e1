// Sheets by name (ISO 216 and North American) or by their measures.
#include "drawing/paper/PageSize.h"

#include <kxDrawing/Errors.h>

#include "drawing/common/NearestName.h"
#include "drawing/common/ReadNumber.h"
#include "drawing/common/Shortened.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <locale>
#include <optional>
#include <sstream>

namespace kxcontour {
namespace {

struct NamedPage {
    const char* name;
    PageSize size;
};

constexpr std::array<NamedPage, 9> kNamedPages{{{"A0", {841.0, 1189.0}},
                                                {"A1", {594.0, 841.0}},
                                                {"A2", {420.0, 594.0}},
                                                {"A3", {297.0, 420.0}},
                                                {"A4", {210.0, 297.0}},
                                                {"A5", {148.0, 210.0}},
                                                {"A6", {105.0, 148.0}},
                                                {"letter", {215.9, 279.4}},
                                                {"legal", {215.9, 355.6}}}};

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
    for (const NamedPage& page : kNamedPages) {
        const std::string_view name = page.name;
        const auto sameLetter = [](char a, char b) {
            return std::tolower(static_cast<unsigned char>(a)) ==
                   std::tolower(static_cast<unsigned char>(b));
        };
        if (std::equal(name.begin(), name.end(), text.begin(), text.end(), sameLetter)) {
            return page.size;
        }
    }
    return std::nullopt;
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
    throw kxdrawing::InvalidArgument("unknown page '" + Shortened(text) + "'; " +
                                     (nearest.empty() ? "" : "did you mean '" + nearest + "'? ") +
                                     "choose A0 to A6, letter, legal or WIDTHxHEIGHT[mm|cm|in|pt]");
}

} // namespace

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
        throw kxdrawing::InvalidArgument("page '" + std::string(text) +
                                         "' is too small; the minimum is 1 mm");
    }
    if (std::max(page->width, page->height) > kLongestSide) {
        throw kxdrawing::InvalidArgument("page '" + std::string(text) +
                                         "' is too large; the maximum is 100000 mm");
    }
    return *page;
}

PageSize Landscape(PageSize page) {
    return {std::max(page.width, page.height), std::min(page.width, page.height)};
}

std::string Describe(PageSize page) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << page.width << " x " << page.height << " mm";
    return text.str();
}

const std::vector<std::string>& PageNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> list;
        list.reserve(kNamedPages.size());
        for (const NamedPage& page : kNamedPages) {
            list.emplace_back(page.name);
        }
        return list;
    }();
    return names;
}

} // namespace kxcontour
