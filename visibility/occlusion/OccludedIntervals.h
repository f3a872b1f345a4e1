// The hidden ranges of one segment after another, each sought no longer than it takes to know that
// all of it is hidden.
#pragma once

#include <ctr/IntervalTools.h>

#include "visibility/bvh/OccluderBvh.h"
#include "visibility/exact/GridArithmetic.h"

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
        return isHiddenByLast(tree, partOf) ? whole() : seek(tree, probe, partOf);
    }

    /// Whether a triangle hides the whole segment that did so lately: the first step of find().
    template <class PartOf> bool isHiddenByLast(const OccluderTree& tree, PartOf partOf) const {
        const SlotTriangles triangles = tree.triangles();
        OccluderTree::Triangle room;
        return std::any_of(lastHiders_.begin(), lastHiders_.end(), [&](std::uint32_t slot) {
            const auto part =
                slot < triangles.size() ? partOf(triangles.get(slot, room)) : std::nullopt;
            return part && IsWhole(*part);
        });
    }

    /// The second step of find().
    template <class PartOf>
    const std::vector<RationalInterval>&
    seek(const OccluderTree& tree, const SegmentProbe& probe, PartOf partOf) {
        start();
        return seekRest(tree, probe, partOf);
    }

    /// Whether triangles that may hide much of the next segment hide all of it: those whose slots
    /// nearest(t) gives, over the place at a parameter. If not, seekRest() finds what others hide
    /// as well.
    template <class PartOf, class Nearest>
    bool areHiding(const OccluderTree& tree, PartOf partOf, Nearest nearest) {
        constexpr int kMostLooks = 6;
        const SlotTriangles triangles = tree.triangles();
        OccluderTree::Triangle room;
        const auto ask = [&](double at) {
            const auto& slots = nearest(at);
            return std::any_of(slots.begin(), slots.end(), [&](std::uint32_t slot) {
                const std::optional<RationalInterval> part = partOf(triangles.get(slot, room));
                return part && add(*part, slot);
            });
        };
        start();
        if (ask(0.5) || ask(0.1) || ask(0.9)) {
            return true;
        }
        double last = 0.5;
        for (int look = 0; look < kMostLooks && middleOfOpen() != last; ++look) {
            last = middleOfOpen();
            if (ask(last)) {
                return true;
            }
        }
        return false;
    }

    /// What areHiding() has found.
    const std::vector<RationalInterval>& known() const { return ranges_; }

    /// Holds all of the segment that is not known to be hidden.
    RationalInterval open() const { return {hiddenTo_, hiddenFrom_}; }

    /// What areHiding() has found, and what other triangles hide: the rest of find().
    template <class PartOf>
    const std::vector<RationalInterval>&
    seekRest(const OccluderTree& tree, const SegmentProbe& probe, PartOf partOf) {
        bool hidden = false;
        const auto visit = [&](const OccluderTree::Triangle& triangle, std::uint32_t slot) {
            const std::optional<RationalInterval> part = partOf(triangle);
            hidden = part && add(*part, slot);
            return hidden;
        };
        tree.walk(probe, coverage_, visit);
        return hidden ? whole() : ranges_;
    }

    /// The whole segment.
    const std::vector<RationalInterval>& whole() {
        ranges_.assign(1, WholeSegment());
        return ranges_;
    }

private:
    void start();
    double middleOfOpen() const;
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
