// The meshes behind a public scene.
#pragma once

#include <kxDrawing/Scene.h>

#include "drawing/scene/Scene.h"

namespace kxdrawing {

struct SceneAccess {
    /// Builds the meshes on the first call, for all threads. Throws NothingToDraw and CannotRead.
    static const kxcontour::Scene& prepared(const Scene& scene);
};

} // namespace kxdrawing
