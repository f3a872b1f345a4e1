// Drawings in any format, into whole files.
#pragma once

#include <kxDrawing/Writers.h>

#include "drawing/files/OutputFile.h"

#include <ostream>
#include <string>

namespace kxcontour {

/// Writes a drawing into a stream. Throws WriteFailure when the stream fails.
void WriteTo(std::ostream& out,
             const kxdrawing::Drawing& drawing,
             kxdrawing::Format format,
             const kxdrawing::WriteOptions& options);

/// Writes a drawing through a file and puts that in place. Throws CannotWrite, which
/// calls the file by the name.
void WriteDrawing(const kxdrawing::Drawing& drawing,
                  kxdrawing::Format format,
                  const kxdrawing::WriteOptions& options,
                  OutputFile& file,
                  const std::string& name);

} // namespace kxcontour
