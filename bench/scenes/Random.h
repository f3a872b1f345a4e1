// Random numbers for the scenes, the same from every compiler and library.
#pragma once

#include <cstdint>

namespace bench {

/// splitmix64 (Steele, Lea and Flood 2014).
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    /// Uniform in [a, b), apart from rounding, with 53 random bits.
    double uniform(double a, double b) {
        state_ += 0x9e3779b97f4a7c15U;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
        z ^= z >> 31U;
        return a + (b - a) * (static_cast<double>(z >> 11U) * 0x1p-53);
    }

private:
    std::uint64_t state_;
};

} // namespace bench
