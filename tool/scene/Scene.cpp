// Reads models, brings them to one unit and builds their meshes.
#include "scene/Scene.h"

#include "common/Failure.h"
#include "common/NearestName.h"
#include "model/CoordinateSteps.h"
#include "model/ImportProcess.h"
#include "model/ModelInfo.h"
#include "scene/FlatNormals.h"
#include "scene/Placing.h"
#include "scene/SurfaceRepair.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kxcontour {
namespace {

Model Import(const InputOptions& input, const std::string& path) {
    const ModelRequest request = RequestFor(input, path);
    Model model = ImportModel(request);
    if (model.placements.empty()) {
        throw Failure(ExitCode::NothingToDraw,
                      NameOf(request) + ": nothing to draw: it has no triangles");
    }
    return model;
}

BuiltMeshes
Build(const Model& model, const MeshRules& rules, SidesOfShapes sides, const std::string& name) {
    BuiltMeshes built = BuildMeshes(model, rules, std::move(sides));
    if (built.meshes.empty()) {
        throw Failure(ExitCode::NothingToDraw,
                      name + ": nothing to draw: every triangle is degenerate, not finite or has "
                             "an index out of range");
    }
    return built;
}

std::size_t TriangleCountOf(const Model& model) {
    std::size_t count = 0;
    for (const Shape& shape : model.shapes) {
        count += static_cast<std::size_t>(shape.triangles->GetIndexQuantity()) / 3;
    }
    return count;
}

/// Of everything where it is placed.
Wm4::Vector3<double> SizeOf(const Model& model) {
    const Box box = WorldBox(model);
    return box.isEmpty() ? Wm4::Vector3<double>(0.0, 0.0, 0.0) : box.size();
}

/// What rounding has done to a model, and to its triangles where it was a tenth of them or more.
std::string DescribeLoss(const Model& model, std::size_t triangles, std::size_t degenerate) {
    std::string text = "coordinates are multiples of " +
                       DescribeLength(model.coordinateStep, model.millimetresPerUnit) +
                       ", too coarse for the size of the model: lines are displaced";
    if (10 * degenerate >= triangles && degenerate > 0) {
        text += ", and " + std::to_string(degenerate) + " of " + std::to_string(triangles) +
                " triangles have no area left: lines are missing";
    }
    return text;
}

/// Gathers the models of a scene one by one; names are for messages.
class SceneBuilder {
public:
    SceneBuilder(const InputOptions& input,
                 std::optional<double> creaseAngle,
                 const StageObserver& observer)
        : input_(input), observer_(observer) {
        rules_.creaseAngle = creaseAngle;
    }

    void addDrawn(const std::string& path) { addDrawn(read(path), nameOf(path)); }

    void addDrawn(Model model, const std::string& name) {
        prepare(model, name);
        rules_.drawn = true;
        BuiltMeshes built = build(model, name);
        for (const std::size_t object : built.objects) {
            scene_.objectOf.push_back(scene_.objects.size() + object);
        }
        std::move(model.objects.begin(), model.objects.end(), std::back_inserter(scene_.objects));
        take(scene_.meshes, built);
    }

    void addOccluder(const std::string& path) {
        Model model = read(path);
        prepare(model, nameOf(path));
        rules_.drawn = false;
        BuiltMeshes built = build(model, nameOf(path));
        take(scene_.occluders, built);
    }

    Scene finish() { return std::move(scene_); }

private:
    std::string nameOf(const std::string& path) const { return NameOf(RequestFor(input_, path)); }

    Model read(const std::string& path) {
        enter("read");
        return Import(input_, path);
    }

    void prepare(Model& model, const std::string& name) {
        enter("prepare");
        const std::size_t triangles = TriangleCountOf(model);
        const DroppedTriangles dropped = CleanShapes(model);
        scene_.dropped += dropped;
        DropFlatNormals(model);
        if (model.coordinateStep > 0.0 && IsCoarse(model.coordinateStep, SizeOf(model))) {
            scene_.coarse.push_back(name + ": " +
                                    DescribeLoss(model, triangles, dropped.degenerate));
        }
        if (!model.unitStated) {
            scene_.withoutUnit.push_back(name);
        }
        if (!started_) {
            start(model);
        }
        rules_.scale = model.millimetresPerUnit / scene_.millimetresPerUnit;
    }

    void enter(const char* stage) const {
        if (observer_) {
            observer_(stage);
        }
    }

    BuiltMeshes build(Model& model, const std::string& name) {
        RepairedSurfaces repaired = RepairSurfaces(model, input_.weld);
        for (const Placement& placement : model.placements) {
            scene_.surface += repaired.reports[placement.shape];
        }
        return Build(model, rules_, std::move(repaired.sides), name);
    }

    /// The first model decides about unit, axes and origin.
    void start(const Model& model) {
        started_ = true;
        scene_.millimetresPerUnit = model.millimetresPerUnit;
        scene_.unitStated = model.unitStated;
        scene_.fileToWorld = model.fileToWorld;
        scene_.origin = ChooseOrigin(model);
        rules_.origin = scene_.origin;
    }

    void take(MeshList& meshes, BuiltMeshes& built) {
        scene_.dropped += built.dropped;
        for (kx::kxPointer<kx::kxTriMesh>& mesh : built.meshes) {
            scene_.triangles +=
                static_cast<std::size_t>(mesh->GetIndexBuffer()->GetIndexQuantity()) / 3;
            meshes.push_back(std::move(mesh));
        }
    }

    const InputOptions& input_;
    const StageObserver& observer_;
    MeshRules rules_;
    Scene scene_;
    bool started_ = false;
};

} // namespace

ModelRequest RequestFor(const InputOptions& input, const std::string& path) {
    return {path, path == "-" ? input.format : std::nullopt, input.unit, input.up};
}

Scene LoadScene(const InputOptions& input,
                std::optional<double> creaseAngle,
                const StageObserver& observer) {
    SceneBuilder builder(input, creaseAngle, observer);
    for (const std::string& path : input.models) {
        builder.addDrawn(path);
    }
    for (const std::string& path : input.occluders) {
        builder.addOccluder(path);
    }
    return builder.finish();
}

Scene MakeScene(Model model, const InputOptions& input, std::optional<double> creaseAngle) {
    const StageObserver nobody;
    SceneBuilder builder(input, creaseAngle, nobody);
    builder.addDrawn(std::move(model), "model");
    return builder.finish();
}

MeshList MeshesOf(const Scene& scene, const std::string& object) {
    MeshList meshes;
    for (std::size_t i = 0; i < scene.meshes.size(); ++i) {
        if (scene.objects[scene.objectOf[i]] == object) {
            meshes.push_back(scene.meshes[i]);
        }
    }
    if (meshes.empty()) {
        const std::string nearest = NearestName(object, scene.objects);
        throw Failure(ExitCode::Usage, "there is no object '" + object + "' to fit" +
                                           (nearest.empty() ? "; --info lists the objects"
                                                            : "; did you mean '" + nearest + "'?"));
    }
    return meshes;
}

} // namespace kxcontour
