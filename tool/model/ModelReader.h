// Reads model files.
#pragma once

#include "model/Model.h"

#include <string>

namespace kxcontour {

/// Reads the triangles of a model file with their places in the scene.
///
/// Polygons are cut into triangles; points, lines, skeletons and everything else are left out.
/// Nothing is welded, smoothed or generated. A model without triangles comes back empty. Throws
/// Failure (Unreadable) for a file that is missing, damaged or of an unknown kind; a damaged one
/// can also crash the importer, see ImportModel().
Model ReadModel(const std::string& path);

} // namespace kxcontour
