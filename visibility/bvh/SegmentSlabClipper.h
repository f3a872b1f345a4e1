// Clips a segment to boxes (segment-box slab test): where it can be occluded by their triangles.
//
// A segment is clipped to the slabs of a box in x and y, and in z to everything that is not in
// front of the box: the slab method of T. L. Kay and J. T. Kajiya, Ray tracing complex scenes,
// SIGGRAPH 1986, with boxes that are open towards the far side. Two boxes are tested at a time, in
// the lanes of a SIMD register. O(1).
//
// The test is conservative: boxes count as larger by the error bound of the floats and a few grid
// steps (ErrorBounds.h), so a part of the segment that is in a box is never missed.
#pragma once

#include "visibility/bvh/Float4.h"

namespace ctr {

class SegmentSlabClipper {
public:
    SegmentSlabClipper(const BakedVertex& a, const BakedVertex& b);

    /// Parameters between which the segment is in the box of either child, 0 at a and 1 at b:
    /// from enter[k] to leave[k] for child k, empty where that is reversed.
    struct Range {
        Float4 enter;
        Float4 leave;
    };

    /// x, y: the lower bounds of both children, then their upper bounds negated; z: the lower
    /// bounds of both children, twice.
    Range clip(Float4 x, Float4 y, Float4 z) const {
        Range result{{0.0F, 0.0F, 0.0F, 0.0F}, {1.0F, 1.0F, 1.0F, 1.0F}};
        clipToSlab(result, (x - originX_) * perX_);
        clipToSlab(result, (y - originY_) * perY_);
        const Float4 depth = (z - originZ_) * perZ_;
        if (recedes_) {
            result.enter = Max(depth, result.enter);
        } else {
            result.leave = Min(depth, result.leave);
        }
        return result;
    }

private:
    static void clipToSlab(Range& range, Float4 at) {
        const Float4 other = {at[2], at[3], at[0], at[1]};
        range.enter = Max(Min(at, other), range.enter);
        range.leave = Min(Max(at, other), range.leave);
    }

    Float4 originX_;
    Float4 originY_;
    Float4 originZ_;
    Float4 perX_;
    Float4 perY_;
    Float4 perZ_;
    bool recedes_; ///< b is at least as far from the eye as a.
};

} // namespace ctr
