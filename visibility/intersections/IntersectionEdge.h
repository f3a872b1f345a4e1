// What is known of the line along which two triangles cut each other.
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

/// What an intersection edge can be made of again: it takes a tenth of the memory.
struct FoundIntersection {
    std::uint32_t first;      ///< The triangle with the smaller number.
    std::uint32_t secondSlot; ///< Where the other one is among the leaves.
    /// The crossed edge at either end: 0 to 2 of the first triangle, 3 to 5 of the second.
    std::uint8_t ends[2];
    bool grazing; ///< Of triangles in one plane, but for the rounding to the grid.
};

struct IntersectionEdge {
    tPointOnEdge first;
    tPointOnEdge second;
};

/// The grid point at or below p0 + (p1 - p0) t on every axis, for t in [0, 1]; which end is called
/// first does not matter.
BakedVertex PointAt(const BakedVertex& p0, const BakedVertex& p1, const Fraction& t);

} // namespace ctr
