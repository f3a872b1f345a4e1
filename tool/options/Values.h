// Readers of values from text, one per kind. All are independent of the locale.
#pragma once

#include <kxDrawing/Geometry.h>

#include "drawing/paper/Paper.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

/// A range of numbers. Ends belong to it unless they are open.
struct NumberRange {
    double low = 0.0;
    double high = 0.0;
    bool lowOpen = false;
    bool highOpen = false;

    /// False for NaN.
    bool holds(double value) const;
};

/// Reads a number in a range. Throws InvalidArgument, "WHAT 'TEXT' is not EXPECTED".
double
ParseNumber(std::string_view text, const char* what, const char* expected, NumberRange range);

/// Reads a length on paper, see ReadPaperLength(); millimetres. Throws as ParseNumber() does, with
/// the accepted spellings of a length after the message.
double
ParseLength(std::string_view text, const char* what, const char* expected, NumberRange range);

/// Reads a whole number from low to high. Throws InvalidArgument.
unsigned int
ParseCount(std::string_view text, const char* what, unsigned int low, unsigned int high);

/// Reads a scale, 1:2, 2:1 or 0.5: length on paper over real length. Throws InvalidArgument unless
/// it is over 0 and finite.
double ParseRatio(std::string_view text);

/// Reads X,Y,Z. Throws InvalidArgument, naming what it is for.
kxdrawing::Vector ParsePoint(std::string_view text, const char* what);

/// Reads #rgb, #rrggbb or one of ColorNames(), in any case: red, green, blue. Throws
/// InvalidArgument, naming the nearest colour.
std::array<std::uint8_t, 3> ParseColor(std::string_view text);

/// The basic colour names of CSS.
const std::vector<std::string>& ColorNames();

/// Changes styles by a comma-separated list of TYPE.KEY=VALUE; later items win.
///
/// Types are crease, silhouette, intersection, hidden and all (these four); keys are width (a
/// length over 0, to 100 mm), color, and dash (lengths over 0, to 100 mm, separated by '/', or
/// none; an odd number of them is repeated, as in SVG). Throws InvalidArgument, naming the nearest
/// family or key for one that does not exist.
void ApplyStyles(std::string_view list, StyleSheet& styles);

/// Finds a name in a list; returns its index. Throws InvalidArgument with the nearest name and the
/// whole list: "unknown WHAT 'TEXT'; did you mean 'a'? choose a, b or c".
std::size_t
ParseName(std::string_view text, const char* what, const std::vector<std::string>& names);

/// The text, UTF-8, or its first 60 bytes at most and "..." when it is longer. No character is cut.
std::string Shortened(std::string_view text);

/// The parts of a text between separators; one empty part for an empty text.
std::vector<std::string> Split(std::string_view text, std::string_view separator);

/// The parts with a separator between them.
std::string Joined(const std::vector<std::string>& parts, std::string_view separator);

/// A text with each occurrence of a part replaced.
std::string Replaced(std::string_view text, std::string_view part, std::string_view by);

/// "a, b or c", of one name or more.
std::string Enumerate(const std::vector<std::string>& names);

/// The shortest text that reads as the same number; finite numbers only.
std::string NumberText(double value);

/// A text in quotes, in which bytes other than printable ASCII, and separators of words and list
/// members, are written as %XX.
std::string QuotedWord(const std::string& text);

/// The ending of a file name in lower case, without its dot; empty where there is none.
std::string EndingOf(const std::string& path);

} // namespace kxcontour
