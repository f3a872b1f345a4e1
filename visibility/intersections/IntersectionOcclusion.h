// Which part of an intersection edge a triangle hides.
#pragma once

#include <ctr/IntervalTools.h>

#include "visibility/bvh/OccluderBvh.h"
#include "visibility/exact/ContactTolerance.h"
#include "visibility/intersections/IntersectionEdge.h"

#include <array>
#include <optional>
#include <vector>

namespace ctr {

/// An intersection edge, prepared to be held against many triangles.
///
/// Its ends are exact: parameters on triangle edges. On which side of a plane or an edge line they
/// lie is decided exactly; where between them a side changes is computed from rounded values.
///
/// With a contact tolerance, a triangle hides its part of an edge only if some of that part lies
/// deeper than the tolerance, by rounded values too; and what runs along an edge line of a triangle
/// is within its outline, which it is not without a tolerance.
class CutOcclusion {
public:
    CutOcclusion(const IntersectionEdge& edge, const ContactTolerance& tolerance);

    SegmentProbe probe() const { return {edge_.first.point, edge_.second.point}; }

    /// The same edge where only a part of it matters, all else being hidden: triangles that surely
    /// hide nothing of that part count as hiding nothing.
    CutOcclusion within(const RationalInterval& open) const;

    /// The range that the triangle hides, from the first end (0) to the second (1), if any.
    /// Triangles more than a step beside the edge's box are held to hide nothing: a crossing is
    /// rounded, so a triangle beside the edge could seem to hide a bit of it.
    std::optional<RationalInterval> hiddenBy(const OccluderTree::Triangle& triangle,
                                             const GridVector& normal) const;

    /// Appends the ranges that the triangles below a node of their hierarchy hide, overlapping and
    /// in any order: for few edges, as HiddenRanges would find them for many.
    void appendHidden(const BakedTriangles& baked,
                      unsigned int node,
                      std::vector<RationalInterval>& hidden) const;

private:
    struct Function;
    /// Two points in doubles.
    using Places = std::array<std::array<double, 3>, 2>;

    bool isBeside(const BakedVertex& a, const BakedVertex& b) const;
    bool isOpenOutside(const Function& function) const;
    bool isOpenOutside(const OccluderTree::Triangle& triangle, const GridVector& normal) const;
    bool narrow(const Function& function, RationalInterval& range) const;
    bool narrowExactly(const Function& function, RationalInterval& range) const;
    bool reachesDeeper(const Function& plane, const RationalInterval& range) const;

    const IntersectionEdge& edge_;
    ContactTolerance tolerance_;
    TriangleSieve sieve_;
    Places ends_;                ///< As they are, off by less than 2^-20 of a step.
    std::optional<Places> open_; ///< The ends of the part that matters.
};

} // namespace ctr
