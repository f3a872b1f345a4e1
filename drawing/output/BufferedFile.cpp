// One string and the system's own calls: streams would ask the locale for every number.
#include "drawing/output/BufferedFile.h"

#include "drawing/files/Descriptor.h"
#include "drawing/output/Writers.h"

#include <array>
#include <cerrno>
#include <charconv>

namespace kxcontour {
namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 16U;
/// Room for any number: 17 digits, sign, point, exponent.
constexpr std::size_t kLongestNumber = 40;

std::string_view Print(std::array<char, kLongestNumber>& text, Number number) {
    // Adding 0 makes 0 of -0.
    const double value = number.value + 0.0;
    char* end = text.data() + text.size();
    end =
        number.digits > 0
            ? std::to_chars(text.data(), end, value, std::chars_format::general, number.digits).ptr
            : std::to_chars(text.data(), end, value).ptr;
    return {text.data(), static_cast<std::size_t>(end - text.data())};
}

template <class Integer>
std::string_view PrintWhole(std::array<char, kLongestNumber>& text, Integer number) {
    const char* end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return {text.data(), static_cast<std::size_t>(end - text.data())};
}

} // namespace

Number PaperNumber(double value) {
    constexpr int kDigitsOfExporter = 6;
    return {static_cast<double>(static_cast<float>(value)), kDigitsOfExporter};
}

BufferedFile::BufferedFile(int descriptor) : descriptor_(descriptor) {
    buffer_.reserve(kBufferSize + kLongestNumber);
}

BufferedFile& BufferedFile::operator<<(std::string_view text) {
    buffer_ += text;
    flushWhenFull();
    return *this;
}

BufferedFile& BufferedFile::operator<<(char letter) {
    return *this << std::string_view(&letter, 1);
}

BufferedFile& BufferedFile::operator<<(Number number) {
    std::array<char, kLongestNumber> text;
    return *this << Print(text, number);
}

BufferedFile& BufferedFile::operator<<(std::int64_t number) {
    std::array<char, kLongestNumber> text;
    return *this << PrintWhole(text, number);
}

BufferedFile& BufferedFile::operator<<(std::size_t number) {
    std::array<char, kLongestNumber> text;
    return *this << PrintWhole(text, number);
}

void BufferedFile::flush() {
    if (!WriteAll(descriptor_, buffer_)) {
        throw WriteFailure(errno);
    }
    buffer_.clear();
}

void BufferedFile::flushWhenFull() {
    if (buffer_.size() >= kBufferSize) {
        flush();
    }
}

} // namespace kxcontour
