// The order of positions: by x, then y, then z, as floats. Only exactly equal positions are one
// point; there is no tolerance.
#pragma once

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxVertexBuffer.h>

#include <bit>
#include <cstdint>
#include <tuple>
#include <vector>

namespace ctr {

/// An integer with the order of a float. -0 equals 0; what is not a number is put at the far ends,
/// so that the order is total and safe to sort by whatever a file holds.
inline std::uint32_t OrderedBits(float value) {
    constexpr std::uint32_t kSign = 0x80000000U;
    const auto bits = std::bit_cast<std::uint32_t>(value == 0.0F ? 0.0F : value);
    return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

/// A position as integers that compare like it.
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

/// A hash of 64 bits, of which the upper ones depend on all of the key.
inline std::uint64_t HashOf(const PositionKey& key) {
    constexpr std::uint64_t kFirstFactor = 0x9e3779b97f4a7c15U;
    constexpr std::uint64_t kSecondFactor = 0xd6e8feb86659fd93U;
    std::uint64_t hash = (key.xy ^ (std::uint64_t{key.z} * kFirstFactor)) * kSecondFactor;
    hash ^= hash >> 32U;
    return hash * kFirstFactor;
}

/// Positions in order, ties by number: the element of every sort of vertices.
struct KeyedVertex {
    PositionKey key;
    std::uint32_t vertex;

    bool operator<(const KeyedVertex& other) const {
        return std::tie(key, vertex) < std::tie(other.key, other.vertex);
    }
};

/// The rank of every vertex among the distinct positions of a buffer, from 0; O(n log n).
std::vector<std::uint32_t> RankPositions(const kx::kxVertexBuffer& vertices);

} // namespace ctr
