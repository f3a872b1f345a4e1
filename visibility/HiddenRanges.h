// The hidden ranges of one segment after another, each sought no longer than it takes to know that
// all of it is hidden.
#pragma once

#include <ctr/IntervalTools.h>

#include "visibility/OccluderTree.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ctr {

class HiddenRanges {
public:
    /// What `partOf` gives for the triangles of the tree, as far as their union needs it, in any
    /// order; the one range 0/1 .. 1/1 when that is the whole segment. Valid until the next call.
    ///
    /// partOf(triangle) is the part of the segment that a triangle hides, if any. It is not asked
    /// for triangles that only hide what lies strictly within ranges found before.
    template <class PartOf>
    const std::vector<RationalInterval>&
    find(const OccluderTree& tree, const SegmentProbe& probe, PartOf partOf);

private:
    void start() {
        ranges_.clear();
        coverage_.clear();
        nextLook_ = kFirstLook;
    }
    /// True when the whole segment is known to be hidden.
    bool add(const RationalInterval& range);
    bool isAllHidden();

    static constexpr std::size_t kFirstLook = 4;
    /// A triangle that hides the whole of one segment often hides that of the next.
    std::uint32_t lastHider_ = 0;
    Coverage coverage_;
    std::vector<RationalInterval> ranges_;
    std::vector<RationalInterval> fused_;
    std::size_t nextLook_ = kFirstLook;
};

/// Whether a range is all of a segment.
bool IsWhole(const RationalInterval& range);

inline RationalInterval WholeSegment() {
    return {{0, 1}, {1, 1}};
}

template <class PartOf>
const std::vector<RationalInterval>&
HiddenRanges::find(const OccluderTree& tree, const SegmentProbe& probe, PartOf partOf) {
    start();
    bool hidden = false;
    const auto& triangles = tree.triangles();
    const auto look = [&](std::uint32_t slot) {
        const std::optional<RationalInterval> part = partOf(triangles[slot]);
        hidden = part && add(*part);
        return hidden;
    };
    const bool hasLast = lastHider_ < triangles.size();
    if (hasLast) {
        const std::optional<RationalInterval> part = partOf(triangles[lastHider_]);
        hidden = part && IsWhole(*part);
    }
    if (!hidden) {
        tree.walk(probe, coverage_, [&](std::uint32_t slot, std::uint32_t end) {
            while (slot != end && !look(slot)) {
                ++slot;
            }
            lastHider_ = hidden && ranges_.size() == 1 ? slot : lastHider_;
            return hidden;
        });
    }
    if (hidden) {
        ranges_.assign(1, WholeSegment());
    }
    return ranges_;
}

} // namespace ctr
