// Standard input, output and error as the program was given them.
#pragma once

#include <string_view>

namespace kxcontour {

/// Occupies the descriptors 0 to 2 where the program was started with them closed, so that no file
/// or pipe opened later is taken for a standard stream. Reading and writing such a stream still
/// fails with EBADF. Call it before anything is opened.
void OccupyClosedStreams();

/// Throws CannotWrite where there is nothing that standard output can be written to.
void RequireStandardOutput();

/// Writes all of a text to standard output, or throws CannotWrite. An empty text is never
/// lost.
void WriteToStandardOutput(std::string_view text);

} // namespace kxcontour
