// Buffered output of the text of paths.
#pragma once

#include <array>
#include <cstddef>
#include <ostream>
#include <string_view>

namespace ctr {

/// Buffers text and writes it to a stream in large pieces: formatting each number through the
/// stream would take most of the time.
class PathText {
public:
    /// Borrows the stream.
    explicit PathText(std::ostream& out) : out_(out) {}
    PathText(const PathText&) = delete;
    PathText& operator=(const PathText&) = delete;

    /// Any text shorter than the buffer.
    PathText& operator<<(std::string_view text);

    /// Prints the number as a stream prints a double in the classic locale, with six digits.
    PathText& operator<<(float number);

    /// Writes the buffered text and flushes the stream. Text after the last call is lost.
    void flush();

private:
    static constexpr std::size_t kSize = std::size_t{1} << 14U;

    void reserve(std::size_t count);
    void writeOut();

    std::ostream& out_;
    std::size_t used_ = 0;
    std::array<char, kSize> buffer_;
};

} // namespace ctr
