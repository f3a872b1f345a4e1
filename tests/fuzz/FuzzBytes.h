// What every fuzzer needs: its input as a row of small choices, and a way to say what is wrong.
#pragma once

#include <Wm4Foundation.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>

namespace fuzz {

/// Ends the run: the fuzzer keeps the input that led here.
[[noreturn]] inline void Fail(const std::string& what) {
    std::fprintf(stderr, "fuzz: %s\n", what.c_str());
    std::abort();
}

inline void Require(bool holds, const char* what) {
    if (!holds) {
        Fail(what);
    }
}

/// The bytes of an input from front to back; zeros when they are used up.
class FuzzBytes {
public:
    FuzzBytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool empty() const { return at_ == size_; }

    std::uint8_t byte() { return empty() ? std::uint8_t{0} : data_[at_++]; }

    /// From 0 to n - 1; n is from 1 to 256.
    unsigned int below(unsigned int n) { return byte() % n; }

    bool flag() { return (byte() & 1U) != 0; }

    /// Whether a rare choice is made: once in sixteen values of a byte, never by a zero.
    bool rarely() { return (byte() & 15U) == 15U; }

    std::uint32_t word() {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            value = value << 8U | byte();
        }
        return value;
    }

    /// Mostly a multiple of an eighth from -15 to 14.875, so that points meet and lines coincide;
    /// at times something that breaks sums and orders, or any bits.
    float number() {
        const std::uint8_t choice = byte();
        if (choice < 240) {
            return static_cast<float>(static_cast<int>(choice) - 120) / 8.0F;
        }
        return choice == 255 ? std::bit_cast<float>(word()) : kStrange[choice - 240U];
    }

    Wm4::Vector3<float> point() {
        const float x = number();
        const float y = number();
        const float z = number();
        return {x, y, z};
    }

    /// At most this many of the bytes that are left.
    std::string_view text(std::size_t most) {
        const std::size_t length = std::min(most, size_ - at_);
        const std::string_view text(reinterpret_cast<const char*>(data_ + at_), length);
        at_ += length;
        return text;
    }

    /// All that is left.
    std::string_view rest() { return text(size_ - at_); }

private:
    using Limits = std::numeric_limits<float>;
    static constexpr std::array<float, 15> kStrange{-0.0F,
                                                    Limits::quiet_NaN(),
                                                    -Limits::quiet_NaN(),
                                                    Limits::infinity(),
                                                    -Limits::infinity(),
                                                    Limits::max(),
                                                    Limits::lowest(),
                                                    Limits::min(),
                                                    Limits::denorm_min(),
                                                    -Limits::denorm_min(),
                                                    1.0e-7F,
                                                    16777217.0F,
                                                    1.0e20F,
                                                    -1.0e20F,
                                                    0.1F};

    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

} // namespace fuzz
