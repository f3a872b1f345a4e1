// A temporary file in the target's folder, renamed over the target: within a file system a rename
// is a single step. Standard output has no folder and cannot be renamed over; it gets a copy.
#include "output/OutputFile.h"

#include "common/Failure.h"
#include "common/StandardStreams.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
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

/// The process's mask for new files. It can only be read by setting it, one thread at a time.
mode_t FileMask() {
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

/// The permissions of the target or, where there is none, those of a new file.
mode_t PermissionsFor(const fs::path& target) {
    struct stat status {};
    if (::stat(target.c_str(), &status) == 0) {
        return status.st_mode & 07777U;
    }
    return 0666U & ~FileMask();
}

bool NamesStandardOutput(const std::string& path) {
    return path == "-";
}

fs::path FolderForTemporaries() {
    const char* folder = std::getenv("TMPDIR");
    return folder != nullptr && *folder != '\0' ? folder : "/tmp";
}

/// Writes all bytes to a descriptor; false, with errno, when it does not take them.
bool WriteAll(int descriptor, const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = ::write(descriptor, bytes, count);
        if (written >= 0) {
            bytes += written;
            count -= static_cast<std::size_t>(written);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

/// Copies what is left of one descriptor to another; false, with errno, when that fails.
bool Copy(int from, int to) {
    std::array<char, std::size_t{1} << 16U> buffer;
    for (;;) {
        const ssize_t count = ::read(from, buffer.data(), buffer.size());
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 || !WriteAll(to, buffer.data(), static_cast<std::size_t>(count))) {
            return false;
        }
    }
}

/// Copies a file to standard output; false, with errno, when that fails.
bool CopyToStandardOutput(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const bool copied = Copy(file, STDOUT_FILENO);
    const int reason = errno;
    ::close(file);
    errno = reason;
    return copied;
}

} // namespace

OutputFile::OutputFile(const std::string& path) {
    if (NamesStandardOutput(path)) {
        path_ = "standard output";
        if (!IsStandardOutputOpen()) {
            Refuse(path_, Reason(EBADF));
        }
        return;
    }
    path_ = path;
    target_ = FollowLinks(path);
    RequireReplaceable(path_, target_);
    RequireFolder(path_, FolderOf(target_));
}

OutputFile::~OutputFile() {
    remove();
}

const std::string& OutputFile::create() {
    const fs::path folder = isStandardOutput() ? FolderForTemporaries() : FolderOf(target_);
    std::string name = (folder / ".kxcontour-XXXXXX").string();
    const InterruptsHeld held;
    const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) {
        const std::string reason = Reason(errno);
        Refuse(path_, isStandardOutput()
                          ? "no temporary file in '" + folder.string() + "': " + reason
                          : reason);
    }
    temporary_ = name;
    unfinished_.emplace(temporary_);
    const bool changed = isStandardOutput() || ::fchmod(descriptor, PermissionsFor(target_)) == 0;
    const int reason = errno;
    ::close(descriptor);
    if (!changed) {
        Refuse(path_, Reason(reason));
    }
    return temporary_;
}

void OutputFile::commit() {
    if (isStandardOutput()) {
        if (!CopyToStandardOutput(temporary_)) {
            Refuse(path_, Reason(errno));
        }
        remove();
        return;
    }
    const InterruptsHeld held;
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
        Refuse(path_, Reason(errno));
    }
    unfinished_.reset();
    temporary_.clear();
}

void OutputFile::remove() {
    if (temporary_.empty()) {
        return;
    }
    const InterruptsHeld held;
    ::unlink(temporary_.c_str());
    unfinished_.reset();
    temporary_.clear();
}

} // namespace kxcontour
