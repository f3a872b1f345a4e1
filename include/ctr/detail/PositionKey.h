// Positions as integers: their order by x, then y, then z, and a hash. Positions are equal only if
// they are exactly equal; there is no tolerance.
#pragma once

#include <Wm4Foundation.h>

#include <bit>
#include <cstdint>
#include <tuple>

namespace ctr::detail {

/// An integer with the order of a float. -0 equals 0; NaNs come at either end, so that the order is
/// total and sorting is safe for the contents of any file.
inline std::uint32_t OrderedBits(float value) {
    constexpr std::uint32_t kSign = 0x80000000U;
    const auto bits = std::bit_cast<std::uint32_t>(value == 0.0F ? 0.0F : value);
    return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

/// A position as integers that compare as it does.
struct PositionKey {
    std::uint64_t xy;
    std::uint32_t z;

    bool operator==(const PositionKey&) const = default;
    bool operator<(const PositionKey& other) const {
        return std::tie(xy, z) < std::tie(other.xy, other.z);
    }
};

inline PositionKey KeyOf(const Wm4::Vector3<float>& p) {
    return {std::uint64_t{OrderedBits(p[0])} << 32 | OrderedBits(p[1]), OrderedBits(p[2])};
}

/// A hash whose upper bits depend on all bits of the key.
inline std::uint64_t HashOf(const PositionKey& key) {
    constexpr std::uint64_t kFirstFactor = 0x9e3779b97f4a7c15U;
    constexpr std::uint64_t kSecondFactor = 0xd6e8feb86659fd93U;
    std::uint64_t hash = (key.xy ^ (std::uint64_t{key.z} * kFirstFactor)) * kSecondFactor;
    hash ^= hash >> 32U;
    return hash * kFirstFactor;
}

} // namespace ctr::detail
