// The hidden ranges of feature edges, for as many as a drawing has.
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/bvh/OccluderBvh.h"
#include "visibility/dense/DenseOccluders.h"
#include "visibility/dense/RegionFronts.h"
#include "visibility/exact/ContactTolerance.h"
#include "visibility/occlusion/CoarseDepthBuffer.h"
#include "visibility/occlusion/OccludedIntervals.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ctr {

/// What a layout was made of, as far as can be told without reading all of it: the count of changes
/// and, for changes that nobody has announced, where the arrays are and how long.
struct BakedState {
    struct Extent {
        const void* data;
        std::size_t size;
        bool operator==(const Extent&) const = default;
    };

    explicit BakedState(const BakedTriangles& baked);
    bool operator==(const BakedState&) const = default;

    std::uint64_t changes;
    ContactTolerance tolerance;
    std::array<Extent, 5> arrays;
    std::array<std::uint32_t, 6> rootBox; ///< Bit by bit.
};

/// When the hierarchy is given up, as so much lies in one place that it tells little apart.
struct OccluderLimits {
    /// How many triangles are tested: so many for each triangle there is, for each segment, and for
    /// each hidden range of these in the end.
    std::size_t testsPerTriangle = 64;
    std::size_t testsPerSegment = 512;
    std::size_t testsPerRange = 32;
    /// How many distinct triangles meet in a corner that is not crowded yet.
    std::uint32_t hubDegree = 16;
    /// Of how many triangles copies are made.
    std::size_t mostCopied = OccluderTree::kMostCopied;
};

/// Answers as BakedTriangles::computeOcclusionIntervals() does, but for ranges within others. The
/// baked triangles are borrowed and may change between one use and the next announce().
class EdgeOcclusion {
public:
    explicit EdgeOcclusion(const BakedTriangles& baked, const OccluderLimits& limits = {})
        : baked_(&baked), limits_(limits) {}

    /// Says that so many segments will be asked for: the tree is laid out anew once there are so
    /// many that it pays. When that is cancelled, there is no layout.
    void announce(std::size_t segments, ItemCounter& work);

    /// Lays out crowded triangles by themselves once so many have been tested that it pays; to be
    /// asked between segments, with the number of hidden ranges that all of them have so far.
    /// Throws Cancelled.
    void considerCrowds(std::size_t ranges, ItemCounter& work);

    bool isCrowded() const { return crowd_.has_value(); }
    /// How many triangles, and nodes of crowds, have been looked at since release().
    std::size_t looks() const { return tested_ + (crowd_ ? crowd_->looks() : 0); }

    /// Appends parts of a -> b that are hidden, overlapping and in any order; 0/1 .. 1/1 alone when
    /// that is all of it.
    void append(const BakedVertex& a, const BakedVertex& b, std::vector<RationalInterval>& hidden);

    /// The layout, if there is a faithful one of what is baked now; for whoever has other questions
    /// to it. It lasts until the next call of announce() or release().
    const OccluderLayout* layout() const {
        const bool isUsable = layout_ && layout_->isFaithful();
        return isUsable && stateOfLayout_ == BakedState(*baked_) ? &*layout_ : nullptr;
    }

    /// Frees the layout; it is made again when needed.
    void release();

private:
    const BakedTriangles* baked_;
    std::optional<BakedState> stateOfLayout_;
    std::size_t announced_ = 0;
    std::optional<OccluderLayout> layout_;
    HiddenRanges ranges_;
    OccluderLimits limits_;
    std::optional<TriangleCopies> copies_; ///< For the crowd.
    std::optional<CrowdedOccluders> crowd_;
    std::optional<CrowdSurfaces> surfaces_; ///< There whenever crowd_ is.
    bool haveConsideredCrowds_ = false;
    std::size_t asked_ = 0;  ///< Segments.
    std::size_t tested_ = 0; ///< Triangles, for all of them.
    std::size_t hidden_ = 0; ///< Ranges of them.
};

} // namespace ctr
