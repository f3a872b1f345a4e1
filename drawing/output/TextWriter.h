// Text and numbers on their way to a stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace kxcontour {

/// A number as text, like printf's %g with so many digits, independent of locale; never "-0".
struct Number {
    double value = 0.0;
    int digits = 0; ///< Significant digits; 0: as few as read back as the same number.
};

/// A length on paper in single precision with six digits.
Number PaperNumber(double value);

/// Formats into a buffer and writes that to the stream in large pieces.
///
/// Operations throw CannotWrite when the stream fails, and pass on what the stream throws.
class TextWriter {
public:
    explicit TextWriter(std::ostream& out);
    TextWriter(const TextWriter&) = delete;
    TextWriter& operator=(const TextWriter&) = delete;

    TextWriter& operator<<(std::string_view text);
    TextWriter& operator<<(char letter);
    TextWriter& operator<<(Number number);
    TextWriter& operator<<(std::int64_t number);
    TextWriter& operator<<(std::size_t number);

    /// Writes the rest and flushes the stream. The destructor does not: its errors would be lost.
    void flush();

private:
    void writeBuffer();
    static void require(bool isWritten);

    std::ostream& out_;
    std::string buffer_;
};

} // namespace kxcontour
