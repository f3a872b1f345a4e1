// The different positions of a vertex buffer.
#pragma once

#include <kxSceneGraph/kxVertexBuffer.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace kxcontour {

/// The bits of a position; both zeros have the same.
using PositionBits = std::array<std::uint32_t, 3>;

/// Numbers all different positions, as they come: expected linear time, O(n log n) whatever they
/// are.
///
/// Open addressing; nothing walks over the table in its own order, so that reaches no result.
/// Positions that find a long row of slots taken, as a file can choose them, go into a sorted tree.
class Places {
public:
    explicit Places(const kx::kxVertexBuffer& vertices);

    std::size_t count() const { return positions_.size(); }
    std::uint32_t ofVertex(unsigned int vertex) const { return ofVertex_[vertex]; }
    const PositionBits& position(std::uint32_t place) const { return positions_[place]; }

private:
    static constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

    struct Slot {
        PositionBits position{};
        std::uint32_t place = kNone;
    };

    void addBlock(const kx::kxVertexBuffer& vertices, int first, int end);
    std::uint32_t numberOf(const PositionBits& position, std::size_t hash);
    Slot* slotOf(const PositionBits& position, std::size_t hash);
    std::uint32_t newPlace(const PositionBits& position);

    std::vector<std::uint32_t> ofVertex_;
    std::vector<PositionBits> positions_;
    std::vector<Slot> table_; ///< A power of two of slots.
    std::map<PositionBits, std::uint32_t> crowd_;
};

} // namespace kxcontour
