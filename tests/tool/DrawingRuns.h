// Runs of the built tool, and the lines of the drawings that they make.
#pragma once

#include "ModelText.h"
#include "SvgFile.h"
#include "ToolRun.h"

#include <array>
#include <map>
#include <string>
#include <vector>

namespace tool_test {

using Arguments = std::vector<std::string>;

RunResult
RunTool(const Arguments& arguments, const Surroundings& around = {}, const RunLimits& limits = {});

/// Arguments from a line with blanks between them; '' is an empty one.
Arguments Words(const std::string& line);

/// Runs the tool in a folder with a line of arguments.
RunResult RunIn(const TemporaryFolder& folder, const std::string& line);

/// Runs the tool in a folder with a line of arguments that do not name an output, expects that it
/// draws and says nothing else, and reads the drawing.
SvgFile DrawIn(const TemporaryFolder& folder, const std::string& line);

/// A line on paper, rounded to a hundredth of a millimetre, its smaller end first.
using PageLine = std::array<long, 4>;

std::vector<PageLine> LinesOf(const SvgFile& svg);

/// The same in order, so that drawings are compared by their lines.
std::vector<PageLine> SortedLinesOf(const SvgFile& svg);

double Width(const PageBox& box);
double Height(const PageBox& box);

/// All files below a folder with their bytes, by their paths from it.
std::map<std::string, std::string> FilesIn(const TemporaryFolder& folder);

} // namespace tool_test
