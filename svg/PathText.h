// The text of paths on its way to a stream.
#pragma once

#include <array>
#include <cstddef>
#include <ostream>
#include <string_view>

namespace ctr {

/// Gathers text and hands it to a stream in large pieces: the stream then is not asked for every
/// number, which is most of the work otherwise.
class PathText {
public:
    /// Borrows the stream.
    explicit PathText(std::ostream& out) : out_(out) {}
    PathText(const PathText&) = delete;
    PathText& operator=(const PathText&) = delete;

    /// Any text shorter than the buffer.
    PathText& operator<<(std::string_view text);

    /// The number as a stream prints a double in the classic locale, with six digits.
    PathText& operator<<(float number);

    /// Hands on what is gathered and flushes the stream. What is gathered later than the last call
    /// is lost.
    void flush();

private:
    static constexpr std::size_t kSize = std::size_t{1} << 14U;

    void makeRoomFor(std::size_t count);
    void handOn();

    std::ostream& out_;
    std::size_t used_ = 0;
    std::array<char, kSize> buffer_;
};

} // namespace ctr
