// The bytes of a file, read as they are looked at.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

/// Maps a whole file into memory, read-only.
class MappedFile {
public:
    /// Throws Failure (Unreadable) for a path that cannot be opened or is no regular file.
    explicit MappedFile(const std::string& path);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    /// All bytes; empty for an empty file.
    std::string_view bytes() const { return bytes_; }

private:
    std::string_view bytes_;
};

} // namespace kxcontour
