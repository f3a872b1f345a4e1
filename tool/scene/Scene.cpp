// Reads models, brings them to one unit and builds their meshes.
#include "scene/Scene.h"

#include <ctr/BakedTriangles.h>

#include "common/Failure.h"
#include "common/NearestName.h"
#include "model/CoordinateSteps.h"
#include "model/ImportProcess.h"
#include "model/ModelInfo.h"
#include "scene/FlatNormals.h"
#include "scene/Placing.h"
#include "scene/SurfaceRepair.h"

#include <algorithm>
#include <cstdint>
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

BuiltMeshes Build(const Model& model,
                  const MeshRules& rules,
                  SurfacesOfShapes surfaces,
                  const std::string& name) {
    BuiltMeshes built = BuildMeshes(model, rules, std::move(surfaces));
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

/// Of all vertices: it has to be known of models without an area, too.
Wm4::Vector3<double> SizeOf(const Model& model) {
    const Box box = VertexBox(model);
    return box.isEmpty() ? Wm4::Vector3<double>(0.0, 0.0, 0.0) : box.size();
}

/// How large a part of a model collapsed: a tenth of its triangles or more has no area left.
bool HasCollapsed(const DroppedTriangles& dropped, std::size_t triangles) {
    return dropped.degenerate > 0 && 10 * dropped.degenerate >= triangles;
}

/// The step of coordinates that shows in drawings of the model; 0 where none does. Whether digits
/// were lost cannot be seen where much of the model has collapsed, so that is enough of a sign.
double CoarseStep(const Model& model, bool collapsed) {
    const double step = collapsed ? model.floatStep : model.coordinateStep;
    return step > 0.0 && IsCoarse(step, SizeOf(model)) ? step : 0.0;
}

/// Where something is left of a model.
std::string
DescribeLoss(const std::string& step, const DroppedTriangles& dropped, std::size_t triangles) {
    std::string text = "coordinates are multiples of " + step +
                       ", too coarse for the size of the model: lines are displaced";
    if (HasCollapsed(dropped, triangles)) {
        text += ", and " + std::to_string(dropped.degenerate) + " of " + std::to_string(triangles) +
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

    /// Placements share buffers, but each is baked for itself: a small file can ask for more than
    /// can be numbered.
    void count(const Model& model, const std::string& name) {
        for (const Placement& placement : model.placements) {
            const Shape& shape = model.shapes[placement.shape];
            vertices_ += static_cast<std::uint64_t>(shape.vertices->GetVertexQuantity());
            triangles_ += static_cast<std::uint64_t>(shape.triangles->GetIndexQuantity()) / 3;
        }
        if (vertices_ > ctr::BakedTriangles::kMaxVertices ||
            triangles_ > ctr::BakedTriangles::kMaxTriangles) {
            throw Failure(ExitCode::Unreadable,
                          name + ": too large to draw: " + std::to_string(triangles_) +
                              " triangles with " + std::to_string(vertices_) +
                              " vertices, counted as often as they are placed");
        }
    }

    void prepare(Model& model, const std::string& name) {
        enter("prepare");
        count(model, name);
        clean(model, name);
        if (!model.unitStated) {
            scene_.withoutUnit.push_back(name);
        }
        if (!model.refusedFile.empty()) {
            scene_.refusedFiles.push_back(name + ": " + model.refusedFile);
        }
        scene_.sideFiles.insert(scene_.sideFiles.end(), model.sideFiles.begin(),
                                model.sideFiles.end());
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
            Add(scene_.surface, repaired.reports[placement.shape]);
        }
        return Build(model, rules_, std::move(repaired.surfaces), name);
    }

    /// Drops what cannot be drawn, and notes what there is to say about it.
    void clean(Model& model, const std::string& name) {
        const std::size_t triangles = TriangleCountOf(model);
        const DroppedTriangles dropped = CleanShapes(model);
        const double step = CoarseStep(model, HasCollapsed(dropped, triangles));
        const std::string length = DescribeLength(step, model.millimetresPerUnit);
        if (step > 0.0 && dropped.total() == triangles) {
            throw Failure(ExitCode::NothingToDraw,
                          name + ": nothing to draw: coordinates are multiples of " + length +
                              ", and none of " + std::to_string(triangles) +
                              " triangles has an area left");
        }
        if (step > 0.0) {
            scene_.coarse.push_back(name + ": " + DescribeLoss(length, dropped, triangles));
        }
        Add(scene_.dropped, dropped);
        DropFlatNormals(model);
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
        Add(scene_.dropped, built.dropped);
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
    std::uint64_t vertices_ = 0;  ///< Of all placements, before any triangle is dropped.
    std::uint64_t triangles_ = 0; ///< Likewise.
    bool started_ = false;
};

} // namespace

ModelRequest RequestFor(const InputOptions& input, const std::string& path) {
    return {path, path == "-" ? input.format : std::nullopt, input.unit, input.up, input.reading};
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
