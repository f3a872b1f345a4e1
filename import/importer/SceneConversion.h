// Converts the importer's scene to a model.
#pragma once

#include "drawing/scene/Model.h"
#include "import/files/ModelRequest.h"

#include <string_view>

struct aiScene;

namespace kxcontour {

/// The model in a triangulated scene; bytes are those of the file that it was read from.
///
/// The importer's scaling to metres is reverted, so coordinates are those of the file, rotated so
/// that y is up. Objects are the nodes with triangles; one without a name of its own takes that of
/// its mesh, else that of the nearest node above that has one. Throws CannotRead for more
/// than 2^31 vertices or triangle corners in one mesh.
Model ModelFromScene(const aiScene& scene, const ModelRequest& request, std::string_view bytes);

} // namespace kxcontour
