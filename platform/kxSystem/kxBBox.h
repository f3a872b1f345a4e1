// An axis-aligned box of single-precision floats.
#ifndef KXSYSTEM_KXBBOX_H
#define KXSYSTEM_KXBBOX_H

#include <limits>

namespace kx {

/// A closed axis-aligned box: x, y, z of its lowest corner, then of its highest.
///
/// The default is the empty box, +infinity to -infinity: it contains no point, overlaps nothing,
/// and the union with it changes nothing. The six floats are contiguous, without padding.
struct kxBBox {
    /// The lowest corner.
    float min[3] = {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity(),
                    std::numeric_limits<float>::infinity()};
    /// The highest corner.
    float max[3] = {-std::numeric_limits<float>::infinity(),
                    -std::numeric_limits<float>::infinity(),
                    -std::numeric_limits<float>::infinity()};

    /// Compares the six numbers; two empty boxes are equal, a box with a NaN equals nothing.
    bool operator==(const kxBBox& other) const {
        return min[0] == other.min[0] && min[1] == other.min[1] && min[2] == other.min[2] &&
               max[0] == other.max[0] && max[1] == other.max[1] && max[2] == other.max[2];
    }
    /// Whether any of the six differs.
    bool operator!=(const kxBBox& other) const { return !(*this == other); }
};

static_assert(sizeof(kxBBox) == 6 * sizeof(float), "hierarchy nodes are read as packed records");

} // namespace kx

#endif
