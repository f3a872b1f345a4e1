// OBJ, PLY and STL are read here, all other formats by the importer.
#include "import/ModelReader.h"

#include <kxDrawing/Errors.h>

#include "import/files/LetterCase.h"
#include "import/formats/Completeness.h"
#include "import/formats/FileModel.h"
#include "import/formats/ObjReader.h"
#include "import/formats/PlyReader.h"
#include "import/formats/StlReader.h"
#include "import/importer/ImporterFiles.h"
#include "import/importer/SceneConversion.h"
#include "import/process/ImportProcess.h"

#include <assimp/Importer.hpp>
#include <assimp/MemoryIOWrapper.h>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <span>
#include <system_error>
#include <unistd.h>

namespace kxcontour {
namespace {

constexpr std::size_t kBlock = std::size_t{1} << 16U;

bool IsStandardInput(const ModelRequest& request) {
    return request.path == "-";
}

void Configure(Assimp::Importer& importer) {
    // A skeleton without a mesh would be shown as a mesh of bones.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
    // Rooms of a building are no solids; textures, lights and animations draw no lines.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_IFC_SKIP_SPACE_REPRESENTATIONS, true);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_TEXTURES, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_CAMERAS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_LIGHTS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_ANIMATIONS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_MD5_NO_ANIM_AUTOLOAD, true);
    // Names given by people, not identifiers of programs.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, true);
}

/// The name by which the importer refers to bytes in memory.
std::string MemoryName(const ModelRequest& request) {
    return AI_MEMORYIO_MAGIC_FILENAME "." + request.format.value_or("");
}

void Replace(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

/// The importer's message on one line, or why a file that it may have needed was refused.
std::string
Reason(const Assimp::Importer& importer, const ModelRequest& request, const ModelFiles& files) {
    if (!files.refusal().empty()) {
        return files.refusal();
    }
    std::string reason = importer.GetErrorString();
    if (reason.find("No suitable reader") != std::string::npos || reason.empty()) {
        return "it is not a model of a known format";
    }
    if (reason.find("bad_alloc") != std::string::npos) {
        return "it needs more memory than is available";
    }
    std::ranges::replace_if(
        reason, [](unsigned char letter) { return letter < ' '; }, ' ');
    Replace(reason, MemoryName(request), NameOf(request));
    // Some of its messages begin with the path, as ours do.
    const std::string prefix = NameOf(request) + ": ";
    return reason.starts_with(prefix) ? reason.substr(prefix.size()) : reason;
}

std::size_t CountPolygons(const aiScene& scene) {
    std::size_t count = 0;
    for (const aiMesh* mesh : std::span(scene.mMeshes, scene.mNumMeshes)) {
        for (const aiFace& face : std::span(mesh->mFaces, mesh->mNumFaces)) {
            count += face.mNumIndices > 3 ? 1 : 0;
        }
    }
    return count;
}

/// Reads a scene as it is, of the bytes for standard input, else of the file.
const aiScene*
ReadScene(Assimp::Importer& importer, const ModelRequest& request, ModelFiles& files) {
    Configure(importer);
    importer.SetIOHandler(new ImporterFiles(files)); // The importer owns it.
    const std::string_view bytes = files.bytes();
    return IsStandardInput(request)
               ? importer.ReadFileFromMemory(bytes.data(), bytes.size(), 0,
                                             request.format.value_or("").c_str())
               : importer.ReadFile(request.path, 0);
}

/// The extension of the file's name, or the given format of standard input, in lower case.
std::string EndingOf(const ModelRequest& request) {
    std::string ending = request.format.value_or("");
    const std::size_t dot = request.path.find_last_of("./");
    if (!IsStandardInput(request) && dot != std::string::npos && request.path[dot] == '.') {
        ending = request.path.substr(dot + 1);
    }
    return LowerCase(ending);
}

/// The contents of an OBJ, PLY or STL file; none for other formats.
std::optional<FileModel> ReadFile(const ModelRequest& request, std::string_view bytes) {
    const std::string ending = EndingOf(request);
    if (ending == "obj") {
        return ReadObj(bytes, request);
    }
    return ending == "stl" ? ReadStl(bytes, request) : ReadPly(bytes, request);
}

/// The importer keeps the scene.
Model Import(Assimp::Importer& importer, const ModelRequest& request, ModelFiles& files) {
    // The conversion needs them, too: files state more than the importer passes on.
    const std::string_view bytes = files.bytes();
    RequireComplete(bytes, NameOf(request));
    if (const std::optional<FileModel> file = ReadFile(request, bytes)) {
        return ModelFromFile(*file, request);
    }
    const aiScene* scene = ReadScene(importer, request, files);
    const std::size_t polygons = scene == nullptr ? 0 : CountPolygons(*scene);
    // Points and lines stay in their meshes: the conversion skips them.
    scene = scene == nullptr ? nullptr : importer.ApplyPostProcessing(aiProcess_Triangulate);
    if (scene == nullptr) {
        RefuseModel(request, Reason(importer, request, files));
    }
    Model model = ModelFromScene(*scene, request, bytes);
    model.cutPolygons = polygons;
    model.refusedFile = files.refusal();
    model.sideFiles = files.sideFiles();
    return model;
}

void RequireKnownFormat(const ModelRequest& request) {
    if (!request.format || request.format->empty()) {
        throw kxdrawing::InvalidArgument(
            "standard input: needs --format, a file name ending such as stl");
    }
    if (!Assimp::Importer().IsExtensionSupported(*request.format)) {
        throw kxdrawing::InvalidArgument("standard input: --format " + *request.format +
                                         " is not a readable format");
    }
}

/// All of standard input where the model comes from there, else nothing.
std::string ReadStandardInput(const ModelRequest& request) {
    std::string bytes;
    if (!IsStandardInput(request)) {
        return bytes;
    }
    RequireKnownFormat(request);
    for (std::size_t size = 0;;) {
        // One byte beyond the limit shows that there is more.
        bytes.resize(std::min(size + std::max(kBlock, size), request.rules.largestInput + 1));
        const ssize_t got = ::read(STDIN_FILENO, bytes.data() + size, bytes.size() - size);
        if (got < 0 && errno != EINTR) {
            throw kxdrawing::CannotRead(NameOf(request) + ": " +
                                        std::generic_category().message(errno));
        }
        size += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
        if (size > request.rules.largestInput) {
            RefuseInputSize(request);
        }
        if (got == 0) {
            bytes.resize(size);
            return bytes;
        }
    }
}

/// For a process that ends soon: the memory of the importer is left to the system, which takes it
/// back faster than one block after another.
Model ReadModelOnce(const ModelRequest& request, ModelFiles& files) {
    static auto* const importer = new Assimp::Importer; // Never deleted.
    return Import(*importer, request, files);
}

} // namespace

Model ReadModel(const ModelRequest& request) {
    const std::string standardInput = ReadStandardInput(request);
    ModelFiles files(request, standardInput);
    Assimp::Importer importer;
    return Import(importer, request, files);
}

Model ImportModel(const ModelRequest& request) {
    const std::string standardInput = ReadStandardInput(request);
    return ImportModelBy(ReadModelOnce, request, standardInput);
}

} // namespace kxcontour
