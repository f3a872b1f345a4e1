// Reads OBJ.
#pragma once

#include "import/FileModel.h"

#include <optional>
#include <string_view>

namespace kxcontour {

/// The faces of an OBJ file; none for text in units of 16 bits, and where nothing is of OBJ.
///
/// Reads v (with an optional weight), vn, f, o and g; lines and points are counted, and everything
/// else passes: texture coordinates, materials, smoothing groups, free-form curves and surfaces. An
/// "o" goes on with the object of its name, a "g" of another name than the last one starts an
/// object. Materials do not divide objects. Faces may come before their vertices. Throws Failure
/// (Unreadable), naming the line, for a coordinate that is no number, a face that is not understood
/// and an index out of range. Linear time and memory.
std::optional<FileModel> ReadObj(std::string_view bytes, const ModelRequest& request);

} // namespace kxcontour
