// The files that a command reads and writes.
#pragma once

#include "tool/common/RunFiles.h"
#include "tool/options/CommandLine.h"

namespace kxcontour {

/// All files of a command that are known before a model is read. Throws InvalidArgument if the
/// command would overwrite an input or write one file twice.
/// @{
RunFiles FilesOf(const DrawCommand& command);
RunFiles FilesOf(const InfoCommand& command);
RunFiles FilesOf(const BatchCommand& command);
/// @}

} // namespace kxcontour
