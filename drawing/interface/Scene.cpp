// Meshes of callers as models in memory, built when they are first drawn.
#include <kxDrawing/Errors.h>

#include "drawing/interface/SceneAccess.h"
#include "drawing/scene/Placing.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>
#include <optional>
#include <utility>

namespace kxdrawing {

/// The meshes that have been added to a scene.
struct Meshes {
    SceneOptions options;
    kxcontour::Model drawn;
    kxcontour::Model occluders;
    LeftOutTriangles leftOut;
    std::size_t triangles = 0;
};

/// Shared by copies of a scene until one of them changes.
struct Scene::Content {
    Meshes meshes;
    std::mutex building; ///< Guards built.
    std::optional<kxcontour::Scene> built;
};

namespace {

using kxcontour::Box;
using kxcontour::Model;
using kxcontour::Shape;

void Require(bool holds, const char* message) {
    if (!holds) {
        throw InvalidArgument(message);
    }
}

void Check(const Mesh& mesh) {
    constexpr std::size_t kMost = std::numeric_limits<int>::max();
    Require(mesh.positions.size() % 3 == 0, "the number of coordinates is not a multiple of three");
    Require(mesh.triangles.size() % 3 == 0, "the number of corners is not a multiple of three");
    Require(mesh.positions.size() / 3 <= kMost && mesh.triangles.size() <= kMost,
            "the mesh has too many vertices or triangles");
    Require(std::all_of(mesh.placement.begin(), mesh.placement.end(),
                        [](double entry) { return std::isfinite(entry); }),
            "the placement is not finite");
    Require(mesh.placement[12] == 0.0 && mesh.placement[13] == 0.0 && mesh.placement[14] == 0.0 &&
                mesh.placement[15] == 1.0,
            "the placement is not affine");
    Require(!mesh.creaseAngle || (*mesh.creaseAngle > 0.0 && *mesh.creaseAngle < 180.0),
            "the crease angle is not between 0 and 180 degrees");
    if (mesh.featureEdges) {
        const std::size_t count = mesh.positions.size() / 3;
        Require(mesh.featureEdges->size() <= kMost / 2, "the mesh has too many feature edges");
        Require(std::all_of(mesh.featureEdges->begin(), mesh.featureEdges->end(),
                            [&](const auto& edge) { return edge[0] < count && edge[1] < count; }),
                "a feature edge has a vertex number out of range");
    }
}

Box BoxOf(std::span<const double> positions) {
    Box box;
    for (std::size_t i = 0; i < positions.size(); i += 3) {
        const Wm4::Vector3<double> point(positions[i], positions[i + 1], positions[i + 2]);
        if (kxcontour::IsFinite(point)) {
            box.add(point);
        }
    }
    return box;
}

kx::kxPointer<kx::kxVertexBuffer> Vertices(std::span<const double> positions,
                                           const Wm4::Vector3<double>& origin) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    const int count = static_cast<int>(positions.size() / 3);
    kx::kxPointer<kx::kxVertexBuffer> vertices(new kx::kxVertexBuffer(attributes, count));
    for (int i = 0; i < count; ++i) {
        const double* const p = positions.data() + 3 * static_cast<std::size_t>(i);
        vertices->Position3(i) = {static_cast<float>(p[0] - origin[0]),
                                  static_cast<float>(p[1] - origin[1]),
                                  static_cast<float>(p[2] - origin[2])};
    }
    return vertices;
}

kx::kxPointer<kx::kxIndexBuffer> Triangles(std::span<const std::uint32_t> corners) {
    kx::kxPointer<kx::kxIndexBuffer> triangles(
        new kx::kxIndexBuffer(static_cast<int>(corners.size()), kx::IBT_TRIANGLES));
    std::copy(corners.begin(), corners.end(), triangles->GetData());
    return triangles;
}

kx::kxPointer<kx::kxIndexBuffer> Creases(std::span<const std::array<std::uint32_t, 2>> edges) {
    kx::kxPointer<kx::kxIndexBuffer> creases(
        new kx::kxIndexBuffer(static_cast<int>(2 * edges.size()), kx::IBT_LINES));
    unsigned int* next = creases->GetData();
    for (const auto& edge : edges) {
        next = std::copy(edge.begin(), edge.end(), next);
    }
    return creases;
}

/// Vertices lie around an origin near them, as single precision has few digits far away.
Shape ShapeOf(const Mesh& mesh, const Wm4::Vector3<double>& origin) {
    Shape shape{Vertices(mesh.positions, origin), Triangles(mesh.triangles)};
    if (mesh.featureEdges) {
        shape.creases = Creases(*mesh.featureEdges);
    }
    shape.creaseAngle = mesh.creaseAngle;
    return shape;
}

Wm4::Matrix4<double>
WorldOf(const Matrix& placement, const Wm4::Vector3<double>& origin, UpAxis up) {
    Wm4::Matrix4<double> moved(false);
    for (int axis = 0; axis < 3; ++axis) {
        moved[3][axis] = origin[axis];
    }
    return moved * kxcontour::RowVectorMatrix(placement) * kxcontour::StandUp(up);
}

Model EmptyModel(const SceneOptions& options) {
    Model model;
    model.millimetresPerUnit = options.millimetresPerUnit;
    model.unitStated = true;
    model.fileToWorld = kxcontour::StandUp(options.up);
    return model;
}

kxcontour::Scene Build(const Meshes& meshes) {
    if (meshes.drawn.placements.empty()) {
        throw NothingToDraw("nothing to draw: the scene has no mesh");
    }
    kxcontour::SurfaceRules rules;
    if (meshes.options.weld == Weld::Off) {
        rules.weld.mode = ctr::Welding::Mode::Off;
    }
    kxcontour::SceneBuilder builder(rules);
    builder.addDrawn(meshes.drawn, "scene");
    if (!meshes.occluders.placements.empty()) {
        builder.addOccluder(meshes.occluders, "occluders");
    }
    return builder.finish();
}

} // namespace

const kxcontour::Scene& SceneAccess::prepared(const Scene& scene) {
    Scene::Content& content = *scene.content_;
    const std::lock_guard lock(content.building);
    if (!content.built) {
        content.built = Build(content.meshes);
    }
    return *content.built;
}

Scene::Scene(const SceneOptions& options) : content_(std::make_shared<Content>()) {
    Require(std::isfinite(options.millimetresPerUnit) && options.millimetresPerUnit > 0.0,
            "the millimetres per unit are not positive");
    content_->meshes = {options, EmptyModel(options), EmptyModel(options), {}, 0};
}

Scene::~Scene() = default;
Scene::Scene(const Scene& other) = default;
Scene& Scene::operator=(const Scene& other) = default;
Scene::Scene(Scene&& other) noexcept = default;
Scene& Scene::operator=(Scene&& other) noexcept = default;

/// The content for this scene alone, to be built anew.
Scene::Content& Scene::ownContent() {
    if (content_.use_count() > 1) {
        auto own = std::make_shared<Content>();
        own->meshes = content_->meshes;
        content_ = std::move(own);
    }
    content_->built.reset();
    return *content_;
}

std::size_t Scene::add(const Mesh& mesh) {
    Check(mesh);
    const Wm4::Vector3<double> origin = kxcontour::RoundOrigin(BoxOf(mesh.positions));
    Shape shape = ShapeOf(mesh, origin);
    const ctr::DroppedTriangles dropped = ctr::CleanTriangles(*shape.vertices, *shape.triangles);

    Meshes& meshes = ownContent().meshes;
    meshes.leftOut.badIndex += dropped.badIndex;
    meshes.leftOut.notFinite += dropped.notFinite;
    meshes.leftOut.degenerate += dropped.degenerate;
    meshes.triangles += mesh.triangles.size() / 3;
    Model& model = mesh.isOccluder ? meshes.occluders : meshes.drawn;
    const std::size_t object = model.objects.size();
    model.placements.push_back(
        {model.shapes.size(), object, WorldOf(mesh.placement, origin, meshes.options.up)});
    model.objects.push_back(mesh.name);
    model.shapes.push_back(std::move(shape));
    return object;
}

std::size_t Scene::triangles() const {
    return content_->meshes.triangles;
}

LeftOutTriangles Scene::leftOut() const {
    return content_->meshes.leftOut;
}

} // namespace kxdrawing
