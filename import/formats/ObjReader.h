// Reads OBJ.
#pragma once

#include "import/formats/FileModel.h"

#include <optional>
#include <string_view>

namespace kxcontour {

/// The faces of an OBJ file; none for UTF-16 text and for a text without a statement of OBJ.
///
/// Reads v (with an optional weight), vn, f, o and g, counts lines and points, and skips everything
/// else: texture coordinates, materials, smoothing groups, free-form curves and surfaces. An "o"
/// continues the object of its name, a "g" of another name than the last one starts an object.
/// Materials do not divide objects. Faces may precede their vertices. Throws CannotRead,
/// naming the line, for a coordinate that is no number, a malformed face and an index out of range.
/// Linear time and memory.
std::optional<FileModel> ReadObj(std::string_view bytes, const ModelRequest& request);

} // namespace kxcontour
