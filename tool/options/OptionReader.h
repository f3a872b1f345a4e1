// From the texts of options to what a drawing is asked to be.
#pragma once

#include "options/GivenOptions.h"
#include "options/Options.h"

#include <string>
#include <vector>

namespace kxcontour {

/// Stands in the name of an output for the view that is asked for by name.
inline constexpr const char* kViewMark = "{view}";

/// Reads every option of a drawing and checks what can be checked without looking at files.
///
/// Throws Failure (Usage): a model or the output is missing, a value is not what it has to be, or
/// options cannot go together.
DrawingOptions ReadDrawingOptions(const GivenOptions& given);

/// The same without an output, which may be missing.
InputOptions ReadInputOptions(const GivenOptions& given);

/// Throws Failure (Usage) when both quiet and verbose are asked for.
MessageOptions ReadMessageOptions(const GivenOptions& given);

/// The views of an option that lists them, each once; empty when it is not given. Throws Failure
/// (Usage) for what is no view, for one twice, and with options that look from somewhere else.
std::vector<std::string> ReadViews(const GivenOptions& given, const char* option);

} // namespace kxcontour
