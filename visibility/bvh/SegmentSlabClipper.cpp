// Prepares a segment for slab tests: reciprocals of its direction, and its start, moved outwards by
// the margins of ErrorBounds.h, section 4. O(1) per segment.
#include "visibility/bvh/SegmentSlabClipper.h"

#include "visibility/ErrorBounds.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace ctr {

SegmentSlabClipper::SegmentSlabClipper(const BakedVertex& a, const BakedVertex& b) {
    constexpr float kParallel = error_bounds::kParallelReciprocal;
    const std::int32_t ends[3][2] = {{a.x, b.x}, {a.y, b.y}, {a.z, b.z}};
    float from[3];
    float per[3];
    float largest = 0.0F;
    for (int axis = 0; axis < 3; ++axis) {
        const auto [p, q] = ends[axis];
        from[axis] = static_cast<float>(p);
        per[axis] =
            p != q ? 1.0F / static_cast<float>(std::int64_t{q} - std::int64_t{p}) : kParallel;
        largest = std::max({largest, std::abs(from[axis]), std::abs(static_cast<float>(q))});
    }
    const float margin = error_bounds::kSlabSteps + error_bounds::kSlabShare * largest;
    const auto both = [](float low, float high) { return Float4{low, low, high, high}; };
    originX_ = both(from[0] + margin, margin - from[0]);
    originY_ = both(from[1] + margin, margin - from[1]);
    originZ_ = both(from[2] + margin, from[2] + margin);
    perX_ = both(per[0], -per[0]);
    perY_ = both(per[1], -per[1]);
    perZ_ = both(per[2], per[2]);
    recedes_ = b.z >= a.z;
}

} // namespace ctr
