// Random numbers for tests: a small generator that gives the same numbers with every compiler and
// library, from a seed or from the bytes of a fuzzer, and the factor that scales the number of
// random cases.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace test_support {

/// splitmix64 (Steele, Lea and Flood 2014): any seed is a good one, neighbouring seeds included, so
/// a trial's number serves as its seed.
///
/// Instead of a seed it may be given bytes, which are borrowed. Each number then takes as few of
/// them as it needs, so that changing one byte changes one decision and leaves the others. Once all
/// are used, the numbers of seed 0 follow, whatever the bytes were: nothing waits for a bit that
/// never comes, and what follows the last byte stays the same when an earlier one changes.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    Random(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes), bytesLeft_(size) {}

    /// 64 random bits.
    std::uint64_t next() {
        if (bytesLeft_ > 0) {
            return take(8);
        }
        state_ += 0x9e3779b97f4a7c15U;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
        return z ^ (z >> 31U);
    }

    /// An integer from 0 to n - 1; n must be positive.
    int below(int n) {
        const auto count = static_cast<std::uint64_t>(n);
        return static_cast<int>((bytesLeft_ > 0 ? take(bytesFor(count)) : next()) % count);
    }

    /// A whole number from a to b, both included.
    int between(int a, int b) { return a + below(b - a + 1); }

    /// A multiple of 2^-24 from 0 up to, not including, 1.
    float unit() { return static_cast<float>(bytesLeft_ > 0 ? take(3) : next() >> 40U) * 0x1p-24F; }

    /// A multiple of 2^-24 of the width b - a, rounded, from a to b.
    float uniform(float a, float b) { return a + (b - a) * unit(); }

    /// True in the given share of calls.
    bool percent(int share) { return below(100) < share; }

private:
    // How many bytes distinguish the numbers below count.
    static int bytesFor(std::uint64_t count) {
        int bytes = 0;
        while (bytes < 8 && (count - 1) >> (8 * bytes) != 0) {
            ++bytes;
        }
        return bytes;
    }

    // The number in the next bytes, the lowest first; missing ones are zeros.
    std::uint64_t take(int bytes) {
        std::uint64_t value = 0;
        for (int i = 0; i < bytes && bytesLeft_ > 0; ++i, ++bytes_, --bytesLeft_) {
            value |= std::uint64_t{*bytes_} << (8 * i);
        }
        return value;
    }

    std::uint64_t state_ = 0;
    const std::uint8_t* bytes_ = nullptr;
    std::size_t bytesLeft_ = 0;
};

/// How many random cases to try: n times the environment variable CTR_TEST_SCALE (1 when it is
/// unset or no positive number), at least 1.
inline int Scaled(int n) {
    const char* text = std::getenv("CTR_TEST_SCALE");
    const double scale = text == nullptr ? 1.0 : std::strtod(text, nullptr);
    if (!(scale > 0.0)) {
        return n;
    }
    const double most = std::numeric_limits<int>::max();
    return std::max(1, static_cast<int>(std::min(most, n * scale)));
}

} // namespace test_support
