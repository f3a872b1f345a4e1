// mmap(), with a message for each way in which a path can be wrong.
#include "import/files/MappedFile.h"

#include <kxDrawing/Errors.h>

#include "drawing/files/Descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>

namespace kxcontour {
namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
    throw kxdrawing::CannotRead(path + ": " + why);
}

/// The text of errno, in the C locale.
std::string LastError() {
    return std::generic_category().message(errno);
}

} // namespace

int MappedFile::openingFlags() {
    return O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
}

MappedFile::MappedFile(const std::string& path)
    : MappedFile(::open(path.c_str(), openingFlags()), path) {}

MappedFile::MappedFile(int descriptor, const std::string& path) {
    if (descriptor < 0) {
        Refuse(path, LastError());
    }
    const Descriptor file(descriptor); // The mapping stays valid without it.
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) {
        Refuse(path, LastError());
    }
    if (S_ISDIR(status.st_mode)) {
        Refuse(path, "is a directory, not a model");
    }
    if (!S_ISREG(status.st_mode)) {
        Refuse(path, "is not a regular file");
    }
    if (status.st_size == 0) {
        return;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    void* start = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.number(), 0);
    if (start == MAP_FAILED) {
        Refuse(path, LastError());
    }
    bytes_ = std::string_view(static_cast<const char*>(start), size);
}

MappedFile::~MappedFile() {
    if (!bytes_.empty()) {
        ::munmap(const_cast<char*>(bytes_.data()), bytes_.size());
    }
}

} // namespace kxcontour
