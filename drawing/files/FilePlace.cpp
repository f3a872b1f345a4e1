// Links are followed one at a time, each read through the descriptor by which it was looked at, so
// that nothing can be swapped in between.
#include "drawing/files/FilePlace.h"

#include <kxDrawing/Errors.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace kxcontour {
namespace {

namespace fs = std::filesystem;

/// As many links as the kernel follows.
constexpr int kMostLinks = 40;

fs::path FolderPart(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

[[noreturn]] void RefuseFolder(const std::string& path, const fs::path& folder) {
    const std::string quoted = std::string("'").append(folder.string()).append("'");
    if (errno == ENOENT) {
        RefuseToWrite(path, "there is no folder " + quoted);
    }
    if (errno == ENOTDIR) {
        RefuseToWrite(path, quoted + " is not a folder");
    }
    RefuseToWrite(path, "the folder " + quoted + ": " + std::generic_category().message(errno));
}

/// The folder of a path that starts from another folder, or from the current one.
Folder OpenFolderOf(const std::string& path, const fs::path& step, const Folder& from) {
    const fs::path part = FolderPart(step);
    Folder folder;
    folder.path = from.descriptor && part.is_relative() ? from.path / part : part;
    const int start = from.descriptor ? from.descriptor.number() : AT_FDCWD;
    folder.descriptor = Descriptor(::openat(start, part.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder.descriptor) {
        RefuseFolder(path, folder.path);
    }
    return folder;
}

struct stat StatusOf(const std::string& path, const Descriptor& file) {
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) {
        RefuseToWrite(path, errno);
    }
    return status;
}

/// What a link says.
fs::path ReadLink(const std::string& path, const Descriptor& link) {
    std::array<char, PATH_MAX> text;
    const ssize_t size = ::readlinkat(link.number(), "", text.data(), text.size());
    if (size < 0) {
        RefuseToWrite(path, errno);
    }
    return std::string(text.data(), static_cast<std::size_t>(size));
}

void RequireFollowable(const std::string& path, const FilePlace& place) {
    const struct stat folder = StatusOf(path, place.folder.descriptor);
    if (!MayFollowLink(*place.status, folder, ::geteuid())) {
        RefuseToWrite(path, std::string("'").append((place.folder.path / place.name).string()) +
                                "' is another user's link in a folder that everyone may write");
    }
}

} // namespace

void RefuseToWrite(const std::string& path, const std::string& why) {
    throw kxdrawing::CannotWrite(path + ": cannot write: " + why);
}

void RefuseToWrite(const std::string& path, int error) {
    RefuseToWrite(path, std::generic_category().message(error));
}

FilePlace FindPlace(const std::string& path) {
    FilePlace place;
    fs::path step = path;
    for (int links = 0;; ++links) {
        if (!step.has_filename()) {
            RefuseToWrite(path, "it is a directory");
        }
        place.folder = OpenFolderOf(path, step, place.folder);
        place.name = step.filename().string();
        const Descriptor file(::openat(place.folder.descriptor.number(), place.name.c_str(),
                                       O_PATH | O_NOFOLLOW | O_CLOEXEC));
        if (!file && errno == ENOENT) {
            place.status.reset();
            return place;
        }
        place.status = StatusOf(path, file);
        if (!S_ISLNK(place.status->st_mode)) {
            return place;
        }
        if (links == kMostLinks) {
            RefuseToWrite(path, ELOOP);
        }
        RequireFollowable(path, place);
        step = ReadLink(path, file);
    }
}

bool MayFollowLink(const struct stat& link, const struct stat& folder, uid_t user) {
    constexpr mode_t kShared = S_ISVTX | S_IWOTH;
    const bool isShared = (folder.st_mode & kShared) == kShared;
    return !isShared || link.st_uid == user || link.st_uid == folder.st_uid;
}

} // namespace kxcontour
