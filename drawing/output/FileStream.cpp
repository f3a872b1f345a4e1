// With badbit among its exceptions, a stream rethrows what its buffer throws.
#include "drawing/output/FileStream.h"

#include "drawing/files/Descriptor.h"
#include "drawing/output/WriteFailure.h"

#include <cerrno>
#include <string_view>

namespace kxcontour {

FileStream::FileStream(int descriptor) : std::ostream(nullptr), buffer_(descriptor) {
    rdbuf(&buffer_);
    exceptions(std::ios::badbit);
}

std::streamsize FileStream::Buffer::xsputn(const char* text, std::streamsize count) {
    if (!WriteAll(descriptor_, std::string_view(text, static_cast<std::size_t>(count)))) {
        throw WriteFailure(errno);
    }
    return count;
}

FileStream::Buffer::int_type FileStream::Buffer::overflow(int_type letter) {
    if (!traits_type::eq_int_type(letter, traits_type::eof())) {
        const char byte = traits_type::to_char_type(letter);
        xsputn(&byte, 1);
    }
    return traits_type::not_eof(letter);
}

} // namespace kxcontour
