// A file that is written from its start to its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kxcontour {

/// A number as text, like printf's %g with so many digits, in no locale; never "-0".
struct Number {
    double value = 0.0;
    int digits = 0; ///< Significant ones; 0: as few as it takes to read the same number back.
};

/// A length on paper as the library's exporter writes it: single precision, six digits.
Number PaperNumber(double value);

/// Gathers what is written and passes it on in large pieces, from where the descriptor is.
///
/// All operations throw WriteFailure (Writers.h) when the system does not take what it is given.
class BufferedFile {
public:
    /// Writes to a descriptor, which stays the caller's.
    explicit BufferedFile(int descriptor);
    BufferedFile(const BufferedFile&) = delete;
    BufferedFile& operator=(const BufferedFile&) = delete;

    BufferedFile& operator<<(std::string_view text);
    BufferedFile& operator<<(char letter);
    BufferedFile& operator<<(Number number);
    BufferedFile& operator<<(std::int64_t number);
    BufferedFile& operator<<(std::size_t number);

    /// Writes what is still gathered, which nothing else does at the end.
    void flush();

private:
    void flushWhenFull();

    int descriptor_;
    std::string buffer_;
};

} // namespace kxcontour
