// Reads STL, text and binary.
#pragma once

#include "import/formats/FileModel.h"

#include <optional>
#include <string_view>

namespace kxcontour {

/// Whether the bytes are STL text: they begin with "solid" and do not have the length of a binary
/// file.
bool IsStlText(std::string_view bytes);

/// The facets of an STL file; none for bytes that are no STL file.
///
/// In text, coordinates are read in doubles, each solid with facets is an object, and the first
/// word behind "solid" is its name. Loops of more than three vertices are polygons. Normals are not
/// read, as those of facets do not show smoothness. Throws CannotRead for a vertex that
/// is not three numbers. Linear time and memory.
std::optional<FileModel> ReadStl(std::string_view bytes, const ModelRequest& request);

} // namespace kxcontour
