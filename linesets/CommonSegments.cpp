// Removes from one set the segments that another set holds too.
#include <ctr/LineSegmentSet.h>

#include "linesets/PositionOrder.h"
#include "linesets/SetConstruction.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace ctr {
namespace {

/// A segment without direction: the smaller end first.
struct SegmentKey {
    PositionKey low;
    PositionKey high;

    bool operator<(const SegmentKey& other) const {
        return std::tie(low, high) < std::tie(other.low, other.high);
    }
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

std::vector<SegmentKey> SortedKeys(const LineSegmentSet& set) {
    std::vector<SegmentKey> keys(SegmentCountOf(set));
    for (std::size_t i = 0; i < keys.size(); ++i) {
        keys[i] = KeyOfSegment(set, i);
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

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
    const std::vector<SegmentKey> common = SortedKeys(*b);
    if (common.empty() && count > 0) {
        return;
    }
    std::size_t kept = 0;
    for (std::size_t segment = 0; segment < count; ++segment) {
        if (std::binary_search(common.begin(), common.end(), KeyOfSegment(*a, segment))) {
            continue;
        }
        if (segment != kept) {
            MoveSegment(*a, segment, kept);
        }
        ++kept;
    }
    if (kept > 0) {
        a->GetIndexBuffer()->SetIndexQuantity(static_cast<int>(2 * kept));
    } else {
        a->SetIndexBuffer(nullptr);
    }
    a->occlusionIntervals.resize(kept);
    a->clipRanges.resize(kept, ClipRange{0.0F, 0.0F, 0.0F, 0.0F});
}

} // namespace ctr
