// A temporary file in the target's folder, renamed over the target: within a file system a rename
// is a single step.
#include "drawing/files/OutputFile.h"

#include "drawing/files/FileStream.h"

#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace kxcontour {
namespace {

/// Before the mask of the process, which the system applies.
constexpr mode_t kAnyNewFile = 0666;

void RequireWritableFolder(const std::string& path, const Folder& folder) {
    if (::faccessat(folder.descriptor.number(), ".", W_OK | X_OK, 0) != 0) {
        RefuseToWrite(path, "the folder '" + folder.path.string() +
                                "': " + std::generic_category().message(errno));
    }
}

/// A target that exists has to be a file that may be changed.
void RequireReplaceable(const std::string& path, const FilePlace& place) {
    if (!place.status) {
        return;
    }
    if (S_ISDIR(place.status->st_mode)) {
        RefuseToWrite(path, "it is a directory");
    }
    if (!S_ISREG(place.status->st_mode)) {
        RefuseToWrite(path, "it is not a regular file");
    }
    if (::faccessat(place.folder.descriptor.number(), place.name.c_str(), W_OK, 0) != 0) {
        RefuseToWrite(path, errno);
    }
}

} // namespace

OutputFile::OutputFile(const std::string& path) : path_(path), place_(FindPlace(path)) {
    RequireReplaceable(path_, place_);
    RequireWritableFolder(path_, place_.folder);
}

int OutputFile::create() {
    const std::optional<mode_t> kept =
        place_.status ? KeptPermissions(*place_.status, ::geteuid()) : std::nullopt;
    try {
        file_.emplace(place_.folder, kept.value_or(kAnyNewFile));
    } catch (const std::system_error& error) {
        RefuseToWrite(path_, error.code().value());
    }
    // The mask of the process is for new files.
    if (kept && ::fchmod(file_->descriptor(), *kept) != 0) {
        RefuseToWrite(path_, errno);
    }
    return file_->descriptor();
}

void OutputFile::commit() {
    try {
        file_->moveTo(place_.name);
    } catch (const std::system_error& error) {
        RefuseToWrite(path_, error.code().value());
    }
}

void OutputFile::write(const std::function<void(std::ostream&)>& writer) {
    FileStream stream(create());
    try {
        writer(stream);
    } catch (const std::system_error& error) {
        RefuseToWrite(path_, error.code().value());
    }
    commit();
}

std::optional<mode_t> KeptPermissions(const struct stat& replaced, uid_t user) {
    constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
    return replaced.st_uid == user ? std::optional<mode_t>(replaced.st_mode & kPermissions)
                                   : std::nullopt;
}

} // namespace kxcontour
