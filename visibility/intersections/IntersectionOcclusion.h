// The interval of an intersection edge that a triangle occludes.
//
// The edge is clipped as in TriangleOcclusion.h (M. Cyrus and J. Beck, 1978), but its ends are
// rational points. Signs at the ends are exact; the parameter at which a sign changes between them
// is computed from values rounded to integers (ErrorBounds.h). O(1) per triangle.
#pragma once

#include <ctr/IntervalTools.h>

#include "visibility/bvh/GridBox.h"
#include "visibility/bvh/SegmentSlabClipper.h"
#include "visibility/bvh/SlotTriangles.h"
#include "visibility/exact/ContactTolerance.h"
#include "visibility/intersections/IntersectionEdge.h"

#include <array>
#include <optional>
#include <vector>

namespace ctr {

/// An intersection edge, prepared for clipping against many triangles.
///
/// Its ends are exact: parameters on triangle edges. The side of a plane or of an edge line on
/// which they lie is decided exactly; the crossing between them is computed from rounded values.
///
/// With a contact tolerance, a triangle occludes its part of an edge only if some of that part lies
/// deeper than the tolerance, by rounded values as well. An edge along the edge line of a triangle
/// counts as within the triangle with a contact tolerance only.
class IntersectionOcclusion {
public:
    IntersectionOcclusion(const IntersectionEdge& edge, const ContactTolerance& tolerance);

    SegmentSlabClipper clipper() const { return {edge_.first.point, edge_.second.point}; }

    /// The same edge where all but a remaining part is known to be occluded: triangles that
    /// certainly occlude nothing of that part give no interval.
    IntersectionOcclusion restrictedTo(const RationalInterval& remaining) const;

    /// The interval that the triangle occludes, from the first end (0) to the second (1), if any.
    /// Triangles more than a step beside the edge's box occlude nothing: crossings are rounded, so
    /// a triangle beside the edge could seem to occlude a fraction of it.
    std::optional<RationalInterval> occludedBy(const SlotTriangle& triangle,
                                               const GridVector& normal) const;

    /// Appends the intervals that the triangles below a node of their BVH occlude, overlapping and
    /// in any order. For few edges; OccludedIntervals finds the same for many.
    void appendOccluded(const BakedTriangles& baked,
                        unsigned int node,
                        std::vector<RationalInterval>& occluded) const;

private:
    struct Function;
    /// Two points in doubles.
    using PointPair = std::array<std::array<double, 3>, 2>;

    bool isOutside(const BakedVertex& a, const BakedVertex& b) const;
    bool isRemainderOutside(const Function& function) const;
    bool isRemainderOutside(const SlotTriangle& triangle, const GridVector& normal) const;
    bool clip(const Function& function, RationalInterval& interval) const;
    bool clipExactly(const Function& function, RationalInterval& interval) const;
    bool reachesBeyondTolerance(const Function& plane, const RationalInterval& interval) const;

    const IntersectionEdge& edge_;
    ContactTolerance tolerance_;
    GridBox box_;
    PointPair ends_;                     ///< Off by less than 2^-20 of a step.
    std::optional<PointPair> remaining_; ///< The ends of the remaining part.
};

} // namespace ctr
