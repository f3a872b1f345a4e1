// Sheets of paper.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

/// What stays white along every edge of the sheet, in millimetres.
constexpr double kPageMargin = 10.0;

/// A sheet in millimetres.
struct PageSize {
    double width = 210.0;
    double height = 297.0;
};

/// Reads A0 to A6, letter, legal (in any case, portrait) or WIDTHxHEIGHT in millimetres.
///
/// Throws Failure (Usage) for any other text, for sheets over 100 m, and for sheets on which
/// nothing is left inside the margin.
PageSize ParsePageSize(std::string_view text);

/// The same sheet, turned so that it is at least as wide as high.
PageSize Landscape(PageSize page);

/// "210 x 297 mm", with six significant digits, whatever the locale.
std::string Describe(PageSize page);

/// The names that ParsePageSize() knows.
const std::vector<std::string>& PageNames();

} // namespace kxcontour
