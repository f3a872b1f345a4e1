// An axis-aligned box of single-precision floats.
#ifndef KXSYSTEM_KXBBOX_H
#define KXSYSTEM_KXBBOX_H

#include <limits>

namespace kx {

/// A closed axis-aligned box: x, y, z of its lowest corner, then of its highest.
///
/// The default is the empty box, +infinity to -infinity: it holds no point, overlaps nothing, and
/// the union with it changes nothing. The six floats lie one after the other without padding.
struct kxBBox {
    /// The lowest corner.
    float min[3] = {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity(),
                    std::numeric_limits<float>::infinity()};
    /// The highest corner.
    float max[3] = {-std::numeric_limits<float>::infinity(),
                    -std::numeric_limits<float>::infinity(),
                    -std::numeric_limits<float>::infinity()};

    /// Compares the six numbers; two empty boxes are equal, a box with a NaN equals nothing.
    bool operator==(const kxBBox&) const = default;
};

static_assert(sizeof(kxBBox) == 6 * sizeof(float), "hierarchy nodes are read as packed records");

} // namespace kx

#endif
