// Turns the texts of options into the options of drawings and batches.
#pragma once

#include "tool/options/GivenOptions.h"
#include "tool/options/OptionTable.h"

#include <string>

namespace kxcontour {

/// The placeholder of the view's name in the name of an output.
inline constexpr const char* kViewMark = "{view}";

/// Reads every option of a drawing and checks what can be checked without looking at files.
///
/// Throws InvalidArgument if a model or the output is missing, a value is invalid, or options
/// exclude each other.
DrawingOptions ReadDrawingOptions(const GivenOptions& given);

/// The same without an output, which may be missing.
InputOptions ReadInputOptions(const GivenOptions& given);

/// Throws InvalidArgument if both quiet and verbose are given.
MessageOptions ReadMessageOptions(const GivenOptions& given);

/// Reads the options of a batch. Throws InvalidArgument, also if views are given together with
/// another direction.
BatchOptions ReadBatchOptions(const GivenOptions& given);

/// The options that a drawing depends on, defaults and the version of the tool included, in
/// canonical form: with the same inputs, equal texts give the same drawing. One line of printable
/// ASCII, "name=value" per row of the table, separated by blanks.
std::string SignatureOf(const DrawingOptions& options);

/// The options that the scene of a drawing depends on, and the limits of reading it: drawings with
/// equal texts share a scene.
std::string SceneSignatureOf(const DrawingOptions& options);

} // namespace kxcontour
