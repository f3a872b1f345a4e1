// The file of a model, and the files that it refers to.
#pragma once

#include "drawing/files/FilePlace.h"
#include "import/files/MappedFile.h"
#include "import/files/ModelRequest.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

/// Opens a model and, while an importer reads it, the files that it refers to: side files.
///
/// A model may come from anybody, so side files are regular files beneath the folder of the model
/// (the one that the path names, and the one that holds the file when links are resolved) or
/// beneath ReadRules::sideFiles; links that lead out of these folders are not followed. A model
/// from standard input has no side files.
class ModelFiles {
public:
    /// Opens the model and the folders; standardInput are the bytes of a model from there, and have
    /// to outlive this. Throws CannotRead for a model that cannot be opened or is too
    /// large, and for a folder of side files that cannot be opened.
    ModelFiles(const ModelRequest& request, std::string_view standardInput);
    ModelFiles(const ModelFiles&) = delete;
    ModelFiles& operator=(const ModelFiles&) = delete;

    /// The model.
    std::string_view bytes() const { return bytes_; }

    /// The bytes of the model or of a side file, which stay until this ends. None for a path that
    /// cannot be opened.
    std::optional<std::string_view> open(const std::string& path);

    /// Why the first existing side file was refused; empty: none was.
    const std::string& refusal() const { return refusal_; }

    /// The side files that have been opened.
    std::vector<std::string> sideFiles() const;

    /// Descriptors of the folders that side files may lie in.
    std::vector<int> folders() const;

    /// Sets a function that is called with the size of each side file before it is read.
    void onOpen(std::function<void(std::uint64_t)> call) { onOpen_ = std::move(call); }

private:
    bool addFolder(const std::filesystem::path& path);
    const Folder* folderOf(const std::filesystem::path& file) const;
    std::optional<std::string_view> openSideFile(const std::string& path);
    void refuse(const std::string& path, const std::string& why);

    const ModelRequest& request_;
    std::string_view bytes_;
    std::unique_ptr<MappedFile> model_;                            ///< None for standard input.
    std::uint64_t size_;                                           ///< Of all that is open.
    std::vector<Folder> folders_;                                  ///< Absolute, without links.
    std::map<std::string, std::unique_ptr<MappedFile>> sideFiles_; ///< By resolved path.
    std::string refusal_;
    std::function<void(std::uint64_t)> onOpen_;
};

/// Throws CannotRead: a model is larger than it may be.
[[noreturn]] void RefuseInputSize(const ModelRequest& request);

} // namespace kxcontour
