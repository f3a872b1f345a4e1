// Which parts of a grid segment are hidden, exactly.
//
// The segment is clipped against each triangle's outline on screen (parametric line clipping;
// M. Cyrus and J. Beck, Generalized two- and three-dimensional clipping, Computers & Graphics 3,
// 1978) and cut where it passes the triangle's plane. Side values and plane distances are integers,
// parameters are fractions of them, and nothing is ever rounded. Floats only prune the hierarchy;
// they hold grid coordinates of up to 24 bits exactly.
#include <ctr/BakedTriangles.h>
#include <ctr/RationalTools.h>

#include "visibility/GridArithmetic.h"
#include "visibility/HierarchyNode.h"

#include <algorithm>
#include <cstddef>

namespace ctr {
namespace {

/// The part of the segment that may still be hidden. On a tie the newer fraction is kept.
struct Candidate {
    Fraction start{0, 1};
    Fraction end{1, 1};

    void raiseStart(const Fraction& t) {
        if (RationalTools::GreaterThan(start, t) <= 0) {
            start = t;
        }
    }
    void lowerEnd(const Fraction& t) {
        if (RationalTools::GreaterThan(end, t) >= 0) {
            end = t;
        }
    }
    bool isProper() const { return RationalTools::GreaterThan(start, end) < 0; }
};

/// Values of one linear function at the two ends of the segment.
struct EndValues {
    long atA;
    long atB;

    /// Where the function is zero; the ends must differ.
    Fraction zero() const { return MakeFraction(atA, WrapSubtract(atA, atB)); }
};

/// Sides of a -> b with respect to the triangle edge q -> r; positive is inside.
EndValues
SideValues(const BakedVertex& a, const BakedVertex& b, const BakedVertex& q, const BakedVertex& r) {
    const GridVector edge = Difference(r, q);
    const long side = CrossXY(edge, Difference(a, q));
    return {side, WrapAdd(side, CrossXY(edge, Difference(b, a)))};
}

/// At most one point of the segment is inside the edge line, and not all of it is on the line.
bool LeavesNothing(const EndValues& side) {
    return side.atA <= 0 && side.atB <= 0 && (side.atA | side.atB) != 0;
}

/// Keeps what lies inside or on the edge line, of a segment that reaches inside.
void ClipToEdge(Candidate& candidate, const EndValues& side) {
    if (side.atA == side.atB) {
        return;
    }
    const Fraction t = side.zero();
    if (t[0] < 0 || t[0] > t[1]) {
        return;
    }
    if (side.atB > side.atA) {
        candidate.raiseStart(t);
    } else {
        candidate.lowerEnd(t);
    }
}

/// Keeps what lies strictly behind the plane, of a segment with an end behind it.
void ClipToPlane(Candidate& candidate, const EndValues& distance) {
    if (distance.atA < 0 && distance.atB < 0) {
        return;
    }
    if (distance.atA < 0) {
        candidate.lowerEnd(distance.zero());
    } else {
        candidate.raiseStart(distance.zero());
    }
}

/// Appends the part of a -> b that one triangle hides, if any.
void TestTriangle(const BakedTriangles& baked,
                  unsigned int triangle,
                  const BakedVertex& a,
                  const BakedVertex& b,
                  std::vector<RationalInterval>& intervals) {
    const unsigned int* corners = baked.triangleIndices.data() + 3 * std::size_t{triangle};
    const BakedVertex& p0 = baked.vertices[corners[0]];
    const BakedVertex& p1 = baked.vertices[corners[1]];
    const BakedVertex& p2 = baked.vertices[corners[2]];
    const EndValues sides[3] = {SideValues(a, b, p0, p1), SideValues(a, b, p1, p2),
                                SideValues(a, b, p2, p0)};
    if (std::any_of(sides, sides + 3, LeavesNothing)) {
        return;
    }
    const GridVector& normal = baked.trianglePlanes[triangle];
    const EndValues distance{Dot(normal, Difference(a, p0)), Dot(normal, Difference(b, p0))};
    if (distance.atA >= 0 && distance.atB >= 0) {
        return;
    }
    Candidate candidate;
    for (const EndValues& side : sides) {
        ClipToEdge(candidate, side);
    }
    if (!candidate.isProper()) {
        return;
    }
    ClipToPlane(candidate, distance);
    if (candidate.isProper()) {
        intervals.push_back({candidate.start, candidate.end});
    }
}

/// A node wholly beside the segment, or wholly at or beyond its farthest depth, hides nothing.
bool IsPruned(const kx::kxBBox& node, const kx::kxBBox& box) {
    return node.min[0] > box.max[0] || box.min[0] > node.max[0] || node.min[1] > box.max[1] ||
           box.min[1] > node.max[1] || node.min[2] >= box.max[2];
}

kx::kxBBox BoxOf(const BakedVertex& a, const BakedVertex& b) {
    kx::kxBBox box;
    const std::int32_t p[3] = {a.x, a.y, a.z};
    const std::int32_t q[3] = {b.x, b.y, b.z};
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = static_cast<float>(std::min(p[axis], q[axis]));
        box.max[axis] = static_cast<float>(std::max(p[axis], q[axis]));
    }
    return box;
}

} // namespace

void BakedTriangles::computeOcclusionIntervals(const BakedVertex& a,
                                               const BakedVertex& b,
                                               std::vector<RationalInterval>& intervals) const {
    if (!bvh.nodes.empty()) {
        computeOcclusionIntervalsIter(0, a, b, BoxOf(a, b), intervals);
    }
}

void BakedTriangles::computeOcclusionIntervalsIter(unsigned int node,
                                                   const BakedVertex& a,
                                                   const BakedVertex& b,
                                                   const kx::kxBBox& box,
                                                   std::vector<RationalInterval>& intervals) const {
    for (;;) {
        const HierarchyNode& here = bvh.nodes[node];
        if (IsPruned(here.box, box)) {
            return;
        }
        if (IsLeaf(here)) {
            const unsigned int* slot = bvh.primitives.data() + FirstSlot(here);
            for (const unsigned int* end = slot + here.second; slot != end; ++slot) {
                TestTriangle(*this, *slot, a, b, intervals);
            }
            return;
        }
        computeOcclusionIntervalsIter(FirstChild(here), a, b, box, intervals);
        node = SecondChild(here);
    }
}

} // namespace ctr
