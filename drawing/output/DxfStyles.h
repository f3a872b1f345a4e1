// Stroke styles as DXF knows them.
#pragma once

#include "drawing/output/DxfFile.h"
#include "drawing/paper/Paper.h"

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kxcontour {

/// Names and dashes of the line types of a file, without repetition.
using LineTypes = std::vector<std::pair<std::string, std::vector<double>>>;

/// Adds the line type of a style; a style without dashes needs none.
void AddLineType(LineTypes& lineTypes, const StrokeStyle& style);

/// The name of a style's line type; "Continuous" where there is none.
std::string LineTypeOf(const LineTypes& lineTypes, const StrokeStyle& style);

/// The nearest line width of DXF, in hundredths of a millimetre.
std::int64_t LineWeight(double width);

/// Writes the nearest colour of the index and, unless it is black, the true colour. Colour 7 is
/// black on white and white on black; a true black would be invisible on a dark screen.
void WriteColor(DxfFile& file, const std::array<std::uint8_t, 3>& color);

} // namespace kxcontour
