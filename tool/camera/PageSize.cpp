// Sheets by name (ISO 216 and North American) or by their measures.
#include "camera/PageSize.h"

#include "common/Failure.h"
#include "common/NearestName.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <locale>
#include <optional>
#include <sstream>
#include <system_error>

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

constexpr double kLongestSide = 100000.0;

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

/// A whole text as a plain decimal number; from_chars knows no locale.
std::optional<double> ParseLength(std::string_view text) {
    double value = 0.0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    if (error != std::errc() || stop != end || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<PageSize> ParseMeasures(std::string_view text) {
    const std::size_t cross = text.find_first_of("xX");
    if (cross == std::string_view::npos) {
        return std::nullopt;
    }
    const std::optional<double> width = ParseLength(text.substr(0, cross));
    const std::optional<double> height = ParseLength(text.substr(cross + 1));
    if (!width || !height) {
        return std::nullopt;
    }
    return PageSize{*width, *height};
}

[[noreturn]] void RefuseUnknown(std::string_view text) {
    const std::string nearest = NearestName(text, PageNames());
    throw Failure(ExitCode::Usage,
                  "unknown page '" + std::string(text) + "'; " +
                      (nearest.empty() ? "" : "did you mean '" + nearest + "'? ") +
                      "choose A0 to A6, letter, legal or WIDTHxHEIGHT in millimetres");
}

} // namespace

PageSize ParsePageSize(std::string_view text) {
    if (const std::optional<PageSize> named = FindNamedPage(text)) {
        return *named;
    }
    const std::optional<PageSize> page = ParseMeasures(text);
    if (!page) {
        RefuseUnknown(text);
    }
    if (std::min(page->width, page->height) <= 2.0 * kPageMargin) {
        throw Failure(ExitCode::Usage,
                      "page '" + std::string(text) +
                          "' leaves no room inside its margin of 10 mm; each side has to be over "
                          "20 mm");
    }
    if (std::max(page->width, page->height) > kLongestSide) {
        throw Failure(ExitCode::Usage,
                      "page '" + std::string(text) + "' is too large; 100000 mm is the limit");
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
