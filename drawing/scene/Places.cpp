// A hash table of positions. It is larger than the processor's cache, so what a block of vertices
// asks of it is fetched at once.
#include "drawing/scene/Places.h"

#include <algorithm>
#include <bit>

namespace kxcontour {
namespace {

/// Slots for so many positions, of which three quarters are used at most.
std::size_t TableFor(std::size_t count) {
    return std::bit_ceil(count + count / 3 + 2);
}

constexpr int kVerticesAtOnce = 32;

/// At three quarters full, ordinary positions are hardly ever farther from their slot.
constexpr int kLongestProbe = 128;

PositionBits BitsOf(const Wm4::Vector3<float>& p) {
    return {std::bit_cast<std::uint32_t>(p[0] + 0.0F), std::bit_cast<std::uint32_t>(p[1] + 0.0F),
            std::bit_cast<std::uint32_t>(p[2] + 0.0F)};
}

/// Written out: as arrays they would be compared by a call.
bool IsSame(const PositionBits& p, const PositionBits& q) {
    return p[0] == q[0] && p[1] == q[1] && p[2] == q[2];
}

std::size_t HashOf(const PositionBits& position) {
    std::uint64_t hash = (position[0] | std::uint64_t{position[1]} << 32U) * 0x9e3779b97f4a7c15U;
    hash = (hash ^ hash >> 32U ^ position[2]) * 0xbf58476d1ce4e5b9U;
    return hash ^ hash >> 32U;
}

} // namespace

Places::Places(const kx::kxVertexBuffer& vertices)
    : table_(TableFor(static_cast<std::size_t>(vertices.GetVertexQuantity()))) {
    const int count = vertices.GetVertexQuantity();
    ofVertex_.reserve(static_cast<std::size_t>(count));
    for (int first = 0; first < count; first += kVerticesAtOnce) {
        addBlock(vertices, first, std::min(count, first + kVerticesAtOnce));
    }
}

void Places::addBlock(const kx::kxVertexBuffer& vertices, int first, int end) {
    std::array<PositionBits, kVerticesAtOnce> positions;
    std::array<std::size_t, kVerticesAtOnce> hashes;
    const auto count = static_cast<std::size_t>(end - first);
    for (std::size_t i = 0; i < count; ++i) {
        positions[i] = BitsOf(vertices.Position3(first + static_cast<int>(i)));
        hashes[i] = HashOf(positions[i]);
        __builtin_prefetch(&table_[hashes[i] & (table_.size() - 1)], 1);
    }
    for (std::size_t i = 0; i < count; ++i) {
        ofVertex_.push_back(numberOf(positions[i], hashes[i]));
    }
}

std::uint32_t Places::numberOf(const PositionBits& position, std::size_t hash) {
    Slot* const slot = slotOf(position, hash);
    if (slot == nullptr) {
        const auto [found, isNew] = crowd_.try_emplace(position, kNone);
        return isNew ? found->second = newPlace(position) : found->second;
    }
    if (slot->place == kNone) {
        *slot = {position, newPlace(position)};
    }
    return slot->place;
}

/// The slot that the position is in, or would go into; null where others have taken the row. No
/// slot is ever freed, so a position stays where it was put.
Places::Slot* Places::slotOf(const PositionBits& position, std::size_t hash) {
    const std::size_t mask = table_.size() - 1;
    std::size_t at = hash & mask;
    for (int probe = 0; probe < kLongestProbe; ++probe) {
        if (table_[at].place == kNone || IsSame(table_[at].position, position)) {
            return &table_[at];
        }
        at = (at + 1) & mask;
    }
    return nullptr;
}

std::uint32_t Places::newPlace(const PositionBits& position) {
    positions_.push_back(position);
    return static_cast<std::uint32_t>(positions_.size() - 1);
}

} // namespace kxcontour
