// The hidden ranges of one segment after another, each sought no longer than it takes to know that
// all of it is hidden.
#pragma once

#include <ctr/IntervalTools.h>

#include "visibility/GridArithmetic.h"
#include "visibility/OccluderTree.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ctr {

/// Whether a range is all of a segment.
inline bool IsWhole(const RationalInterval& range) {
    return range.start[0] == 0 && range.end[0] == range.end[1];
}

/// Whether fused ranges are all of a segment.
inline bool AreWhole(const std::vector<RationalInterval>& ranges) {
    return ranges.size() == 1 && IsWhole(ranges.front());
}

inline RationalInterval WholeSegment() {
    return {{0, 1}, {1, 1}};
}

class HiddenRanges {
public:
    /// What `partOf` gives for the triangles of the tree, as far as their union needs it, in any
    /// order; the one range 0/1 .. 1/1 when that is the whole segment. Valid until the next call.
    ///
    /// partOf(triangle) is the part of the segment that a triangle hides, if any. It is not asked
    /// for triangles that only hide what lies strictly within ranges found before.
    template <class PartOf>
    const std::vector<RationalInterval>&
    find(const OccluderTree& tree, const SegmentProbe& probe, PartOf partOf) {
        return isHiddenByLast(tree, partOf) ? whole() : seek(tree, probe, partOf, {});
    }

    /// Whether a triangle hides the whole segment that did so lately: the first step of find().
    template <class PartOf> bool isHiddenByLast(const OccluderTree& tree, PartOf partOf) const {
        const auto& triangles = tree.triangles();
        return std::any_of(lastHiders_.begin(), lastHiders_.end(), [&](std::uint32_t slot) {
            const auto part = slot < triangles.size() ? partOf(triangles[slot]) : std::nullopt;
            return part && IsWhole(*part);
        });
    }

    /// The second step of find(). Triangles that are expected to hide parts of the segment, by
    /// their slots, are asked first.
    template <class PartOf>
    const std::vector<RationalInterval>& seek(const OccluderTree& tree,
                                              const SegmentProbe& probe,
                                              PartOf partOf,
                                              const std::vector<std::uint32_t>& expected) {
        start();
        const auto& triangles = tree.triangles();
        bool hidden = std::any_of(expected.begin(), expected.end(), [&](std::uint32_t slot) {
            const std::optional<RationalInterval> part = partOf(triangles[slot]);
            return part && add(*part, slot);
        });
        if (hidden) {
            return whole();
        }
        tree.walk(probe, coverage_, [&](std::uint32_t slot, std::uint32_t end) {
            for (; slot != end && !hidden; ++slot) {
                const std::optional<RationalInterval> part = partOf(triangles[slot]);
                hidden = part && add(*part, slot);
            }
            return hidden;
        });
        return hidden ? whole() : ranges_;
    }

private:
    void start();
    const std::vector<RationalInterval>& whole() {
        ranges_.assign(1, WholeSegment());
        return ranges_;
    }
    bool add(const RationalInterval& range, std::uint32_t slot);
    void extendEnds(const RationalInterval& range);
    bool isAllHidden();

    /// Triangles that hid the whole of a segment lately often hide the next one, too.
    std::array<std::uint32_t, 4> lastHiders_{};
    std::size_t nextHider_ = 0;
    Coverage coverage_;
    std::vector<RationalInterval> ranges_;
    /// Hidden are 0 .. hiddenTo_ and hiddenFrom_ .. 1.
    Fraction hiddenTo_;
    Fraction hiddenFrom_;
    std::vector<RationalInterval> fused_;
    std::size_t nextLook_ = 0;
};

} // namespace ctr
