// Everything that one drawing or many are made of.
#pragma once

#include <Wm4Foundation.h>

#include "drawing/scene/Cleaning.h"
#include "drawing/scene/MeshBuilder.h"
#include "drawing/scene/Model.h"
#include "drawing/scene/SurfaceRepair.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kxcontour {

/// Meshes ready to be baked. Nothing changes them any more, so threads may share a scene.
struct Scene {
    std::string name;                  ///< What messages call it: that of the first model.
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

/// How the surfaces of a scene are treated.
struct SurfaceRules {
    ctr::Welding weld; ///< Its distance in millimetres.
    /// Degrees; none: see MeshRules.
    std::optional<double> creaseAngle;
};

/// Builds the meshes of models, one model after another, in the unit and the axes of the first.
class SceneBuilder {
public:
    explicit SceneBuilder(const SurfaceRules& rules);

    /// Adds a model that is drawn; messages call it by the name. The first model added decides
    /// about unit, axes and origin.
    ///
    /// Throws NothingToDraw for a model without a triangle that can be drawn, Unreadable
    /// for more vertices or triangles than can be numbered.
    void addDrawn(Model model, const std::string& name);

    /// The same for a model that only hides lines.
    void addOccluder(Model model, const std::string& name);

    Scene finish();

private:
    /// Each returns the object of each mesh, by the model's numbers.
    std::vector<std::size_t>
    add(Model& model, const std::string& name, bool drawn, MeshList& meshes);
    std::vector<std::size_t> build(Model& model, const std::string& name, MeshList& meshes);
    void count(const Model& model, const std::string& name);
    void clean(Model& model, const std::string& name);
    void start(const Model& model, const std::string& name);

    ctr::Welding weld_;
    MeshRules rules_;
    Scene scene_;
    std::uint64_t vertices_ = 0;  ///< Of all placements, before any triangle is dropped.
    std::uint64_t triangles_ = 0; ///< Likewise.
    bool started_ = false;
};

/// The meshes of the objects of a name. Throws InvalidArgument, naming the nearest, where there is
/// none.
MeshList MeshesOf(const Scene& scene, const std::string& object);

} // namespace kxcontour
