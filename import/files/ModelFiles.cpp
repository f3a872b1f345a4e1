// Resolves the links of a path first. The resolved path is opened from one of the folders down,
// without following links again: a path that changes in between leads nowhere else.
#include "import/files/ModelFiles.h"

#include <kxDrawing/Errors.h>

#include "import/files/ByteSize.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace kxcontour {
namespace {

namespace fs = std::filesystem;

/// The rest of a path beneath a folder; both without links. Empty where it lies elsewhere.
fs::path RestBeneath(const fs::path& folder, const fs::path& path) {
    const auto [endOfFolder, rest] =
        std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    fs::path beneath;
    if (endOfFolder == folder.end()) {
        std::for_each(rest, path.end(), [&](const fs::path& name) { beneath /= name; });
    }
    return beneath;
}

/// Opens a file below a folder, name by name, none of which may be a link.
int OpenFrom(int folder, const fs::path& path) {
    int at = folder;
    for (auto name = path.begin(); name != path.end(); ++name) {
        const bool last = std::next(name) == path.end();
        const int flags = last ? MappedFile::openingFlags() : O_PATH | O_DIRECTORY | O_CLOEXEC;
        const int next = ::openat(at, name->c_str(), flags | O_NOFOLLOW);
        if (at != folder) {
            ::close(at);
        }
        if (next < 0) {
            return next;
        }
        at = next;
    }
    return at;
}

} // namespace

ModelFiles::ModelFiles(const ModelRequest& request, std::string_view standardInput)
    : request_(request), bytes_(standardInput) {
    const bool isFile = request.path != "-";
    if (isFile) {
        model_ = std::make_unique<MappedFile>(request.path);
        bytes_ = model_->bytes();
    }
    size_ = bytes_.size();
    if (size_ > request.rules.largestInput) {
        RefuseInputSize(request);
    }
    if (isFile) {
        std::error_code unknown;
        addFolder(fs::absolute(request.path, unknown).parent_path());
        addFolder(fs::canonical(request.path, unknown).parent_path());
    }
    const std::string& widened = request.rules.sideFiles;
    if (isFile && !widened.empty() && !addFolder(widened)) {
        throw kxdrawing::CannotRead(widened + ": " + std::generic_category().message(errno));
    }
}

/// False for a folder that cannot be opened, with the reason in errno.
bool ModelFiles::addFolder(const fs::path& path) {
    std::error_code error;
    const fs::path resolved = fs::canonical(path, error);
    errno = error.value();
    Descriptor folder(error ? -1 : ::open(resolved.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const bool isOpen = static_cast<bool>(folder);
    if (isOpen) {
        folders_.push_back({resolved, std::move(folder)});
    }
    return isOpen;
}

std::vector<int> ModelFiles::folders() const {
    std::vector<int> descriptors;
    for (const Folder& folder : folders_) {
        descriptors.push_back(folder.descriptor.number());
    }
    return descriptors;
}

std::vector<std::string> ModelFiles::sideFiles() const {
    std::vector<std::string> paths;
    for (const auto& [path, file] : sideFiles_) {
        paths.push_back(path);
    }
    return paths;
}

std::optional<std::string_view> ModelFiles::open(const std::string& path) {
    if (model_ != nullptr && path == request_.path) {
        return bytes_;
    }
    try {
        return openSideFile(path);
    } catch (const kxdrawing::Error&) {
        return std::nullopt;
    }
}

std::optional<std::string_view> ModelFiles::openSideFile(const std::string& path) {
    std::error_code unknown;
    const fs::path resolved = fs::canonical(path, unknown);
    if (unknown || fs::is_directory(resolved, unknown)) {
        return std::nullopt;
    }
    const auto known = sideFiles_.find(resolved.string());
    if (known != sideFiles_.end()) {
        return known->second->bytes();
    }
    const Folder* folder = folderOf(resolved);
    if (folder == nullptr || !fs::is_regular_file(resolved, unknown)) {
        refuse(path,
               folder != nullptr ? "it is not a regular file"
               : model_ == nullptr
                   ? "a model from standard input cannot refer to files"
                   : "it is outside the model's folder; --side-files FOLDER allows another folder");
        return std::nullopt;
    }
    auto file = std::make_unique<MappedFile>(
        OpenFrom(folder->descriptor.number(), RestBeneath(folder->path, resolved)), path);
    const std::uint64_t size = file->bytes().size();
    if (size > request_.rules.largestInput - size_) {
        refuse(path, "with it, the input is larger than " +
                         ByteSizeText(request_.rules.largestInput) +
                         "; --max-input SIZE allows more");
        return std::nullopt;
    }
    size_ += size;
    if (onOpen_) {
        onOpen_(size);
    }
    return sideFiles_.emplace(resolved.string(), std::move(file)).first->second->bytes();
}

/// The folder that a file lies beneath, or null.
const Folder* ModelFiles::folderOf(const fs::path& file) const {
    const auto found = std::find_if(folders_.begin(), folders_.end(), [&](const Folder& folder) {
        return !RestBeneath(folder.path, file).empty();
    });
    return found == folders_.end() ? nullptr : &*found;
}

void ModelFiles::refuse(const std::string& path, const std::string& why) {
    if (refusal_.empty()) {
        refusal_ = "it refers to '" + path + "', which is not read: " + why;
    }
}

void RefuseInputSize(const ModelRequest& request) {
    throw kxdrawing::CannotRead(NameOf(request) + ": is larger than " +
                                ByteSizeText(request.rules.largestInput) +
                                "; --max-input SIZE allows more");
}

} // namespace kxcontour
