// With badbit among its exceptions, a stream rethrows what its buffer throws.
#include "drawing/files/FileStream.h"

#include "drawing/files/Descriptor.h"

#include <cerrno>
#include <string_view>
#include <system_error>

namespace kxcontour {

FileStream::FileStream(int descriptor) : std::ostream(nullptr), buffer_(descriptor) {
    rdbuf(&buffer_);
    exceptions(std::ios::badbit);
}

std::streamsize FileStream::Buffer::xsputn(const char* text, std::streamsize count) {
    if (!WriteAll(descriptor_, std::string_view(text, static_cast<std::size_t>(count)))) {
        throw std::system_error(errno, std::generic_category());
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
