// Records of the lines along which pairs of triangles intersect.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include "visibility/exact/GridArithmetic.h"

#include <cstdint>

namespace ctr {

/// One end of an intersection edge: where an edge of one triangle crosses the other's plane.
struct tPointOnEdge {
    BakedVertex edgeStart;
    BakedVertex edgeEnd;
    BakedVertex point; ///< The crossing rounded down to the grid.
    Fraction t;        ///< The exact parameter of the crossing.
};

/// An intersection as the search stores it: the edge can be recomputed from a tenth of its memory.
struct FoundIntersection {
    std::uint32_t first;      ///< The triangle with the smaller number.
    std::uint32_t secondSlot; ///< The slot of the other triangle in the BVH.
    /// The triangle edge that crosses the other plane at either end of the intersection: 0 to 2 of
    /// the first triangle, 3 to 5 of the second.
    std::uint8_t ends[2];
    bool grazing; ///< Of triangles that are coplanar but for the rounding to the grid.
};

struct IntersectionEdge {
    tPointOnEdge first;
    tPointOnEdge second;
};

} // namespace ctr
