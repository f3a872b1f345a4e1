// Scenes from model files.
#pragma once

#include "drawing/scene/Scene.h"
#include "import/files/ModelRequest.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kxcontour {

/// The models of a scene and how they are read.
struct InputOptions {
    std::vector<std::string> models;    ///< Drawn together; "-" is standard input, at most once.
    std::vector<std::string> occluders; ///< Hide lines and are not drawn.
    std::optional<std::string> format;  ///< Of standard input: a file name ending such as "stl".
    std::optional<LengthUnit> unit;     ///< None: the file's own.
    std::optional<UpAxis> up;           ///< None: the format's own.
    SurfaceRules surface;
    ReadRules reading;

    /// The models, then the occluders.
    std::vector<std::string> files() const;
};

/// The request for one of the models.
ModelRequest RequestFor(const InputOptions& input, const std::string& path);

/// Receives "read" and "prepare" as each model goes through them.
using StageObserver = std::function<void(const char*)>;

/// Reads all models of a drawing and builds their meshes. Call it before any thread is started.
///
/// Throws CannotRead for a model that cannot be read, NothingToDraw for one without
/// triangles.
Scene LoadScene(const InputOptions& input, const StageObserver& observer = {});

} // namespace kxcontour
