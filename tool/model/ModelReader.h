// Reads model files.
#pragma once

#include "model/Model.h"
#include "model/ModelRequest.h"

#include <string>
#include <string_view>

namespace kxcontour {

/// Reads the triangles of a model file, or of standard input, with their places in the scene.
///
/// Polygons are cut into triangles; points, lines, skeletons and everything else are left out.
/// Nothing is welded, smoothed or generated. A model without triangles comes back empty. Throws
/// Failure: Unreadable for a file that is missing, damaged or of an unknown kind; Usage for
/// standard input without a format, or with one that no importer knows. A damaged file can also
/// crash the importer, see ImportModel(). What is read from standard input cannot refer to files.
Model ReadModel(const ModelRequest& request);

/// The same when standard input, if it is asked for, was read already, and in a process that ends
/// soon: what the importer holds is left to the system, which takes it back sooner than piece by
/// piece.
Model ReadModelOnce(const ModelRequest& request, std::string_view standardInput);

/// All of standard input, if the model is to come from there, else nothing. Throws Failure as
/// ReadModel() does, for a format before it waits for the first byte.
std::string ReadStandardInput(const ModelRequest& request);

} // namespace kxcontour
