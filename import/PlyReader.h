// Reads PLY, in text and in bytes of either order.
#pragma once

#include "import/FileModel.h"

#include <optional>
#include <string_view>

namespace kxcontour {

/// The faces of a PLY file; none for bytes that do not begin as one does.
///
/// Reads the elements vertex (x, y, z and, where there are three, nx, ny, nz), face and tristrips
/// (vertex_indices or vertex_index), and passes over all other elements and properties. Coordinates
/// are read in doubles, in text whatever their type. Indices of no vertex are kept; CleanShapes()
/// counts them. Throws Failure (Unreadable) for a header that is not understood, for a word that is
/// no number, and for a file with less in it than its header says; in text, a cut in its last word
/// cannot be seen. Linear time and memory in the size of the file, whatever it says.
std::optional<FileModel> ReadPly(std::string_view bytes, const ModelRequest& request);

} // namespace kxcontour
