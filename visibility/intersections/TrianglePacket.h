// Packets of four triangles, tested together in the lanes of SIMD registers.
//
// Three conservative tests reject pairs before exact arithmetic: overlap of boxes, separation of a
// box or triangle by the planes of the packet, and separation of the packet's triangles by another
// plane. Planes are in floats with an error bound; a lane is rejected only beyond it. O(1) per
// test.
#pragma once

#include <kxSystem/kxBBox.h>

#include "visibility/bvh/Float4.h"
#include "visibility/exact/GridArithmetic.h"

#include <cstdint>

namespace ctr {

/// The coordinates of a corner as floats.
inline Float4 FloatCorner(const BakedVertex* corner) {
    return __builtin_convertvector(LoadCorner(corner), Float4);
}

/// The plane normal . p = offset in floats, for one triangle (float) or a packet (Float4). Values
/// are off by less than `errorBound` at every point of the scene.
template <class Number> struct FloatPlane {
    Number normal[3];
    Number offset;
    Number errorBound;
};

/// Up to four triangles in consecutive slots, as a structure of arrays.
struct TrianglePacket {
    static constexpr std::uint32_t kSize = 4;

    Float4 min[3]; ///< Boxes per axis. Lanes without a triangle have a box that overlaps none.
    Float4 max[3];
    Float4 corners[3][3]; ///< By corner, then axis.
    FloatPlane<Float4> planes;
    GridVector normals[4];
    std::uint32_t firstSlot;
    LaneMask present;
    LaneMask marked;

    /// The triangles whose boxes share a point with a box. Rounding to floats is monotonic, so none
    /// is missed.
    template <class Numbers>
    LaneMask overlapping(const Numbers& otherMin, const Numbers& otherMax) const {
        return LaneMaskOf((min[0] <= otherMax[0]) & (max[0] >= otherMin[0]) &
                          (min[1] <= otherMax[1]) & (max[1] >= otherMin[1]) &
                          (min[2] <= otherMax[2]) & (max[2] >= otherMin[2]));
    }

    /// The triangles whose planes may have points of a box strictly on both sides. Nothing in
    /// another box can straddle these planes.
    LaneMask planesStraddledBy(const kx::kxBBox& box) const {
        Float4 middle = -planes.offset;
        Float4 radius = planes.errorBound;
        for (int axis = 0; axis < 3; ++axis) {
            const Float4& n = planes.normal[axis];
            middle += n * (0.5F * (box.max[axis] + box.min[axis]));
            radius += Max(n, -n) * (0.5F * (box.max[axis] - box.min[axis]));
        }
        return LaneMaskOf((middle < radius) & (-middle < radius));
    }

    /// The triangles whose planes another triangle may straddle. A common corner lies on the plane,
    /// which matters because most pairs that reach this test are neighbours; it is recognised where
    /// corners are exact in floats.
    LaneMask planesStraddledBy(const Float4 (&other)[3], bool floatsAreExact) const {
        const auto& [x, y, z] = planes.normal;
        const Float4 above = planes.offset + planes.errorBound;
        const Float4 below = planes.offset - planes.errorBound;
        Int4 front[3];
        Int4 behind[3];
        for (int k = 0; k < 3; ++k) {
            const Float4 value = x * other[k][0] + y * other[k][1] + z * other[k][2];
            front[k] = value < above;
            behind[k] = value > below;
        }
        const LaneMask may =
            LaneMaskOf((front[0] | front[1] | front[2]) & (behind[0] | behind[1] | behind[2]));
        if (may == 0 || !floatsAreExact) {
            return may;
        }
        for (int k = 0; k < 3; ++k) {
            Int4 shared{};
            for (const auto& own : corners) {
                shared |=
                    (own[0] == other[k][0]) & (own[1] == other[k][1]) & (own[2] == other[k][2]);
            }
            front[k] &= ~shared;
            behind[k] &= ~shared;
        }
        return LaneMaskOf((front[0] | front[1] | front[2]) & (behind[0] | behind[1] | behind[2]));
    }

    /// The triangles that may straddle a plane.
    LaneMask straddling(const FloatPlane<float>& plane) const {
        Int4 front{};
        Int4 behind{};
        for (const auto& [x, y, z] : corners) {
            const Float4 value = plane.normal[0] * x + plane.normal[1] * y + plane.normal[2] * z;
            front |= value < plane.offset + plane.errorBound;
            behind |= value > plane.offset - plane.errorBound;
        }
        return LaneMaskOf(front & behind);
    }
};

} // namespace ctr
