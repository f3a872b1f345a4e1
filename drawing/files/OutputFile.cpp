// A temporary file in the target's folder, renamed over the target: within a file system a rename
// is a single step. Standard output has no folder and cannot be renamed over; it gets a copy.
#include "drawing/files/OutputFile.h"

#include <kxDrawing/Errors.h>

#include "drawing/files/StandardStreams.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace kxcontour {
namespace {

/// Before the mask of the process, which the system applies.
constexpr mode_t kAnyNewFile = 0666;
constexpr mode_t kPrivateFile = 0600;

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
    throw kxdrawing::CannotWrite(path + ": cannot write: " + why);
}

std::string Reason(int error) {
    return std::generic_category().message(error);
}

void RequireWritableFolder(const std::string& path, const Folder& folder) {
    if (::faccessat(folder.descriptor.number(), ".", W_OK | X_OK, 0) != 0) {
        Refuse(path, "the folder '" + folder.path.string() + "': " + Reason(errno));
    }
}

/// A target that exists has to be a file that may be changed.
void RequireReplaceable(const std::string& path, const FilePlace& place) {
    if (!place.status) {
        return;
    }
    if (S_ISDIR(place.status->st_mode)) {
        Refuse(path, "it is a directory");
    }
    if (!S_ISREG(place.status->st_mode)) {
        Refuse(path, "it is not a regular file");
    }
    if (::faccessat(place.folder.descriptor.number(), place.name.c_str(), W_OK, 0) != 0) {
        Refuse(path, Reason(errno));
    }
}

bool NamesStandardOutput(const std::string& path) {
    return path == "-";
}

std::string FolderForTemporaries() {
    const char* path = std::getenv("TMPDIR");
    return path != nullptr && *path != '\0' ? path : "/tmp";
}

/// Throws std::system_error.
Folder OpenFolder(const std::string& path) {
    Folder folder{path, Descriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))};
    if (!folder.descriptor) {
        throw std::system_error(errno, std::generic_category());
    }
    return folder;
}

/// Copies a file from its start to standard output; false, with errno, when that fails.
bool CopyToStandardOutput(int file) {
    std::array<char, std::size_t{1} << 16U> buffer;
    if (::lseek(file, 0, SEEK_SET) != 0) {
        return false;
    }
    for (;;) {
        const ssize_t count = ::read(file, buffer.data(), buffer.size());
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 ||
            !WriteAll(STDOUT_FILENO, {buffer.data(), static_cast<std::size_t>(count)})) {
            return false;
        }
    }
}

} // namespace

OutputFile::OutputFile(const std::string& path) : path_(path) {
    if (NamesStandardOutput(path)) {
        path_ = "standard output";
        if (!IsStandardOutputOpen()) {
            Refuse(path_, Reason(EBADF));
        }
        return;
    }
    place_ = FindPlace(path);
    RequireReplaceable(path_, *place_);
    RequireWritableFolder(path_, place_->folder);
}

int OutputFile::create() {
    if (place_) {
        createBesideTarget();
    } else {
        createForStandardOutput();
    }
    return file_->descriptor();
}

void OutputFile::createBesideTarget() {
    const std::optional<mode_t> kept =
        place_->status ? KeptPermissions(*place_->status, ::geteuid()) : std::nullopt;
    try {
        file_.emplace(place_->folder, kept.value_or(kAnyNewFile));
    } catch (const std::system_error& error) {
        Refuse(path_, error.code().message());
    }
    // The mask of the process is for new files.
    if (kept && ::fchmod(file_->descriptor(), *kept) != 0) {
        Refuse(path_, Reason(errno));
    }
}

void OutputFile::createForStandardOutput() {
    const std::string folder = FolderForTemporaries();
    try {
        temporaries_ = OpenFolder(folder);
        file_.emplace(temporaries_, kPrivateFile);
    } catch (const std::system_error& error) {
        Refuse(path_, "no temporary file in '" + folder + "': " + error.code().message());
    }
}

void OutputFile::commit() {
    if (!place_) {
        if (!CopyToStandardOutput(file_->descriptor())) {
            Refuse(path_, Reason(errno));
        }
        file_.reset();
        return;
    }
    try {
        file_->moveTo(place_->name);
    } catch (const std::system_error& error) {
        Refuse(path_, error.code().message());
    }
}

std::optional<mode_t> KeptPermissions(const struct stat& replaced, uid_t user) {
    constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
    return replaced.st_uid == user ? std::optional<mode_t>(replaced.st_mode & kPermissions)
                                   : std::nullopt;
}

} // namespace kxcontour
