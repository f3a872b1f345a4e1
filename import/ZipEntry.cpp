// Reads archives (PKWARE's application note, sections 4.3.7, 4.3.12 and 4.3.16) from their end.
#include "import/ZipEntry.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <zlib.h>

namespace kxcontour {
namespace {

constexpr std::string_view kEndOfDirectory("PK\5\6", 4);
constexpr std::string_view kDirectoryEntry("PK\1\2", 4);
constexpr std::string_view kLocalHeader("PK\3\4", 4);
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kEntrySize = 46;
constexpr std::size_t kLocalSize = 30;

constexpr std::uint32_t kStored = 0;
constexpr std::uint32_t kDeflated = 8;

/// A little-endian number of two or four bytes. The bytes must be there.
std::uint32_t Number(std::string_view bytes, std::size_t at, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = size; i-- > 0;) {
        value = value << 8U | static_cast<unsigned char>(bytes[at + i]);
    }
    return value;
}

bool Begins(std::string_view bytes, std::string_view mark, std::size_t size) {
    return bytes.size() >= size && bytes.substr(0, mark.size()) == mark;
}

std::string_view From(std::string_view bytes, std::size_t at) {
    return at <= bytes.size() ? bytes.substr(at) : std::string_view();
}

struct FoundEntry {
    std::uint32_t method = 0;
    std::size_t packedSize = 0;
    std::size_t localHeader = 0;
};

/// Walks the directory for the first name with that ending.
std::optional<FoundEntry> FindEntry(std::string_view archive, std::string_view ending) {
    const std::size_t end = archive.rfind(kEndOfDirectory);
    if (end == std::string_view::npos || archive.size() - end < kEndSize) {
        return std::nullopt;
    }
    std::string_view directory = From(archive, Number(archive, end + 16, 4));
    while (Begins(directory, kDirectoryEntry, kEntrySize)) {
        const std::size_t nameSize = Number(directory, 28, 2);
        const std::string_view name = directory.substr(kEntrySize, nameSize);
        if (name.size() >= ending.size() && name.substr(name.size() - ending.size()) == ending) {
            return FoundEntry{Number(directory, 10, 2), Number(directory, 20, 4),
                              Number(directory, 42, 4)};
        }
        directory = From(directory, kEntrySize + nameSize + Number(directory, 30, 2) +
                                        Number(directory, 32, 2));
    }
    return std::nullopt;
}

/// The first bytes of a deflated text, as many as come out. The limit is below a gibibyte.
std::string Inflate(std::string_view packed, std::size_t limit) {
    z_stream stream{};
    // Negative: without the header and check sum of zlib's own format.
    if (::inflateInit2(&stream, -MAX_WBITS) != Z_OK) {
        return {};
    }
    std::string bytes(limit, '\0');
    // A code word is never longer than 15 bits, so this is enough to fill the limit.
    std::string in(packed.substr(0, 2 * limit + 1024));
    stream.next_in = reinterpret_cast<Bytef*>(in.data());
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    ::inflate(&stream, Z_SYNC_FLUSH);
    bytes.resize(bytes.size() - stream.avail_out);
    ::inflateEnd(&stream);
    return bytes;
}

} // namespace

std::string ReadZipEntry(std::string_view archive, std::string_view ending, std::size_t limit) {
    const std::optional<FoundEntry> entry = FindEntry(archive, ending);
    if (!entry) {
        return {};
    }
    const std::string_view local = From(archive, entry->localHeader);
    if (!Begins(local, kLocalHeader, kLocalSize)) {
        return {};
    }
    const std::string_view packed =
        From(local, kLocalSize + Number(local, 26, 2) + Number(local, 28, 2))
            .substr(0, entry->packedSize);
    if (entry->method == kStored) {
        return std::string(packed.substr(0, limit));
    }
    return entry->method == kDeflated ? Inflate(packed, limit) : std::string();
}

} // namespace kxcontour
