// Streams over mapped files, which read and seek as those of the C library do: a position may lie
// behind the end, and a part of an item that is read moves it as well.
#include "import/importer/ImporterFiles.h"

#include <assimp/IOStream.hpp>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace kxcontour {
namespace {

class MappedStream : public Assimp::IOStream {
public:
    explicit MappedStream(std::string_view bytes) : bytes_(bytes) {}

    std::size_t Read(void* buffer, std::size_t size, std::size_t count) override {
        if (size == 0 || count == 0 || at_ >= bytes_.size()) {
            return 0;
        }
        const std::size_t left = bytes_.size() - at_;
        const std::size_t part = count <= left / size ? size * count : left;
        std::memcpy(buffer, bytes_.data() + at_, part);
        at_ += part;
        return part / size;
    }

    std::size_t Write(const void*, std::size_t, std::size_t) override { return 0; }

    /// Importers go back by offsets that have wrapped around.
    aiReturn Seek(std::size_t offset, aiOrigin origin) override {
        const std::size_t from = origin == aiOrigin_SET   ? 0
                                 : origin == aiOrigin_CUR ? at_
                                                          : bytes_.size();
        const std::size_t to = from + offset;
        if (static_cast<std::ptrdiff_t>(to) < 0) {
            return aiReturn_FAILURE;
        }
        at_ = to;
        return aiReturn_SUCCESS;
    }

    std::size_t Tell() const override { return at_; }
    std::size_t FileSize() const override { return bytes_.size(); }
    void Flush() override {}

private:
    std::string_view bytes_;
    std::size_t at_ = 0;
};

} // namespace

bool ImporterFiles::Exists(const char* path) const {
    return files_.open(path).has_value();
}

Assimp::IOStream* ImporterFiles::Open(const char* path, const char* mode) {
    if (std::string_view(mode).find_first_of("wa+") != std::string_view::npos) {
        return nullptr;
    }
    const std::optional<std::string_view> bytes = files_.open(path);
    return bytes ? new MappedStream(*bytes) : nullptr;
}

void ImporterFiles::Close(Assimp::IOStream* stream) {
    delete stream;
}

} // namespace kxcontour
