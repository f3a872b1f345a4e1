// Removes from one set the segments that another set has too, by a hash table of their ends.
// Segments are equal if their ends have exactly equal positions, in either direction; there is no
// tolerance. Expected linear time, O(n log n) for any input (ctr/detail/HashedIndex.h).
#include "linesets/CommonSegments.h"

#include <ctr/LineSegmentSet.h>
#include <ctr/detail/HashedIndex.h>

#include "linesets/IndexRange.h"
#include "linesets/PositionOrder.h"
#include "linesets/SetConstruction.h"
#include "linesets/Tuning.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

namespace ctr {
namespace {

/// An undirected segment: the smaller end first.
struct SegmentKey {
    PositionKey low;
    PositionKey high;

    bool operator==(const SegmentKey&) const = default;
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

/// Calls visit(segment, key) for all segments that exist, in order. Vertices are prefetched some
/// segments ahead, since they lie in no order.
template <class Visit> void ForEachKey(const LineSegmentSet& set, ItemCounter& work, Visit visit) {
    constexpr std::size_t kAhead = LineTuning::kPrefetchedSegments;
    const std::size_t count = SegmentCountOf(set);
    const unsigned int positions = PositionCount(set.GetVertexBuffer());
    const auto exists = [&](std::size_t segment) {
        return segment < count &&
               SegmentExists(set.GetIndexBuffer()->GetData() + 2 * segment, positions);
    };
    ForEachCounted(count, work, [&](std::size_t segment) {
        if (exists(segment + kAhead)) {
            const unsigned int* ahead = set.GetIndexBuffer()->GetData() + 2 * (segment + kAhead);
            __builtin_prefetch(&set.GetVertexBuffer()->Position3(static_cast<int>(ahead[0])));
            __builtin_prefetch(&set.GetVertexBuffer()->Position3(static_cast<int>(ahead[1])));
        }
        if (exists(segment)) {
            visit(segment, KeyOfSegment(set, segment));
        }
    });
}

std::uint64_t HashOfSegment(const SegmentKey& key) {
    return HashOf(key.low) ^ std::rotl(HashOf(key.high), 17);
}

/// The segments of a set, looked up by their ends.
class SegmentTable {
public:
    SegmentTable(const LineSegmentSet& set, ItemCounter& work)
        : keys_(SegmentCountOf(set)), index_(keys_.size()) {
        ForEachKey(set, work, [this](std::size_t segment, const SegmentKey& key) {
            keys_[segment] = key;
            index_.findOrAdd(HashOfSegment(key), key, static_cast<std::uint32_t>(segment),
                             KeyOfSegmentIndex{keys_});
        });
    }

    bool isEmpty() const { return keys_.empty(); }
    bool holds(const SegmentKey& key) const {
        return index_.find(HashOfSegment(key), key, KeyOfSegmentIndex{keys_}) != Index::kNone;
    }

private:
    using Index = detail::HashedIndex<SegmentKey>;

    struct KeyOfSegmentIndex {
        const std::vector<SegmentKey>& keys;

        const SegmentKey& operator()(std::uint32_t segment) const { return keys[segment]; }
    };

    std::vector<SegmentKey> keys_;
    Index index_;
};

/// Gives a set an index buffer of its own unless it is the only owner already.
///
/// A set may share the buffer of a mesh's outline, which other sets and threads read. A reference
/// count of 1 stays 1, since no other owner can pass a reference on.
void OwnIndexBuffer(LineSegmentSet& set) {
    kx::kxIndexBuffer* shared = set.GetIndexBuffer();
    if (shared == nullptr) {
        return;
    }
    if (shared->GetReferences() > 1) {
        const kx::kxPointer<kx::kxIndexBuffer> own(
            new kx::kxIndexBuffer(shared->GetIndexQuantity(), shared->GetIndexBufferType()));
        std::copy_n(shared->GetData(), shared->GetIndexQuantity(), own->GetData());
        set.SetIndexBuffer(own.get());
        return;
    }
    // Reading the count does not synchronise; releasing a reference does: it orders the reads of
    // other threads before their release ahead of the writes that follow here.
    const kx::kxPointer<kx::kxIndexBuffer> afterOthers(shared);
}

/// Moves a segment and its records to an earlier index.
void MoveSegment(LineSegmentSet& set, std::size_t from, std::size_t to) {
    unsigned int* indices = set.GetIndexBuffer()->GetData();
    std::copy_n(indices + 2 * from, 2, indices + 2 * to);
    if (from < set.occlusionIntervals.size()) {
        std::swap(set.occlusionIntervals[to], set.occlusionIntervals[from]);
    }
    if (from < set.clipRanges.size()) {
        std::swap(set.clipRanges[to], set.clipRanges[from]);
    }
    if (to < set.segmentFlags.size()) {
        set.segmentFlags[to] = from < set.segmentFlags.size() && set.segmentFlags[from];
    }
}

/// Compacts the set to the segments that are kept, in order, with their records.
void KeepSegments(LineSegmentSet& set, const std::vector<bool>& isKept) {
    std::size_t count = 0;
    for (std::size_t segment = 0; segment < isKept.size(); ++segment) {
        if (isKept[segment]) {
            if (segment != count) {
                MoveSegment(set, segment, count);
            }
            ++count;
        }
    }
    if (count > 0) {
        set.GetIndexBuffer()->SetIndexQuantity(static_cast<int>(2 * count));
    } else {
        set.SetIndexBuffer(nullptr);
    }
    set.occlusionIntervals.resize(count);
    set.clipRanges.resize(count, LineSegmentSet::ClipRange{0.0F, 0.0F, 0.0F, 0.0F});
    if (!set.segmentFlags.empty()) {
        set.segmentFlags.resize(count);
    }
}

} // namespace

void RemoveCommonSegments(LineSegmentSet* a, const LineSegmentSet* b, ItemCounter& work) {
    if (a == nullptr || b == nullptr) {
        return;
    }
    const SegmentTable common(*b, work);
    std::vector<bool> isKept(SegmentCountOf(*a), true);
    if (common.isEmpty() && !isKept.empty()) {
        return;
    }
    ForEachKey(*a, work, [&](std::size_t segment, const SegmentKey& key) {
        isKept[segment] = !common.holds(key);
    });
    OwnIndexBuffer(*a);
    KeepSegments(*a, isKept);
}

void LineSegmentSet::RemoveCommonSegments(LineSegmentSet* a, const LineSegmentSet* b) {
    ItemCounter uncancelled;
    ctr::RemoveCommonSegments(a, b, uncancelled);
}

} // namespace ctr
