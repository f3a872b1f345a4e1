// A file mapped into memory.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

/// Maps a whole file into memory, read-only.
class MappedFile {
public:
    /// Throws CannotRead for a path that cannot be opened or is no regular file.
    explicit MappedFile(const std::string& path);

    /// Maps an open file and closes the descriptor. Throws as the other constructor does, for a
    /// descriptor below 0 with the reason in errno; messages begin with the name.
    MappedFile(int descriptor, const std::string& name);

    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    /// All bytes; empty for an empty file.
    std::string_view bytes() const { return bytes_; }

    /// The flags of open() for a model: a pipe without a writer is refused instead of waited for.
    static int openingFlags();

private:
    std::string_view bytes_;
};

} // namespace kxcontour
