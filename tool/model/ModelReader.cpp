// The importer's scene, turned into plain buffers: the only file that knows the importer.
#include "model/ModelReader.h"

#include "common/Failure.h"
#include "model/Completeness.h"
#include "model/FormatRules.h"

#include <assimp/Importer.hpp>
#include <assimp/commonMetaData.h>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <cstdint>
#include <limits>
#include <utility>

namespace kxcontour {
namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
    throw Failure(ExitCode::Unreadable, path + ": cannot read the model: " + why);
}

void Configure(Assimp::Importer& importer) {
    // A skeleton without a mesh would be shown as a mesh of bones.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
    // Rooms of a building are no bodies; pictures, lights and movements draw no lines.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_IFC_SKIP_SPACE_REPRESENTATIONS, true);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_TEXTURES, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_CAMERAS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_LIGHTS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_ANIMATIONS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_MD5_NO_ANIM_AUTOLOAD, true);
}

std::string ImporterName(const aiScene& scene) {
    aiString name;
    if (scene.mMetaData != nullptr) {
        scene.mMetaData->Get(AI_METADATA_SOURCE_FORMAT, name);
    }
    return name.C_Str();
}

/// FBX files state their up axis (0 to 2) and the importer passes it on without turning the scene.
bool StatesZUp(const aiScene& scene) {
    std::int32_t axis = 0;
    return scene.mMetaData != nullptr && scene.mMetaData->Get("UpAxis", axis) && axis == 2;
}

/// The importer's column-vector matrix as one for row vectors; what is not affine is dropped.
Wm4::Matrix4<double> RowVectorMatrix(const aiMatrix4x4& m) {
    return Wm4::Matrix4<double>(
        static_cast<double>(m.a1), static_cast<double>(m.b1), static_cast<double>(m.c1), 0.0,
        static_cast<double>(m.a2), static_cast<double>(m.b2), static_cast<double>(m.c2), 0.0,
        static_cast<double>(m.a3), static_cast<double>(m.b3), static_cast<double>(m.c3), 0.0,
        static_cast<double>(m.a4), static_cast<double>(m.b4), static_cast<double>(m.c4), 1.0);
}

/// Takes (x, y, z) with z up to (x, z, -y) with y up.
Wm4::Matrix4<double> StandUp() {
    return Wm4::Matrix4<double>(1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1);
}

std::size_t TriangleCount(const aiMesh& mesh) {
    std::size_t count = 0;
    for (unsigned int i = 0; i < mesh.mNumFaces; ++i) {
        count += mesh.mFaces[i].mNumIndices == 3 ? 1 : 0;
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
    for (unsigned int i = 0; i < mesh.mNumFaces; ++i) {
        const aiFace& face = mesh.mFaces[i];
        if (face.mNumIndices == 3) {
            *next++ = face.mIndices[0];
            *next++ = face.mIndices[1];
            *next++ = face.mIndices[2];
        }
    }
    return triangles;
}

/// Walks the node tree and gathers what is to be drawn.
class SceneWalk {
public:
    SceneWalk(const aiScene& scene, const std::string& path)
        : scene_(scene), path_(path), rules_(RulesOf(ImporterName(scene))),
          shapeOfMesh_(scene.mNumMeshes, kUnseen) {}

    Model run() {
        if (scene_.mRootNode == nullptr) {
            return {};
        }
        const bool standUp = rules_.zUp || StatesZUp(scene_);
        visitTree(standUp ? StandUp() : Wm4::Matrix4<double>(false));
        return std::move(model_);
    }

private:
    static constexpr std::size_t kUnseen = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t kNoTriangles = kUnseen - 1;

    /// A node with the transformation of all above it.
    struct Visit {
        const aiNode* node;
        Wm4::Matrix4<double> above;
    };

    /// Depth first, children in order. A stack of our own: files nest nodes as deep as they like.
    void visitTree(const Wm4::Matrix4<double>& root) {
        std::vector<Visit> stack{{scene_.mRootNode, root}};
        while (!stack.empty()) {
            const Visit visit = stack.back();
            stack.pop_back();
            const aiNode& node = *visit.node;
            const Wm4::Matrix4<double> world = RowVectorMatrix(node.mTransformation) * visit.above;
            for (unsigned int i = 0; i < node.mNumMeshes; ++i) {
                place(node.mMeshes[i], world);
            }
            for (unsigned int i = node.mNumChildren; i-- > 0;) {
                stack.push_back({node.mChildren[i], world});
            }
        }
    }

    void place(unsigned int mesh, const Wm4::Matrix4<double>& world) {
        if (mesh >= scene_.mNumMeshes) {
            return;
        }
        if (shapeOfMesh_[mesh] == kUnseen) {
            shapeOfMesh_[mesh] = addShape(*scene_.mMeshes[mesh]);
        }
        if (shapeOfMesh_[mesh] != kNoTriangles) {
            model_.placements.push_back({shapeOfMesh_[mesh], world});
        }
    }

    std::size_t addShape(const aiMesh& mesh) {
        const std::size_t triangleCount = TriangleCount(mesh);
        if (triangleCount == 0 || mesh.mVertices == nullptr) {
            return kNoTriangles;
        }
        const std::size_t limit = std::numeric_limits<int>::max();
        if (triangleCount > limit / 3 || mesh.mNumVertices > limit) {
            Refuse(path_, "one of its meshes has too many triangles");
        }
        const bool withNormals = mesh.HasNormals() && rules_.normalsShowCreases;
        model_.shapes.push_back(
            {CopyVertices(mesh, withNormals), CopyTriangles(mesh, triangleCount)});
        return model_.shapes.size() - 1;
    }

    const aiScene& scene_;
    const std::string& path_;
    FormatRules rules_;
    std::vector<std::size_t> shapeOfMesh_;
    Model model_;
};

/// The importer's own words, in one line.
std::string Reason(const Assimp::Importer& importer, const std::string& path) {
    std::string reason = importer.GetErrorString();
    if (reason.find("No suitable reader") != std::string::npos || reason.empty()) {
        return "it is not a model of a known format";
    }
    if (reason.find("bad_alloc") != std::string::npos) {
        return "it asks for more memory than there is";
    }
    for (char& letter : reason) {
        letter = static_cast<unsigned char>(letter) < ' ' ? ' ' : letter;
    }
    // Some of its messages begin with the path, as ours do.
    const std::string prefix = path + ": ";
    return reason.compare(0, prefix.size(), prefix) == 0 ? reason.substr(prefix.size()) : reason;
}

} // namespace

Model ReadModel(const std::string& path) {
    RequireCompleteFile(path);
    Assimp::Importer importer;
    Configure(importer);
    // Faces are told apart by their size below, so nothing has to sort them into meshes of a kind.
    const aiScene* scene = importer.ReadFile(path, aiProcess_Triangulate);
    if (scene == nullptr) {
        Refuse(path, Reason(importer, path));
    }
    return SceneWalk(*scene, path).run();
}

} // namespace kxcontour
