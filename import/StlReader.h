// Reads STL, in text and in bytes.
#pragma once

#include "import/FileModel.h"

#include <optional>
#include <string_view>

namespace kxcontour {

/// Whether the bytes are STL in text: those that begin with "solid", unless they have the length of
/// a binary file.
bool IsStlText(std::string_view bytes);

/// The facets of an STL file; none for bytes that are no STL file.
///
/// Of text, coordinates are read in doubles, each solid with facets is an object, and the first
/// word behind "solid" is its name. Loops of more than three vertices are polygons. Normals are not
/// read: they say nothing about smoothness. Binary files hold as many facets as they say and
/// nothing else. Throws Failure (Unreadable) for a vertex that is not three numbers. Linear time
/// and memory.
std::optional<FileModel> ReadStl(std::string_view bytes, const ModelRequest& request);

} // namespace kxcontour
