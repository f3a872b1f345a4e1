// Numbers, lengths on paper and sheets from text.
#pragma once

#include <kxDrawing/Page.h>

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

using kxdrawing::PageSize;

/// A whole text as a finite decimal number, independent of locale; nothing for any other text,
/// blanks included. The format says whether an exponent is allowed.
std::optional<double> ReadNumber(std::string_view text,
                                 std::chars_format format = std::chars_format::general);

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

/// The names that ParsePageSize() knows.
const std::vector<std::string>& PageNames();

} // namespace kxcontour
