// The occluded intervals of the feature edges of a drawing.
//
// Segments are tested, in this order, against the coarse depth buffer, recent occluders and the
// packed BVH (OccludedIntervals). For few segments, the baked BVH is traversed as it is: packing
// would cost more. Where so many triangles overlap that boxes separate too little, the search of
// dense/ takes over. The choice never changes the result, except for intervals within others, and
// all of these are exact. O(log n) per segment at low depth complexity.
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/Tuning.h"
#include "visibility/bvh/OccluderBvh.h"
#include "visibility/dense/RegionFronts.h"
#include "visibility/exact/ContactTolerance.h"
#include "visibility/occlusion/DenseOccluders.h"
#include "visibility/occlusion/OccludedIntervals.h"
#include "visibility/occlusion/OccluderLayout.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ctr {

/// Identifies the state of baked triangles without reading all of them: the count of changes and,
/// for changes made without notice, the addresses and lengths of the arrays.
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
    std::array<std::uint32_t, 6> rootBox; ///< As bits.
};

/// Gives the intervals of BakedTriangles::computeOcclusionIntervals(), but for intervals within
/// others. The baked triangles are borrowed and may change between one use and the next announce().
class EdgeOcclusion {
public:
    explicit EdgeOcclusion(const BakedTriangles& baked, const OcclusionLimits& limits = {})
        : baked_(&baked), limits_(limits) {}

    /// Prepares for so many more segments: the BVH is packed as soon as that pays for all announced
    /// so far. When cancelled, there is no layout.
    void announce(std::size_t segments, ItemCounter& work);

    /// Prepares the dense search once so many triangles have been tested that it pays; to be called
    /// between segments, with the number of occluded intervals found for the last one. Throws
    /// Cancelled.
    void considerDenseSearch(std::size_t intervals, ItemCounter& work);

    bool usesDenseSearch() const { return dense_.has_value(); }
    /// The number of triangles, and nodes of the dense search, visited since release().
    std::size_t visits() const { return tested_ + (dense_ ? dense_->visits() : 0); }

    /// Appends the occluded intervals of a -> b, overlapping and in any order; 0/1 .. 1/1 alone for
    /// a fully occluded segment.
    void
    append(const BakedVertex& a, const BakedVertex& b, std::vector<RationalInterval>& occluded);

    /// The layout of the current baked triangles, or null where there is none or it is not
    /// conservative. Valid until the next call of announce() or release().
    const OccluderLayout* layout() const {
        const bool isUsable = layout_ && layout_->isConservative();
        return isUsable && stateOfLayout_ == BakedState(*baked_) ? &*layout_ : nullptr;
    }

    /// Frees the layout. It is rebuilt when needed.
    void release();

private:
    const BakedTriangles* baked_;
    std::optional<BakedState> stateOfLayout_;
    std::size_t announced_ = 0;
    std::optional<OccluderLayout> layout_;
    OccludedIntervals intervals_;
    OcclusionLimits limits_;
    std::optional<TriangleCopies> copies_; ///< For dense_.
    std::optional<DenseOccluders> dense_;
    std::optional<RegionFronts> fronts_; ///< Present whenever dense_ is.
    bool haveConsideredDenseSearch_ = false;
    std::size_t segments_ = 0;      ///< Searched.
    std::size_t tested_ = 0;        ///< Triangles, for all of them.
    std::size_t intervalCount_ = 0; ///< Occluded intervals of them.
};

} // namespace ctr
