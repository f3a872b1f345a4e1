// A hash of two numbers.
#pragma once

#include <cstdint>

namespace kxcontour {

/// All bits of the result depend on those of both numbers.
inline std::uint64_t PairHash(std::uint64_t first, std::uint64_t second) {
    const std::uint64_t hash = first * 0x9e3779b97f4a7c15U ^ second * 0xc2b2ae3d27d4eb4fU;
    return (hash ^ hash >> 32U) * 0xbf58476d1ce4e5b9U;
}

} // namespace kxcontour
