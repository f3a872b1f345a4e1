// Brings models to one unit and builds their meshes.
#include "drawing/scene/Scene.h"

#include <ctr/BakedTriangles.h>

#include <kxDrawing/Errors.h>

#include "drawing/common/LengthUnit.h"
#include "drawing/common/NearestName.h"
#include "drawing/scene/CoordinateSteps.h"
#include "drawing/scene/Normals.h"
#include "drawing/scene/Placing.h"
#include "drawing/scene/SurfaceRepair.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

namespace kxcontour {
namespace {

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

} // namespace

SceneBuilder::SceneBuilder(const SurfaceRules& rules) : weld_(rules.weld) {
    rules_.creaseAngle = rules.creaseAngle;
}

void SceneBuilder::addDrawn(Model model, const std::string& name) {
    for (const std::size_t object : add(model, name, true, scene_.meshes)) {
        scene_.objectOf.push_back(scene_.objects.size() + object);
    }
    std::move(model.objects.begin(), model.objects.end(), std::back_inserter(scene_.objects));
}

void SceneBuilder::addOccluder(Model model, const std::string& name) {
    add(model, name, false, scene_.occluders);
}

Scene SceneBuilder::finish() {
    return std::move(scene_);
}

std::vector<std::size_t>
SceneBuilder::add(Model& model, const std::string& name, bool drawn, MeshList& meshes) {
    count(model, name);
    clean(model, name);
    if (!model.unitStated) {
        scene_.withoutUnit.push_back(name);
    }
    if (!model.refusedFile.empty()) {
        scene_.refusedFiles.push_back(name + ": " + model.refusedFile);
    }
    scene_.sideFiles.insert(scene_.sideFiles.end(), model.sideFiles.begin(), model.sideFiles.end());
    if (!std::exchange(started_, true)) {
        start(model, name);
    }
    rules_.scale = model.millimetresPerUnit / scene_.millimetresPerUnit;
    rules_.drawn = drawn;
    return build(model, name, meshes);
}

/// Placements share buffers, but each is baked for itself: a small file can ask for more than can
/// be numbered.
void SceneBuilder::count(const Model& model, const std::string& name) {
    for (const Placement& placement : model.placements) {
        const Shape& shape = model.shapes[placement.shape];
        vertices_ += static_cast<std::uint64_t>(shape.vertices->GetVertexQuantity());
        triangles_ += static_cast<std::uint64_t>(shape.triangles->GetIndexQuantity()) / 3;
    }
    if (vertices_ > ctr::BakedTriangles::kMaxVertices ||
        triangles_ > ctr::BakedTriangles::kMaxTriangles) {
        throw kxdrawing::CannotRead(name + ": too large to draw: " + std::to_string(triangles_) +
                                    " triangles with " + std::to_string(vertices_) +
                                    " vertices, counted once per placement");
    }
}

/// Drops what cannot be drawn, and notes what there is to say about it.
void SceneBuilder::clean(Model& model, const std::string& name) {
    const std::size_t triangles = TriangleCountOf(model);
    const DroppedTriangles dropped = CleanShapes(model);
    const double step = CoarseStep(model, HasCollapsed(dropped, triangles));
    const std::string length = DescribeLength(step, model.millimetresPerUnit);
    if (step > 0.0 && dropped.total() == triangles) {
        throw kxdrawing::NothingToDraw(name + ": nothing to draw: coordinates are multiples of " +
                                       length + ", and none of " + std::to_string(triangles) +
                                       " triangles has an area left");
    }
    if (step > 0.0) {
        scene_.coarse.push_back(name + ": " + DescribeLoss(length, dropped, triangles));
    }
    Add(scene_.dropped, dropped);
    DropFlatNormals(model);
}

void SceneBuilder::start(const Model& model, const std::string& name) {
    scene_.name = name;
    scene_.millimetresPerUnit = model.millimetresPerUnit;
    scene_.unitStated = model.unitStated;
    scene_.fileToWorld = model.fileToWorld;
    scene_.origin = ChooseOrigin(model);
    rules_.origin = scene_.origin;
}

std::vector<std::size_t>
SceneBuilder::build(Model& model, const std::string& name, MeshList& meshes) {
    RepairedSurfaces repaired = RepairSurfaces(model, weld_);
    for (const Placement& placement : model.placements) {
        Add(scene_.surface, repaired.reports[placement.shape]);
    }
    BuiltMeshes built = BuildMeshes(model, rules_, std::move(repaired.surfaces));
    if (built.meshes.empty()) {
        throw kxdrawing::NothingToDraw(
            name + ": nothing to draw: every triangle is degenerate, not finite or has "
                   "an index out of range");
    }
    Add(scene_.dropped, built.dropped);
    for (kx::kxPointer<kx::kxTriMesh>& mesh : built.meshes) {
        scene_.triangles +=
            static_cast<std::size_t>(mesh->GetIndexBuffer()->GetIndexQuantity()) / 3;
        meshes.push_back(std::move(mesh));
    }
    return std::move(built.objects);
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
        throw kxdrawing::InvalidArgument(
            "there is no object '" + object + "' to fit" +
            (nearest.empty() ? "; --info lists the objects" : "; did you mean '" + nearest + "'?"));
    }
    return meshes;
}

} // namespace kxcontour
