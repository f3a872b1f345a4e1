// Reads models, brings them to one unit and builds their meshes.
#include "scene/Scene.h"

#include "common/Failure.h"
#include "common/NearestName.h"
#include "model/ImportProcess.h"
#include "scene/FlatNormals.h"
#include "scene/Placing.h"

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

BuiltMeshes Build(const Model& model, const MeshRules& rules, const std::string& name) {
    BuiltMeshes built = BuildMeshes(model, rules);
    if (built.meshes.empty()) {
        throw Failure(ExitCode::NothingToDraw,
                      name + ": nothing to draw: every triangle is degenerate, not finite or has "
                             "an index out of range");
    }
    return built;
}

/// Gathers the models of a scene one by one; names are for messages.
class SceneBuilder {
public:
    explicit SceneBuilder(std::optional<double> creaseAngle) { rules_.creaseAngle = creaseAngle; }

    void addDrawn(Model model, const std::string& name) {
        prepare(model, name);
        rules_.drawn = true;
        BuiltMeshes built = Build(model, rules_, name);
        for (const std::size_t object : built.objects) {
            scene_.objectOf.push_back(scene_.objects.size() + object);
        }
        std::move(model.objects.begin(), model.objects.end(), std::back_inserter(scene_.objects));
        take(scene_.meshes, built);
    }

    void addOccluder(Model model, const std::string& name) {
        prepare(model, name);
        rules_.drawn = false;
        BuiltMeshes built = Build(model, rules_, name);
        take(scene_.occluders, built);
    }

    Scene finish() { return std::move(scene_); }

private:
    void prepare(Model& model, const std::string& name) {
        scene_.dropped += CleanShapes(model);
        DropFlatNormals(model);
        if (!model.unitStated) {
            scene_.withoutUnit.push_back(name);
        }
        if (!started_) {
            start(model);
        }
        rules_.scale = model.millimetresPerUnit / scene_.millimetresPerUnit;
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

    MeshRules rules_;
    Scene scene_;
    bool started_ = false;
};

} // namespace

ModelRequest RequestFor(const InputOptions& input, const std::string& path) {
    return {path, path == "-" ? input.format : std::nullopt, input.unit, input.up};
}

Scene LoadScene(const InputOptions& input, std::optional<double> creaseAngle) {
    SceneBuilder builder(creaseAngle);
    for (const std::string& path : input.models) {
        builder.addDrawn(Import(input, path), NameOf(RequestFor(input, path)));
    }
    for (const std::string& path : input.occluders) {
        builder.addOccluder(Import(input, path), NameOf(RequestFor(input, path)));
    }
    return builder.finish();
}

Scene MakeScene(Model model, std::optional<double> creaseAngle) {
    SceneBuilder builder(creaseAngle);
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
