// From the texts of options to what a drawing is asked to be.
#pragma once

#include "options/GivenOptions.h"
#include "options/OptionTable.h"

#include <string>

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

/// Reads the options of a batch. Throws Failure (Usage), also when views are given with options
/// that look from somewhere else.
BatchOptions ReadBatchOptions(const GivenOptions& given);

/// What a drawing is made from, defaults and the tool's version included, but not the contents of
/// its inputs and what is said along the way: equal texts ask for the same drawing. One line of
/// printable ASCII, "name=value" for each row of the table with a blank between.
std::string SignatureOf(const DrawingOptions& options);

/// What the scene of a drawing is read from, and what reading it may take: drawings with equal
/// texts share a scene.
std::string SceneSignatureOf(const DrawingOptions& options);

} // namespace kxcontour
