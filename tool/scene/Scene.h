// Everything that one drawing or many are made of.
#pragma once

#include <Wm4Foundation.h>

#include "options/Options.h"
#include "scene/Cleaning.h"
#include "scene/MeshBuilder.h"
#include "scene/SurfaceRepair.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kxcontour {

/// Meshes ready to be baked. Nothing changes them any more, so threads may share a scene.
struct Scene {
    MeshList meshes;                   ///< What is drawn, around origin, in the first model's unit.
    std::vector<std::size_t> objectOf; ///< For each mesh, an index into objects.
    std::vector<std::string> objects;  ///< Names of all models in turn; may repeat or be empty.
    MeshList occluders;
    Wm4::Vector3<double> origin{0.0, 0.0, 0.0}; ///< The world point at the meshes' zero.
    Wm4::Matrix4<double> fileToWorld{false};    ///< Of the first model's axes: a rotation.
    double millimetresPerUnit = 1.0;
    bool unitStated = false;              ///< By the first model.
    std::vector<std::string> withoutUnit; ///< Models that state none: millimetres were assumed.
    /// Of models whose coordinates are too coarse for their size: what is to be said.
    std::vector<std::string> coarse;
    /// Of models that refer to files that must not be read: what is to be said.
    std::vector<std::string> refusedFiles;
    std::vector<std::string> sideFiles; ///< Of all models.
    DroppedTriangles dropped;
    SurfaceReport surface;     ///< Of all meshes and occluders.
    std::size_t triangles = 0; ///< Of all meshes and occluders.
};

/// What the options say about one of their models.
ModelRequest RequestFor(const InputOptions& input, const std::string& path);

/// Told "read" and "prepare" as each model goes through them.
using StageObserver = std::function<void(const char*)>;

/// Reads all models of a drawing and builds their meshes. Call it before any thread is started.
///
/// Throws Failure: Unreadable for a model that cannot be read, NothingToDraw for one without
/// triangles.
Scene LoadScene(const InputOptions& input,
                std::optional<double> creaseAngle,
                const StageObserver& observer = {});

/// Builds the meshes of a model in memory, as LoadScene() does for one that it has read, with what
/// the input says of surfaces. Throws Failure (NothingToDraw) for one without a triangle that can
/// be drawn.
Scene MakeScene(Model model, const InputOptions& input, std::optional<double> creaseAngle);

/// The meshes of the objects of a name. Throws Failure (Usage), naming the nearest, where there is
/// none.
MeshList MeshesOf(const Scene& scene, const std::string& object);

} // namespace kxcontour
