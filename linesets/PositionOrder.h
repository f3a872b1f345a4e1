// The order of vertices by position: by x, then y, then z, as floats.
#pragma once

#include <ctr/detail/PositionKey.h>

#include <kxSceneGraph/kxVertexBuffer.h>

#include <cstdint>
#include <tuple>
#include <vector>

namespace ctr {

using detail::HashOf;
using detail::KeyOf;
using detail::PositionKey;

/// A vertex in the order of positions, ties by index.
struct KeyedVertex {
    PositionKey key;
    std::uint32_t vertex;

    bool operator<(const KeyedVertex& other) const {
        return std::tie(key, vertex) < std::tie(other.key, other.vertex);
    }
};

/// The rank of each vertex among the distinct positions of a buffer, from 0; O(n log n).
std::vector<std::uint32_t> RankPositions(const kx::kxVertexBuffer& vertices);

} // namespace ctr
