// Model files for tests, as text or bytes, and folders to put them in.
#pragma once

#include "support/Scenes.h"

#include <filesystem>
#include <string>

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

/// COLLADA with y up. The nodes are its scene, as markup; they show the mesh as instances of "#m".
std::string DaeText(const test_support::MeshData& data, const std::string& nodes);
/// @}

} // namespace tool_test
