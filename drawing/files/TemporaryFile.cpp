// A file without a name gets one through its entry in /proc, and only a rename replaces what is
// there: so it is linked under a name that cannot be guessed and renamed at once.
#include "drawing/files/TemporaryFile.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <sys/random.h>
#include <system_error>
#include <unistd.h>

namespace kxcontour {
namespace {

[[noreturn]] void ThrowSystemError() {
    throw std::system_error(errno, std::generic_category());
}

std::string PathInProc(const Descriptor& file) {
    return "/proc/self/fd/" + std::to_string(file.number());
}

/// 64 random bits: nobody can put anything under such a name before.
std::string NewName() {
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != static_cast<ssize_t>(sizeof number)) {
        ThrowSystemError();
    }
    std::array<char, 32> name;
    std::snprintf(name.data(), name.size(), ".kxcontour-%016llx",
                  static_cast<unsigned long long>(number));
    return name.data();
}

/// None where the file system, or the system without /proc, cannot do it.
Descriptor OpenUnnamed(const Folder& folder, mode_t permissions) {
    Descriptor file(
        ::openat(folder.descriptor.number(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, permissions));
    return file && ::access(PathInProc(file).c_str(), F_OK) == 0 ? std::move(file) : Descriptor();
}

} // namespace

TemporaryFile::TemporaryFile(const Folder& folder, mode_t permissions, Kind kind)
    : folder_(folder) {
    const InterruptsHeld held;
    if (kind == Kind::Unnamed) {
        file_ = OpenUnnamed(folder, permissions);
    }
    if (!file_) {
        create(permissions);
    }
}

TemporaryFile::~TemporaryFile() {
    if (name_.empty()) {
        return;
    }
    const InterruptsHeld held;
    ::unlinkat(folder_.descriptor.number(), name_.c_str(), 0);
    unfinished_.reset();
}

void TemporaryFile::moveTo(const std::string& name) {
    const InterruptsHeld held;
    if (name_.empty()) {
        link();
    }
    const int folder = folder_.descriptor.number();
    if (!file_.close() || ::renameat(folder, name_.c_str(), folder, name.c_str()) != 0) {
        ThrowSystemError();
    }
    unfinished_.reset();
    name_.clear();
}

void TemporaryFile::create(mode_t permissions) {
    std::string name = NewName();
    file_ = Descriptor(::openat(folder_.descriptor.number(), name.c_str(),
                                O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, permissions));
    if (!file_) {
        ThrowSystemError();
    }
    name_ = std::move(name);
    unfinished_.emplace(ownPath());
}

void TemporaryFile::link() {
    std::string name = NewName();
    if (::linkat(AT_FDCWD, PathInProc(file_).c_str(), folder_.descriptor.number(), name.c_str(),
                 AT_SYMLINK_FOLLOW) != 0) {
        ThrowSystemError();
    }
    name_ = std::move(name);
    unfinished_.emplace(ownPath());
}

} // namespace kxcontour
