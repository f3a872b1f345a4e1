// Reads PLY: text, and binary of either byte order.
#pragma once

#include "import/formats/FileModel.h"

#include <optional>
#include <string_view>

namespace kxcontour {

/// The faces of a PLY file; none for bytes that do not begin like one.
///
/// Reads the elements vertex (x, y, z and, where there are three, nx, ny, nz), face and tristrips
/// (vertex_indices or vertex_index), and skips all other elements and properties. Coordinates are
/// read in doubles, in text whatever their type. Indices of no vertex are kept; CleanShapes()
/// counts them. Throws CannotRead for a malformed header, for a word that is no number,
/// and for a file that contains less than its header states; in text, a cut in its last word is not
/// detected. Linear time and memory in the size of the file, whatever its header states.
std::optional<FileModel> ReadPly(std::string_view bytes, const ModelRequest& request);

} // namespace kxcontour
