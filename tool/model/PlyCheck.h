// Whether a PLY file holds all that its header announces.
#pragma once

#include <string_view>

namespace kxcontour {

/// False when the header does not end, or when the body ends before the last announced value.
///
/// bytes begins with "ply". A header that cannot be understood counts as complete: judging it is
/// the importer's part.
bool IsCompletePly(std::string_view bytes);

} // namespace kxcontour
