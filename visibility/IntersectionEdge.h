// What is known of the line along which two triangles cut each other.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include "visibility/GridArithmetic.h"

namespace ctr {

/// One end of an intersection edge: where an edge of one triangle crosses the other's plane.
struct tPointOnEdge {
    BakedVertex edgeStart;
    BakedVertex edgeEnd;
    BakedVertex point; ///< The crossing rounded down to the grid.
    Fraction t;        ///< The exact parameter of the crossing.
};

struct IntersectionEdge {
    tPointOnEdge first;
    tPointOnEdge second;
    bool grazing = false; ///< Of triangles in one plane, but for the rounding to the grid.
};

/// The grid point at or below p0 + (p1 - p0) t on every axis, for t in [0, 1]; which end is called
/// first does not matter.
BakedVertex PointAt(const BakedVertex& p0, const BakedVertex& p1, const Fraction& t);

} // namespace ctr
