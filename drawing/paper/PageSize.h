// Sheets of paper, and lengths on them.
#pragma once

#include <kxDrawing/Page.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

/// The default margin along every edge of the sheet, in millimetres.
constexpr double kPageMargin = 10.0;

using kxdrawing::PageSize;

/// Reads a plain decimal number with mm, cm, in or pt (1/72 in) behind it, or with none of them for
/// millimetres; returns millimetres.
///
/// Nothing for any other text and for numbers that are not finite. Independent of locale.
std::optional<double> ReadPaperLength(std::string_view text);

/// Reads A0 to A6, letter, legal (in any case, portrait) or WIDTHxHEIGHT with one of the units of
/// ReadPaperLength() behind it.
///
/// Throws InvalidArgument for any other text and for sheets with a side under 1 mm or over 100 m.
PageSize ParsePageSize(std::string_view text);

/// The same sheet, turned so that it is at least as wide as high.
PageSize Landscape(PageSize page);

/// "210 x 297 mm", with six significant digits, independent of locale.
std::string Describe(PageSize page);

/// The names that ParsePageSize() knows.
const std::vector<std::string>& PageNames();

} // namespace kxcontour
