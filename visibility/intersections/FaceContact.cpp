// The distance between two planes along the line of sight is linear on screen, so it is largest in
// a corner of what both triangles cover there: in a corner of one that lies within the other, or
// where two of their sides cross. The latter are ends of a side of the flatter triangle, clipped to
// the outline of the steeper one.
#include "visibility/intersections/FaceContact.h"

#include "visibility/occlusion/TriangleOcclusion.h"

namespace ctr {
namespace {

using Wide = __int128;

Wide SizeOf(Wide value) {
    return value < 0 ? -value : value;
}

/// Whether a step along every axis changes the depth of a plane by more than that of another.
bool IsSteeper(const GridVector& p, const GridVector& q) {
    return Wide{ChangePerStep(p)} * SizeOf(q[2]) > Wide{ChangePerStep(q)} * SizeOf(p[2]);
}

bool IsWithin(const BakedVertex& point, const FaceOnGrid& face) {
    const auto isLeftOf = [&](const BakedVertex& p, const BakedVertex& q) {
        return CrossXY(Difference(q, p), Difference(point, p)) >= 0;
    };
    return isLeftOf(face.corners[0], face.corners[1]) &&
           isLeftOf(face.corners[1], face.corners[2]) && isLeftOf(face.corners[2], face.corners[0]);
}

/// Whether a side of the flatter triangle, where it is over the steeper one, leaves the band.
bool SideLeavesBand(const BakedVertex& from,
                    const BakedVertex& to,
                    const FaceOnGrid& steep,
                    std::int64_t band) {
    const BakedVertex* const p = steep.corners;
    const OutlineSides sides(p[0], p[1], p[2], from, to);
    if (sides.leaveNothing()) {
        return false;
    }
    const EndValues value{Dot(steep.normal, Difference(from, p[0])),
                          Dot(steep.normal, Difference(to, p[0]))};
    const EndValues negated{WrapNegate(value.atA), WrapNegate(value.atB)};
    const std::int64_t limit = WrapNegate(band);
    const HiddenCandidate within = sides.within();
    return within.isProper() &&
           (within.reachesBelow(limit, value) || within.reachesBelow(limit, negated));
}

/// Whether a corner of the steeper triangle, over the flatter one, is farther from it than the
/// band: both normals face the eye, so values convert by the ratio of their depth components.
bool CornerLeavesBand(const BakedVertex& corner,
                      const FaceOnGrid& flat,
                      const GridVector& steepNormal,
                      std::int64_t band) {
    if (!IsWithin(corner, flat)) {
        return false;
    }
    const std::int64_t value = Dot(flat.normal, Difference(corner, flat.corners[0]));
    return SizeOf(value) * SizeOf(steepNormal[2]) > Wide{band} * SizeOf(flat.normal[2]);
}

} // namespace

bool AreInContact(const FaceOnGrid& a, const FaceOnGrid& b, const ContactTolerance& tolerance) {
    const bool isASteeper = IsSteeper(a.normal, b.normal);
    const FaceOnGrid& steep = isASteeper ? a : b;
    const FaceOnGrid& flat = isASteeper ? b : a;
    const std::int64_t band = tolerance.bandOf(steep.normal);
    for (int k = 0; k < 3; ++k) {
        if (CornerLeavesBand(steep.corners[k], flat, steep.normal, band) ||
            SideLeavesBand(flat.corners[k], flat.corners[(k + 1) % 3], steep, band)) {
            return false;
        }
    }
    return true;
}

} // namespace ctr
