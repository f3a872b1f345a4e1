// minizip, reading from memory.
#include "import/importer/ZipEntry.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <minizip/unzip.h>

namespace kxcontour {
namespace {

/// An archive with the position that minizip reads from.
struct MemoryFile {
    std::string_view bytes;
    std::size_t at = 0; ///< At most the size.
};

MemoryFile& FileOf(voidpf stream) {
    return *static_cast<MemoryFile*>(stream);
}

voidpf Open(voidpf file, const void*, int) {
    return file;
}

uLong Read(voidpf, voidpf stream, void* buffer, uLong size) {
    MemoryFile& file = FileOf(stream);
    const std::size_t count = file.bytes.copy(static_cast<char*>(buffer), size, file.at);
    file.at += count;
    return count;
}

ZPOS64_T Tell(voidpf, voidpf stream) {
    return FileOf(stream).at;
}

long Seek(voidpf, voidpf stream, ZPOS64_T offset, int origin) {
    MemoryFile& file = FileOf(stream);
    const std::size_t from = origin == SEEK_SET   ? 0
                             : origin == SEEK_CUR ? file.at
                                                  : file.bytes.size();
    if (offset > file.bytes.size() - from) {
        return -1;
    }
    file.at = from + offset;
    return 0;
}

int Succeed(voidpf, voidpf) {
    return 0;
}

/// Whether the comment at the end of the archive is there: one that was cut short is damaged.
bool IsComplete(unzFile archive) {
    unz_global_info64 info{};
    if (unzGetGlobalInfo64(archive, &info) != UNZ_OK) {
        return false;
    }
    std::string comment(info.size_comment, '\0');
    return unzGetGlobalComment(archive, comment.data(), info.size_comment) ==
           static_cast<int>(info.size_comment);
}

std::string NameOfCurrent(unzFile archive) {
    std::array<char, 1024> name{};
    const int status = unzGetCurrentFileInfo64(archive, nullptr, name.data(), name.size() - 1,
                                               nullptr, 0, nullptr, 0);
    return status == UNZ_OK ? name.data() : "";
}

std::string ReadCurrent(unzFile archive, std::size_t limit) {
    std::string bytes(limit, '\0');
    const int size = unzOpenCurrentFile(archive) == UNZ_OK
                         ? unzReadCurrentFile(archive, bytes.data(), static_cast<unsigned>(limit))
                         : 0;
    bytes.resize(static_cast<std::size_t>(std::max(size, 0)));
    unzCloseCurrentFile(archive);
    return bytes;
}

} // namespace

std::string ReadZipEntry(std::string_view archive, std::string_view ending, std::size_t limit) {
    MemoryFile file{archive};
    zlib_filefunc64_def functions{&Open, &Read, nullptr, &Tell, &Seek, &Succeed, &Succeed, &file};
    const std::unique_ptr<void, decltype(&unzClose)> zip(unzOpen2_64("", &functions), &unzClose);
    int status = zip && IsComplete(zip.get()) ? unzGoToFirstFile(zip.get()) : UNZ_ERRNO;
    for (; status == UNZ_OK; status = unzGoToNextFile(zip.get())) {
        if (NameOfCurrent(zip.get()).ends_with(ending)) {
            return ReadCurrent(zip.get(), limit);
        }
    }
    return {};
}

} // namespace kxcontour
