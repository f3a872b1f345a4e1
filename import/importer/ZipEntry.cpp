// minizip, reading from memory as from a file.
#include "import/importer/ZipEntry.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <minizip/unzip.h>

namespace kxcontour {
namespace {

/// A stream over the bytes of an archive, which is only read.
voidpf OpenBytes(voidpf archive, const void*, int) {
    const std::string_view& bytes = *static_cast<std::string_view*>(archive);
    return ::fmemopen(const_cast<char*>(bytes.data()), bytes.size(), "rb");
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
    zlib_filefunc64_def functions{};
    fill_fopen64_filefunc(&functions);
    functions.zopen64_file = &OpenBytes;
    functions.opaque = &archive;
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
