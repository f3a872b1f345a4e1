// The randomness of the tests: a small seeded generator that gives the same numbers with every
// compiler and library, and the knob that scales how many random cases are tried.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace test_support {

/// splitmix64 (Steele, Lea and Flood 2014): any seed is a good one, neighbouring seeds included, so
/// a trial's number serves as its seed.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() {
        state_ += 0x9e3779b97f4a7c15U;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
        return z ^ (z >> 31U);
    }

    /// A whole number from 0 to n - 1; n has to be positive.
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }

    /// A whole number from a to b, both included.
    int between(int a, int b) { return a + below(b - a + 1); }

    /// A multiple of 2^-24 from 0 up to, not including, 1.
    float unit() { return static_cast<float>(next() >> 40U) * 0x1p-24F; }

    /// A multiple of 2^-24 of the width b - a, rounded, from a to b.
    float uniform(float a, float b) { return a + (b - a) * unit(); }

    /// True in the given share of calls.
    bool percent(int share) { return below(100) < share; }

private:
    std::uint64_t state_;
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
