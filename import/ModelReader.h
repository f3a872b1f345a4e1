// Reads model files.
#pragma once

#include "drawing/scene/Model.h"
#include "import/ModelFiles.h"
#include "import/ModelRequest.h"

#include <string>

namespace kxcontour {

/// Reads the triangles of a model file, or of standard input, with their places in the scene.
///
/// Polygons are cut into triangles; points, lines, skeletons and everything else are left out.
/// Nothing is welded, smoothed or generated. A model without triangles comes back empty. Throws
/// Failure: Unreadable for a file that is missing, damaged or of an unknown kind; Usage for
/// standard input without a format, or with one that no importer knows. A damaged file can also
/// crash the importer, see ImportModel(). Files that the model refers to are opened as ModelFiles
/// says.
Model ReadModel(const ModelRequest& request);

/// The same of files that are open, and in a process that ends soon: what the importer holds is
/// left to the system, which takes it back sooner than piece by piece.
Model ReadModelOnce(const ModelRequest& request, ModelFiles& files);

/// All of standard input, if the model is to come from there, else nothing. Throws Failure as
/// ReadModel() does, for a format before it waits for the first byte, and for more than
/// ReadRules::largestInput as soon as it has come.
std::string ReadStandardInput(const ModelRequest& request);

} // namespace kxcontour
