// A temporary file in the target's folder, renamed over the target: within a file system a rename
// is a single step.
#include "output/OutputFile.h"

#include "common/Failure.h"
#include "common/Interrupt.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace kxcontour {
namespace {

namespace fs = std::filesystem;

/// As many links as the kernel follows.
constexpr int kMostLinks = 40;

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
    throw Failure(ExitCode::CannotWrite, path + ": cannot write: " + why);
}

std::string Reason(int error) {
    return std::generic_category().message(error);
}

/// The path behind all links at its end; what it names need not exist.
fs::path FollowLinks(const std::string& path) {
    fs::path target = path;
    std::error_code error;
    for (int links = 0; fs::is_symlink(fs::symlink_status(target, error)); ++links) {
        if (links == kMostLinks) {
            Refuse(path, Reason(ELOOP));
        }
        target = target.parent_path() / fs::read_symlink(target, error);
        if (error) {
            Refuse(path, error.message());
        }
    }
    return target;
}

fs::path FolderOf(const fs::path& target) {
    return target.has_parent_path() ? target.parent_path() : fs::path(".");
}

void RequireFolder(const std::string& path, const fs::path& folder) {
    std::error_code error;
    const fs::file_status status = fs::status(folder, error);
    if (!fs::exists(status)) {
        Refuse(path, "there is no folder '" + folder.string() + "'");
    }
    if (!fs::is_directory(status)) {
        Refuse(path, "'" + folder.string() + "' is not a folder");
    }
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        Refuse(path, "the folder '" + folder.string() + "': " + Reason(errno));
    }
}

/// A target that exists has to be a file that may be changed.
void RequireReplaceable(const std::string& path, const fs::path& target) {
    std::error_code error;
    const fs::file_status status = fs::status(target, error);
    if (fs::is_directory(status) || !target.has_filename()) {
        Refuse(path, "it is a directory");
    }
    if (!fs::exists(status)) {
        return;
    }
    if (!fs::is_regular_file(status)) {
        Refuse(path, "it is not a regular file");
    }
    if (::access(target.c_str(), W_OK) != 0) {
        Refuse(path, Reason(errno));
    }
}

/// The permissions of the target or, where there is none, those of a new file.
mode_t PermissionsFor(const fs::path& target) {
    struct stat status {};
    if (::stat(target.c_str(), &status) == 0) {
        return status.st_mode & 07777U;
    }
    // The mask can only be read by setting it.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666U & ~mask;
}

} // namespace

OutputFile::OutputFile(const std::string& path) : path_(path), target_(FollowLinks(path)) {
    RequireReplaceable(path_, target_);
    RequireFolder(path_, FolderOf(target_));
}

OutputFile::~OutputFile() {
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
        RemoveWhenInterrupted("");
    }
}

const std::string& OutputFile::create() {
    std::string name = (FolderOf(target_) / ".kxcontour-XXXXXX").string();
    const InterruptsHeld held;
    const int descriptor = ::mkstemp(name.data());
    if (descriptor < 0) {
        Refuse(path_, Reason(errno));
    }
    temporary_ = name;
    RemoveWhenInterrupted(temporary_);
    const int changed = ::fchmod(descriptor, PermissionsFor(target_));
    const int reason = errno;
    ::close(descriptor);
    if (changed != 0) {
        Refuse(path_, Reason(reason));
    }
    return temporary_;
}

void OutputFile::commit() {
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
        Refuse(path_, Reason(errno));
    }
    temporary_.clear();
    RemoveWhenInterrupted("");
}

} // namespace kxcontour
