// Reads model files.
#pragma once

#include "drawing/scene/Model.h"
#include "import/files/ModelFiles.h"
#include "import/files/ModelRequest.h"

#include <string>

namespace kxcontour {

/// Reads the triangles of a model file, or of standard input, with their places in the scene.
///
/// Polygons are cut into triangles; points, lines, skeletons and everything else are left out.
/// Nothing is welded, smoothed or generated. A model without triangles comes back empty. Throws
/// CannotRead for a file that is missing, damaged or of an unknown kind; InvalidArgument for
/// standard input without a format, or with one that no importer knows. A damaged file can also
/// crash the importer, see ImportModel(). Files that the model refers to are opened as ModelFiles
/// says.
Model ReadModel(const ModelRequest& request);

/// ReadModel() in a confined child process, see ImportModelBy(). Call it before any thread is
/// started. Throws as ReadModel() does: a format of standard input is checked before the
/// first byte is waited for, and more than ReadRules::largestInput is refused as soon as it has
/// come.
Model ImportModel(const ModelRequest& request);

} // namespace kxcontour
