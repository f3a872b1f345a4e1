// Whether two triangles are in contact: the largest distance between their planes over their
// overlap on screen, compared with the tolerance. Exact, in 128-bit integers; O(1).
//
// The distance between two planes along the line of sight is linear on screen, so its maximum over
// the overlap of the triangles is at a vertex of the overlap: at a corner of one triangle within
// the other, or where two of their edges cross. The crossings are the ends of the edges of the
// flatter triangle, clipped to the steeper one.
#include "visibility/intersections/FaceContact.h"

#include "visibility/occlusion/TriangleOcclusion.h"

namespace ctr {
namespace {

using Wide = __int128;

Wide AbsoluteOf(Wide value) {
    return value < 0 ? -value : value;
}

/// Whether a step along every axis changes the depth of the first plane by more than that of the
/// second.
bool IsSteeper(const GridVector& p, const GridVector& q) {
    return Wide{ChangePerStep(p)} * AbsoluteOf(q[2]) > Wide{ChangePerStep(q)} * AbsoluteOf(p[2]);
}

bool IsWithin(const BakedVertex& point, const FaceOnGrid& face) {
    const auto isLeftOf = [&](const BakedVertex& p, const BakedVertex& q) {
        return CrossXY(Difference(q, p), Difference(point, p)) >= 0;
    };
    return isLeftOf(face.corners[0], face.corners[1]) &&
           isLeftOf(face.corners[1], face.corners[2]) && isLeftOf(face.corners[2], face.corners[0]);
}

/// Whether an edge of the flatter triangle leaves the tolerance band where it overlaps the steeper
/// one.
bool EdgeLeavesBand(const BakedVertex& from,
                    const BakedVertex& to,
                    const FaceOnGrid& steep,
                    std::int64_t band) {
    const BakedVertex* const p = steep.corners;
    const EdgeFunctions edges(p[0], p[1], p[2], from, to);
    if (edges.excludeSegment()) {
        return false;
    }
    const EndValues value{Dot(steep.normal, Difference(from, p[0])),
                          Dot(steep.normal, Difference(to, p[0]))};
    const EndValues negated{WrapNegate(value.atA), WrapNegate(value.atB)};
    const std::int64_t limit = WrapNegate(band);
    const CandidateInterval within = edges.within();
    return within.isProper() &&
           (within.reachesBelow(limit, value) || within.reachesBelow(limit, negated));
}

/// Whether a corner of the steeper triangle overlaps the flatter one and is outside of the band.
/// Both normals face the eye, so plane values convert by the ratio of their depth components.
bool CornerLeavesBand(const BakedVertex& corner,
                      const FaceOnGrid& flat,
                      const GridVector& steepNormal,
                      std::int64_t band) {
    if (!IsWithin(corner, flat)) {
        return false;
    }
    const std::int64_t value = Dot(flat.normal, Difference(corner, flat.corners[0]));
    return AbsoluteOf(value) * AbsoluteOf(steepNormal[2]) > Wide{band} * AbsoluteOf(flat.normal[2]);
}

} // namespace

bool AreInContact(const FaceOnGrid& a, const FaceOnGrid& b, const ContactTolerance& tolerance) {
    const bool isASteeper = IsSteeper(a.normal, b.normal);
    const FaceOnGrid& steep = isASteeper ? a : b;
    const FaceOnGrid& flat = isASteeper ? b : a;
    const std::int64_t band = tolerance.bandOf(steep.normal);
    for (int k = 0; k < 3; ++k) {
        if (CornerLeavesBand(steep.corners[k], flat, steep.normal, band) ||
            EdgeLeavesBand(flat.corners[k], flat.corners[(k + 1) % 3], steep, band)) {
            return false;
        }
    }
    return true;
}

} // namespace ctr
