// Model files for tests, as text or bytes, and folders to put them in.
#pragma once

#include "import/files/ModelRequest.h"
#include "support/Scenes.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace tool_test {

/// A folder of its own that goes away with all it holds.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// The path of a name in the folder.
    std::string path(const std::string& name) const;

    /// Writes a file and returns its path.
    std::string write(const std::string& name, const std::string& bytes) const;

    /// The number of entries, hidden ones too.
    std::size_t entryCount() const;

private:
    std::filesystem::path folder_;
};

std::string ReadBytes(const std::string& path);

/// A text with every place of a part replaced; there has to be one.
std::string Replaced(std::string text, const std::string& part, const std::string& replacement);

/// Asks for a file as it is.
kxcontour::ModelRequest FileRequest(const std::string& path);

/// Whether a text has the pattern, in which * stands for any text without a line end.
bool Matches(const std::string& text, const std::string& pattern);

/// @name A mesh as a file
/// @{
std::string ObjText(const test_support::MeshData& data);
std::string StlText(const test_support::MeshData& data);
std::string StlBytes(const test_support::MeshData& data);
std::string PlyText(const test_support::MeshData& data);
std::string PlyBytes(const test_support::MeshData& data, bool bigEndian);
std::string OffText(const test_support::MeshData& data);

/// glTF with the mesh in a buffer of its own: accessor 0 has its positions, 1 its indices. The
/// nodes and meshes are JSON arrays; the scene shows node 0. buffer is the buffer's address, or
/// empty for the bytes themselves.
std::string GltfText(const test_support::MeshData& data,
                     const std::string& nodes,
                     const std::string& meshes,
                     const std::string& buffer = "");

/// The bytes of that buffer.
std::string GltfBuffer(const test_support::MeshData& data);

/// A glTF primitive for GltfText().
inline const char* const kGltfPrimitive = R"({"attributes":{"POSITION":0},"indices":1})";

/// The model part of a 3MF file; attributes such as unit="inch" go into its first element.
std::string ModelOf3mf(const test_support::MeshData& data, const std::string& attributes);

/// An archive of files, (name and bytes), stored as they are.
std::string ZipBytes(const std::vector<std::pair<std::string, std::string>>& files);

/// A 3MF file of a model part.
std::string Bytes3mf(const std::string& model);

/// AMF and X3D (a box of that size about the origin); attributes and head are markup.
std::string AmfText(const test_support::MeshData& data, const std::string& attributes);
std::string X3dText(const std::string& size, const std::string& head);

/// An OBJ file of one polygon: a comb with teeth of all lengths, every other corner of which is an
/// inward one.
std::string CombObj(int corners);

/// A DXF file with the triangles as faces; header holds lines of the header section.
std::string DxfText(const test_support::MeshData& data, const std::string& header);

/// COLLADA with y up. The nodes are its scene, as markup; they show the mesh as instances of "#m".
std::string DaeText(const test_support::MeshData& data, const std::string& nodes);
/// @}

} // namespace tool_test
