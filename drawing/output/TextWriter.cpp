// Numbers are formatted by std::to_chars: a stream would consult its locale for each of them.
#include "drawing/output/TextWriter.h"

#include <kxDrawing/Errors.h>

#include <array>
#include <charconv>

namespace kxcontour {
namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 16U;
/// Room for any number: 17 digits, sign, point, exponent.
constexpr std::size_t kLongestNumber = 40;

using NumberText = std::array<char, kLongestNumber>;

/// The text of std::to_chars(first, last, arguments...).
template <class... Arguments> std::string_view Print(NumberText& text, Arguments... arguments) {
    const char* end = std::to_chars(text.data(), text.data() + text.size(), arguments...).ptr;
    return {text.data(), static_cast<std::size_t>(end - text.data())};
}

} // namespace

Number PaperNumber(double value) {
    constexpr int kDigits = 6;
    return {static_cast<double>(static_cast<float>(value)), kDigits};
}

TextWriter::TextWriter(std::ostream& out) : out_(out) {
    buffer_.reserve(kBufferSize + kLongestNumber);
}

TextWriter& TextWriter::operator<<(std::string_view text) {
    buffer_ += text;
    if (buffer_.size() >= kBufferSize) {
        writeBuffer();
    }
    return *this;
}

TextWriter& TextWriter::operator<<(char letter) {
    return *this << std::string_view(&letter, 1);
}

TextWriter& TextWriter::operator<<(Number number) {
    NumberText text;
    const double value = number.value + 0.0; // 0 for -0.
    return *this << (number.digits > 0
                         ? Print(text, value, std::chars_format::general, number.digits)
                         : Print(text, value));
}

TextWriter& TextWriter::operator<<(std::int64_t number) {
    NumberText text;
    return *this << Print(text, number);
}

TextWriter& TextWriter::operator<<(std::size_t number) {
    NumberText text;
    return *this << Print(text, number);
}

void TextWriter::flush() {
    writeBuffer();
    require(!out_.flush().fail());
}

void TextWriter::writeBuffer() {
    require(!out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size())).fail());
    buffer_.clear();
}

void TextWriter::require(bool isWritten) {
    if (!isWritten) {
        throw kxdrawing::CannotWrite("the stream failed");
    }
}

} // namespace kxcontour
