// From the importer's scene to the model.
#pragma once

#include "drawing/scene/Model.h"
#include "import/ModelRequest.h"

#include <string_view>

struct aiScene;

namespace kxcontour {

/// The model in a scene whose polygons are triangles; bytes is the file that it was read from.
///
/// The importer's scaling to metres is taken back, so coordinates are those of the file, turned so
/// that y is up. Objects are the nodes with triangles; one without a name of its own takes that of
/// its mesh, else that of the nearest node above that has one. Throws Failure (Unreadable) for more
/// than 2^31 vertices or triangle corners in one mesh.
Model ModelFromScene(const aiScene& scene, const ModelRequest& request, std::string_view bytes);

} // namespace kxcontour
