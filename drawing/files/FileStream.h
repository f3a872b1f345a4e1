// An output stream over a file descriptor.
#pragma once

#include <ostream>
#include <streambuf>

namespace kxcontour {

/// Passes everything on at once, without a buffer of its own.
///
/// A failed write throws std::system_error with its errno value, which std::ofstream would lose.
class FileStream : public std::ostream {
public:
    /// Writes from the descriptor's position on; the descriptor stays the caller's and open.
    explicit FileStream(int descriptor);

private:
    class Buffer : public std::streambuf {
    public:
        explicit Buffer(int descriptor) : descriptor_(descriptor) {}

    protected:
        std::streamsize xsputn(const char* text, std::streamsize count) override;
        int_type overflow(int_type letter) override;

    private:
        int descriptor_;
    };

    Buffer buffer_;
};

} // namespace kxcontour
