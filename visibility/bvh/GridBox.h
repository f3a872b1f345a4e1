// A box of grid points against which triangles are tested in SIMD registers. Exact, O(1).
#pragma once

#include <kxSystem/kxBBox.h>

#include "visibility/bvh/Float4.h"

#include <cstdint>
#include <limits>

namespace ctr {

/// Rejects triangles that lie beside a box of grid points, or at or beyond a depth, with a few
/// integer comparisons. Exact; `max.z` is the largest depth that is inside.
///
/// A corner is loaded together with the number that follows it in memory: the fourth lane of the
/// box accepts every number.
class GridBox {
public:
    GridBox(const BakedVertex& min, const BakedVertex& max)
        : min_{min.x, min.y, min.z, kLowest}, max_{max.x, max.y, max.z, kHighest} {}

    /// Whether all of a triangle lies outside of one face of the box. The three corners have to be
    /// followed by a number in memory, as in SlotTriangle.
    bool excludes(const BakedVertex* corners) const {
        const Int4 p = LoadCorner(corners);
        const Int4 q = LoadCorner(corners + 1);
        const Int4 r = LoadCorner(corners + 2);
        return LaneMaskOf(((p > max_) & (q > max_) & (r > max_)) |
                          ((p < min_) & (q < min_) & (r < min_))) != 0;
    }

    /// Whether the box overlaps another one on screen, depth aside. Floats round the faces of boxes
    /// of grid points monotonically, so an overlap is never missed.
    bool overlapsOnScreen(const kx::kxBBox& box) const {
        return !(
            box.min[0] > static_cast<float>(max_[0]) || static_cast<float>(min_[0]) > box.max[0] ||
            box.min[1] > static_cast<float>(max_[1]) || static_cast<float>(min_[1]) > box.max[1]);
    }

    static constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
    static constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

private:
    Int4 min_;
    Int4 max_;
};

} // namespace ctr
