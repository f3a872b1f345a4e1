// Removes from one set the segments that another set holds too.
#include <ctr/LineSegmentSet.h>
#include <ctr/detail/HashedIndex.h>

#include "linesets/IndexRange.h"
#include "linesets/PositionOrder.h"
#include "linesets/SetConstruction.h"
#include "linesets/SetOperations.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

namespace ctr {
namespace {

/// A segment without direction: the smaller end first.
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

/// Calls visit(segment, key) for all segments that exist, in order. Their vertices lie anywhere:
/// they are fetched some segments ahead.
template <class Visit> void ForEachKey(const LineSegmentSet& set, WorkCounter& work, Visit visit) {
    constexpr std::size_t kAhead = 16;
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

/// The segments of a set as they were, to be found by their ends.
class SegmentTable {
public:
    SegmentTable(const LineSegmentSet& set, WorkCounter& work)
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

/// Gives a set a line list of its own unless nobody else holds its list.
///
/// A mesh's outline, which a set may share, is there for other sets and other threads. A count of
/// 1 stays 1, as nobody else holds a reference to pass on.
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
    // Reading a count orders nothing. Giving a reference back does: what another thread read before
    // it let go comes before what is written here.
    const kx::kxPointer<kx::kxIndexBuffer> afterOthers(shared);
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
    if (to < set.segmentFlags.size()) {
        set.segmentFlags[to] = from < set.segmentFlags.size() && set.segmentFlags[from];
    }
}

/// Leaves the segments that are kept, in their order, with their records.
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

void RemoveCommonSegments(LineSegmentSet* a, const LineSegmentSet* b, WorkCounter& work) {
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
    WorkCounter unwatched;
    ctr::RemoveCommonSegments(a, b, unwatched);
}

} // namespace ctr
