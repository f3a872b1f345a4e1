// Copies meshes into plain buffers and multiplies transformations down the node tree.
#include "import/importer/SceneConversion.h"

#include "drawing/scene/CoordinateSteps.h"
#include "drawing/scene/Placing.h"
#include "drawing/scene/SharedVertices.h"
#include "import/formats/FileModel.h"
#include "import/formats/FormatRules.h"
#include "import/importer/ObjectName.h"
#include "import/importer/StatedUnit.h"

#include <assimp/commonMetaData.h>
#include <assimp/scene.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace kxcontour {
namespace {

using Matrix = Wm4::Matrix4<double>;

std::string ImporterName(const aiScene& scene) {
    aiString name;
    if (scene.mMetaData != nullptr) {
        scene.mMetaData->Get(AI_METADATA_SOURCE_FORMAT, name);
    }
    return name.C_Str();
}

/// The importer's column-vector matrix as one for row vectors; what is not affine is dropped.
Matrix RowVectorMatrix(const aiMatrix4x4& m) {
    return Matrix(
        static_cast<double>(m.a1), static_cast<double>(m.b1), static_cast<double>(m.c1), 0.0,
        static_cast<double>(m.a2), static_cast<double>(m.b2), static_cast<double>(m.c2), 0.0,
        static_cast<double>(m.a3), static_cast<double>(m.b3), static_cast<double>(m.c3), 0.0,
        static_cast<double>(m.a4), static_cast<double>(m.b4), static_cast<double>(m.c4), 1.0);
}

/// The double with the same shortest decimal text as the float: 0.0254, not the float nearest to
/// it.
double AsWritten(float value) {
    std::array<char, 64> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    double written = static_cast<double>(value);
    std::from_chars(text.data(), end, written);
    return written;
}

bool IsLength(double value) {
    return std::isfinite(value) && value > 0.0;
}

/// The axis that a rotation by right angles takes to y; none for any other matrix.
std::optional<UpAxis> AxisTakenUp(const Matrix& turn) {
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            const double entry = std::abs(turn[row][column]);
            if (entry != 0.0 && entry != 1.0) {
                return std::nullopt;
            }
        }
    }
    for (int axis = 0; axis < 3; ++axis) {
        if (turn[axis][1] == 1.0) {
            return static_cast<UpAxis>(axis);
        }
    }
    return std::nullopt;
}

/// FBX files state their up axis (0 to 2) and the importer passes it on without turning the scene.
UpAxis StatedAxis(const aiScene& scene) {
    std::int32_t axis = 1;
    const bool stated = scene.mMetaData != nullptr && scene.mMetaData->Get("UpAxis", axis);
    return stated && axis >= 0 && axis <= 2 ? static_cast<UpAxis>(axis) : UpAxis::Y;
}

/// How the coordinates of the file, the scene and the world are related.
struct Frames {
    Matrix root{false};        ///< The root's own transformation, without the importer's scaling.
    Matrix sceneToFile{false}; ///< Reverts the importer's rotation.
    Matrix fileToWorld{false};
    double metresPerUnit = 1.0; ///< What the importer scaled the root by.
};

/// Removes a scaling from the root, and rounds quarter turns that were computed by sines and
/// cosines.
void TakeBackScaling(Frames& frames) {
    Matrix& root = frames.root;
    const double factor =
        std::sqrt(root[0][0] * root[0][0] + root[0][1] * root[0][1] + root[0][2] * root[0][2]);
    if (!IsLength(factor)) {
        return;
    }
    frames.metresPerUnit = AsWritten(static_cast<float>(factor));
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 3; ++column) {
            root[row][column] /= factor;
            const double whole = std::round(root[row][column]);
            if (row < 3 && std::abs(root[row][column] - whole) < 1e-7) {
                root[row][column] = whole;
            }
        }
    }
}

Frames FindFrames(const aiScene& scene, const FormatRules& rules, std::optional<UpAxis> wanted) {
    Frames frames;
    frames.root = RowVectorMatrix(scene.mRootNode->mTransformation);
    if (rules.unit == SceneUnit::ScaledRoot) {
        TakeBackScaling(frames);
    }
    UpAxis up = rules.axes == SceneAxes::ZUp      ? UpAxis::Z
                : rules.axes == SceneAxes::Stated ? StatedAxis(scene)
                                                  : UpAxis::Y;
    frames.fileToWorld = StandUp(up);
    if (rules.axes == SceneAxes::TurnedFromZ || rules.axes == SceneAxes::TurnedByRoot) {
        const Matrix turn =
            rules.axes == SceneAxes::TurnedByRoot ? frames.root : StandUp(UpAxis::Z);
        if (const std::optional<UpAxis> taken = AxisTakenUp(turn)) {
            up = *taken;
            frames.fileToWorld = turn;
            frames.sceneToFile = turn.Transpose();
        }
    }
    if (wanted && *wanted != up) {
        frames.fileToWorld = StandUp(*wanted);
    }
    return frames;
}

/// The length of a unit that the scene or the file states; none when they do not.
std::optional<double>
StatedUnit(const aiScene& scene, SceneUnit unit, double metresPerUnit, std::string_view bytes) {
    float centimetres = 1.0F;
    switch (unit) {
    case SceneUnit::Unknown:
        return std::nullopt;
    case SceneUnit::Metre:
        return 1000.0;
    case SceneUnit::ScaledRoot:
        return 1000.0 * metresPerUnit;
    case SceneUnit::Metadata:
        if (scene.mMetaData != nullptr) {
            scene.mMetaData->Get("UnitScaleFactor", centimetres);
        }
        return IsLength(static_cast<double>(centimetres)) ? 10.0 * AsWritten(centimetres) : 10.0;
    case SceneUnit::InFile:
        break;
    }
    return StatedMillimetresPerUnit(ImporterName(scene), bytes);
}

std::size_t TriangleCount(const aiMesh& mesh) {
    return static_cast<std::size_t>(
        std::ranges::count(std::span(mesh.mFaces, mesh.mNumFaces), 3U, &aiFace::mNumIndices));
}

std::size_t LeftOutPolygons(const aiScene& scene) {
    std::size_t count = 0;
    for (const aiMesh* mesh : std::span(scene.mMeshes, scene.mNumMeshes)) {
        count += mesh->mNumFaces - TriangleCount(*mesh);
    }
    return count;
}

Wm4::Vector3<float> ToVector(const aiVector3D& v) {
    return {v.x, v.y, v.z};
}

kx::kxPointer<kx::kxVertexBuffer> CopyVertices(const aiMesh& mesh, bool withNormals) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(withNormals ? 3 : 0);
    const int count = static_cast<int>(mesh.mNumVertices);
    kx::kxPointer<kx::kxVertexBuffer> vertices(new kx::kxVertexBuffer(attributes, count));
    for (int i = 0; i < count; ++i) {
        vertices->Position3(i) = ToVector(mesh.mVertices[i]);
    }
    for (int i = 0; withNormals && i < count; ++i) {
        vertices->Normal3(i) = ToVector(mesh.mNormals[i]);
    }
    return vertices;
}

kx::kxPointer<kx::kxIndexBuffer> CopyTriangles(const aiMesh& mesh, std::size_t triangleCount) {
    kx::kxPointer<kx::kxIndexBuffer> triangles(
        new kx::kxIndexBuffer(static_cast<int>(3 * triangleCount), kx::IBT_TRIANGLES));
    unsigned int* next = triangles->GetData();
    for (const aiFace& face : std::span(mesh.mFaces, mesh.mNumFaces)) {
        if (face.mNumIndices == 3) {
            next = std::copy_n(face.mIndices, 3, next);
        }
    }
    return triangles;
}

/// The name of a mesh; the glTF importer numbers the parts of one as "name-0", "name-1".
std::string NameOfMesh(const aiMesh& mesh, bool isPart) {
    std::string name = mesh.mName.C_Str();
    const std::size_t dash = name.rfind('-');
    if (isPart && dash != std::string::npos && dash + 1 < name.size() &&
        name.find_first_not_of("0123456789", dash + 1) == std::string::npos) {
        name.resize(dash);
    }
    return StatedName(name);
}

/// Walks the node tree and collects shapes, placements and objects.
class SceneWalk {
public:
    SceneWalk(const aiScene& scene, const ModelRequest& request)
        : scene_(scene), request_(request), format_(ImporterName(scene)), rules_(RulesOf(format_)),
          shapeOfMesh_(scene.mNumMeshes, kUnseen) {}

    Model run(std::string_view bytes) {
        model_.format = format_;
        model_.leftOutPolygons = LeftOutPolygons(scene_);
        Frames frames;
        if (scene_.mRootNode != nullptr) {
            frames = FindFrames(scene_, rules_, request_.up);
            visitTree(frames.root * frames.sceneToFile * frames.fileToWorld);
        }
        model_.fileToWorld = frames.fileToWorld;
        setUnit(StatedUnit(scene_, rules_.unit, frames.metresPerUnit, bytes));
        return std::move(model_);
    }

private:
    static constexpr std::size_t kUnseen = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t kNoTriangles = kUnseen - 1;

    /// A node with the properties that it inherits.
    struct Visit {
        const aiNode* node;
        Matrix world;     ///< Its own transformation included.
        std::string name; ///< Of the nearest node above that states one; the root does not count.
    };

    void setUnit(std::optional<double> stated) {
        if (request_.unit) {
            stated = InMillimetres(*request_.unit);
        }
        model_.unitStated = stated.has_value();
        model_.millimetresPerUnit = stated.value_or(1.0);
    }

    /// Depth first, children in order. With an explicit stack, since the depth of the tree is up to
    /// the file.
    void visitTree(const Matrix& root) {
        std::vector<Visit> stack{{scene_.mRootNode, root, ""}};
        while (!stack.empty()) {
            const Visit visit = std::move(stack.back());
            stack.pop_back();
            const aiNode& node = *visit.node;
            const std::string own = nameOf(node);
            placeMeshes(node, visit.world, own.empty() ? visit.name : own);
            const bool inherit = own.empty() || visit.node == scene_.mRootNode;
            for (unsigned int i = node.mNumChildren; i-- > 0;) {
                const aiNode* child = node.mChildren[i];
                stack.push_back({child, RowVectorMatrix(child->mTransformation) * visit.world,
                                 inherit ? visit.name : own});
            }
        }
    }

    /// The name that the file gives to a node, or else to its first mesh.
    std::string nameOf(const aiNode& node) const {
        const std::string name = node.mName.C_Str();
        std::string stated = name == request_.path ? std::string() : StatedName(name);
        if (!stated.empty() || node.mNumMeshes == 0 || node.mMeshes[0] >= scene_.mNumMeshes) {
            return stated;
        }
        return NameOfMesh(*scene_.mMeshes[node.mMeshes[0]], node.mNumMeshes > 1);
    }

    void placeMeshes(const aiNode& node, const Matrix& world, const std::string& name) {
        const std::size_t before = model_.placements.size();
        for (unsigned int i = 0; i < node.mNumMeshes; ++i) {
            place(node.mMeshes[i], world);
        }
        if (model_.placements.size() > before) {
            model_.objects.push_back(name);
        }
    }

    void place(unsigned int mesh, const Matrix& world) {
        if (mesh >= scene_.mNumMeshes) {
            return;
        }
        if (shapeOfMesh_[mesh] == kUnseen) {
            shapeOfMesh_[mesh] = addShape(*scene_.mMeshes[mesh]);
        }
        if (shapeOfMesh_[mesh] != kNoTriangles) {
            noteSteps(steps_[shapeOfMesh_[mesh]], world);
            model_.placements.push_back({shapeOfMesh_[mesh], model_.objects.size(), world});
        }
    }

    /// Steps along the axes of a mesh are as long in the world as its axes are there.
    void noteSteps(const FloatSteps& steps, const Matrix& world) {
        for (int axis = 0; axis < 3; ++axis) {
            const double length =
                std::sqrt(world[axis][0] * world[axis][0] + world[axis][1] * world[axis][1] +
                          world[axis][2] * world[axis][2]);
            const auto at = static_cast<std::size_t>(axis);
            if (std::isfinite(length * steps.all[at])) {
                model_.floatStep = std::max(model_.floatStep, length * steps.all[at]);
                model_.coordinateStep = std::max(model_.coordinateStep, length * steps.lost[at]);
            }
        }
    }

    std::size_t addShape(const aiMesh& mesh) {
        const std::size_t triangleCount = TriangleCount(mesh);
        if (triangleCount == 0 || mesh.mVertices == nullptr) {
            return kNoTriangles;
        }
        const std::size_t limit = std::numeric_limits<int>::max();
        if (triangleCount > limit / 3 || mesh.mNumVertices > limit) {
            RefuseModel(request_, "one of its meshes has too many triangles");
        }
        const bool withNormals = mesh.HasNormals() && rules_.normalsShowCreases;
        model_.shapes.push_back(
            {CopyVertices(mesh, withNormals), CopyTriangles(mesh, triangleCount)});
        steps_.push_back(MeasureSteps(mesh.mNumVertices, [&](std::size_t i) {
            const aiVector3D& p = mesh.mVertices[i];
            return std::array<double, 3>{static_cast<double>(p.x), static_cast<double>(p.y),
                                         static_cast<double>(p.z)};
        }));
        // A closed mesh has half as many vertices as triangles.
        if (!withNormals && mesh.mNumVertices > triangleCount) {
            ShareVertices(model_.shapes.back());
        }
        return model_.shapes.size() - 1;
    }

    const aiScene& scene_;
    const ModelRequest& request_;
    std::string format_;
    FormatRules rules_;
    std::vector<std::size_t> shapeOfMesh_;
    std::vector<FloatSteps> steps_; ///< Of each shape.
    Model model_;
};

} // namespace

Model ModelFromScene(const aiScene& scene, const ModelRequest& request, std::string_view bytes) {
    return SceneWalk(scene, request).run(bytes);
}

} // namespace kxcontour
