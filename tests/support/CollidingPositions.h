// Positions chosen to collide in the hash that welds positions: the inverse of its steps.
#pragma once

#include <Wm4Foundation.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace test_support {

/// The number by which an odd one has to be multiplied for 1, modulo 2^64; Newton's iteration
/// doubles the bits that are right, of which there are three to begin with.
constexpr std::uint64_t InverseOf(std::uint64_t odd) {
    std::uint64_t inverse = odd;
    for (int bits = 3; bits < 64; bits *= 2) {
        inverse *= 2 - odd * inverse;
    }
    return inverse;
}

/// The x of which y = x ^ x >> shift; shift is 22 at least.
constexpr std::uint64_t UnshiftedXor(std::uint64_t y, unsigned int shift) {
    return y ^ y >> shift ^ (2 * shift < 64 ? y >> 2 * shift : 0);
}

/// The float of which the library's order of positions makes these bits.
inline float FloatOfOrder(std::uint32_t ordered) {
    constexpr std::uint32_t kSign = 0x80000000U;
    return std::bit_cast<float>((ordered & kSign) != 0 ? ordered ^ kSign : ~ordered);
}

/// Which hashes chosen positions have.
enum class Collision {
    kSameHash, ///< All the same.
    kSameSlot  ///< All different, equal in their upper 24 bits: in one slot of any table.
};

/// Different positions of finite coordinates that the hash of the library puts together.
inline std::vector<Wm4::Vector3<float>> CollidingPositions(std::size_t count, Collision collision) {
    constexpr std::uint64_t kFirstFactor = 0x9e3779b97f4a7c15U;
    constexpr std::uint64_t kSecondFactor = 0xd6e8feb86659fd93U;
    std::vector<Wm4::Vector3<float>> positions;
    for (std::uint64_t i = 0; positions.size() < count; ++i) {
        const std::uint64_t hash =
            0x123456789abcdef0U + (collision == Collision::kSameSlot ? i * 0x10001U : 0U);
        const std::uint64_t mixed =
            UnshiftedXor(hash * InverseOf(kFirstFactor), 32) * InverseOf(kSecondFactor);
        // The bits of 1 + i units in the last place, in order.
        const std::uint64_t z = 0xbf800000U + i;
        const std::uint64_t xy = mixed ^ z * kFirstFactor;
        const Wm4::Vector3<float> position(FloatOfOrder(static_cast<std::uint32_t>(xy >> 32U)),
                                           FloatOfOrder(static_cast<std::uint32_t>(xy)),
                                           FloatOfOrder(static_cast<std::uint32_t>(z)));
        // Far from the largest float, so that lengths are finite.
        if (std::fabs(position[0]) < 1e15F && std::fabs(position[1]) < 1e15F) {
            positions.push_back(position);
        }
    }
    return positions;
}

} // namespace test_support
