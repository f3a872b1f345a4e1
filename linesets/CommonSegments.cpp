// Removes from one set the segments that another set holds too.
#include <ctr/LineSegmentSet.h>

#include "linesets/HashedNumbers.h"
#include "linesets/PositionOrder.h"
#include "linesets/SetConstruction.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {
namespace {

/// A segment without direction: the smaller end first.
struct SegmentKey {
    PositionKey low;
    PositionKey high;

    bool operator==(const SegmentKey&) const = default;
};

SegmentKey KeyOfSegment(const LineSegmentSet& set, std::size_t segment) {
    const unsigned int* indices = set.GetIndexBuffer()->GetData() + 2 * segment;
    const kx::kxVertexBuffer& vertices = *set.GetVertexBuffer();
    const PositionKey p = KeyOf(vertices.Position3(static_cast<int>(indices[0])));
    const PositionKey q = KeyOf(vertices.Position3(static_cast<int>(indices[1])));
    return {std::min(p, q), std::max(p, q)};
}

std::size_t SegmentCountOf(const LineSegmentSet& set) {
    return set.GetVertexBuffer() != nullptr ? SegmentCount(set.GetIndexBuffer()) : 0;
}

/// Calls visit(segment, key) for all segments in order. Their vertices lie anywhere: they are
/// fetched some segments ahead.
template <class Visit> void ForEachKey(const LineSegmentSet& set, Visit visit) {
    constexpr std::size_t kAhead = 16;
    const std::size_t count = SegmentCountOf(set);
    for (std::size_t segment = 0; segment < count; ++segment) {
        if (segment + kAhead < count) {
            const unsigned int* ahead = set.GetIndexBuffer()->GetData() + 2 * (segment + kAhead);
            __builtin_prefetch(&set.GetVertexBuffer()->Position3(static_cast<int>(ahead[0])));
            __builtin_prefetch(&set.GetVertexBuffer()->Position3(static_cast<int>(ahead[1])));
        }
        visit(segment, KeyOfSegment(set, segment));
    }
}

std::uint64_t HashOfSegment(const SegmentKey& key) {
    return HashOf(key.low) ^ std::rotl(HashOf(key.high), 17);
}

/// The segments of a set as they were, to be found by their ends.
class SegmentTable {
public:
    explicit SegmentTable(const LineSegmentSet& set)
        : keys_(SegmentCountOf(set)), numbers_(keys_.size()) {
        ForEachKey(set, [this](std::size_t segment, const SegmentKey& key) {
            keys_[segment] = key;
            numbers_.findOrAdd(HashOfSegment(key), static_cast<std::uint32_t>(segment),
                               [&](std::uint32_t other) { return keys_[other] == key; });
        });
    }

    bool isEmpty() const { return keys_.empty(); }
    bool holds(const SegmentKey& key) const {
        return numbers_.find(HashOfSegment(key), [&](std::uint32_t segment) {
            return keys_[segment] == key;
        }) != HashedNumbers::kNone;
    }

private:
    std::vector<SegmentKey> keys_;
    HashedNumbers numbers_;
};

/// Moves a segment with its records to a place before it.
void MoveSegment(LineSegmentSet& set, std::size_t from, std::size_t to) {
    unsigned int* indices = set.GetIndexBuffer()->GetData();
    std::copy_n(indices + 2 * from, 2, indices + 2 * to);
    if (from < set.occlusionIntervals.size()) {
        std::swap(set.occlusionIntervals[to], set.occlusionIntervals[from]);
    }
    if (from < set.clipRanges.size()) {
        std::swap(set.clipRanges[to], set.clipRanges[from]);
    }
}

} // namespace

void LineSegmentSet::RemoveCommonSegments(LineSegmentSet* a, const LineSegmentSet* b) {
    if (a == nullptr || b == nullptr) {
        return;
    }
    const std::size_t count = SegmentCountOf(*a);
    const SegmentTable common(*b);
    if (common.isEmpty() && count > 0) {
        return;
    }
    std::size_t kept = 0;
    ForEachKey(*a, [&](std::size_t segment, const SegmentKey& key) {
        if (common.holds(key)) {
            return;
        }
        if (segment != kept) {
            MoveSegment(*a, segment, kept);
        }
        ++kept;
    });
    if (kept > 0) {
        a->GetIndexBuffer()->SetIndexQuantity(static_cast<int>(2 * kept));
    } else {
        a->SetIndexBuffer(nullptr);
    }
    a->occlusionIntervals.resize(kept);
    a->clipRanges.resize(kept, ClipRange{0.0F, 0.0F, 0.0F, 0.0F});
}

} // namespace ctr
