// Numbers with six significant digits. Those of magnitude 1e-3 to 1e5 are converted with one 64-bit
// product, into which the digits and the remainder that decides rounding fit: the result is
// correctly rounded, ties to even. All other numbers use std::to_chars. Constant time per number.
#include "svg/PathText.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>

namespace ctr {
namespace {

constexpr int kDigits = 6;
/// Sign, digits, point, four zeros or an exponent, with a margin.
constexpr std::size_t kLongestNumber = 24;

constexpr float kLeastPlain = 0.001F;
constexpr float kPlainEnd = 100000.0F;

/// The number of decimals for six significant digits of a plain number.
int DecimalsOf(float value) {
    int decimals = 8;
    for (const double bound : {0.01, 0.1, 1.0, 10.0, 100.0, 1000.0, 10000.0}) {
        decimals -= static_cast<double>(value) >= bound ? 1 : 0;
    }
    return decimals;
}

/// A plain number times 10^decimals, rounded to the nearest integer, ties to even.
///
/// The number is m / 2^shift with m below 2^24 and a shift of 7 to 33; 10^8 is below 2^27.
std::uint32_t Scaled(float value, int decimals) {
    constexpr std::array<std::uint64_t, 9> kPowers{1,      10,      100,      1000,     10000,
                                                   100000, 1000000, 10000000, 100000000};
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const std::uint64_t mantissa = (bits & 0x7FFFFFU) | 0x800000U;
    const std::uint32_t shift = 150U - (bits >> 23U);
    const std::uint64_t product = mantissa * kPowers[static_cast<std::size_t>(decimals)];
    const std::uint64_t whole = product >> shift;
    const std::uint64_t rest = product - (whole << shift);
    const std::uint64_t half = std::uint64_t{1} << (shift - 1U);
    const bool up = rest > half || (rest == half && whole % 2 == 1);
    return static_cast<std::uint32_t>(whole + (up ? 1U : 0U));
}

/// Prints number / 10^decimals without trailing zeros; returns the end of the text.
char* PrintDecimal(char* to, std::uint32_t number, int decimals) {
    while (decimals > 0 && number % 10 == 0) {
        number /= 10;
        --decimals;
    }
    std::array<char, kLongestNumber> text;
    char* start = text.data() + text.size();
    do {
        *--start = static_cast<char>('0' + number % 10);
        number /= 10;
        if (--decimals == 0) {
            *--start = '.';
        }
    } while (number > 0 || decimals >= 0);
    return std::copy(start, text.data() + text.size(), to);
}

char* PrintNumber(char* to, float number) {
    const float size = number < 0.0F ? -number : number;
    // Negated so that NaN is handled here.
    if (!(size >= kLeastPlain && size < kPlainEnd)) {
        return std::to_chars(to, to + kLongestNumber, static_cast<double>(number),
                             std::chars_format::general, kDigits)
            .ptr;
    }
    if (number < 0.0F) {
        *to++ = '-';
    }
    const int decimals = DecimalsOf(size);
    return PrintDecimal(to, Scaled(size, decimals), decimals);
}

} // namespace

PathText& PathText::operator<<(std::string_view text) {
    reserve(text.size());
    std::copy(text.begin(), text.end(), buffer_.begin() + static_cast<std::ptrdiff_t>(used_));
    used_ += text.size();
    return *this;
}

PathText& PathText::operator<<(float number) {
    reserve(kLongestNumber);
    const char* const end = PrintNumber(buffer_.data() + used_, number);
    used_ = static_cast<std::size_t>(end - buffer_.data());
    return *this;
}

void PathText::flush() {
    writeOut();
    out_.flush();
}

void PathText::reserve(std::size_t count) {
    if (used_ + count > kSize) {
        writeOut();
    }
}

void PathText::writeOut() {
    out_.write(buffer_.data(), static_cast<std::streamsize>(used_));
    used_ = 0;
}

} // namespace ctr
