// The part of a grid edge that a triangle occludes, as the solution of linear inequalities in exact
// fractions.
#pragma once

#include <ctr/BakedTriangles.h>

#include "support/ExactBaking.h"
#include "support/ExactFractions.h"

#include <optional>
#include <vector>

namespace test_support {

/// How an edge and a triangle meet, for counting what a test has seen.
struct Encounter {
    std::optional<ctr::RationalInterval> hidden;
    bool touches = false;   ///< The edge meets the outline on screen, in a single point only.
    bool alongSide = false; ///< The edge runs on the line of one of the triangle's sides.
    bool inPlane = false;   ///< The edge lies in the triangle's plane and over the triangle.
    bool crosses = false;   ///< The edge changes sides of the plane within the outline.
};

/// The parameters of a -> b at which the closed triangle, counter-clockwise on screen, lies
/// strictly before the edge: nothing unless they fill more than a point, else their closed range.
///
/// Its fractions are side values or plane distances over the difference of the two ends', written
/// with a positive denominator. Of several bounds of one value the last counts, in the order: 0 or
/// 1, the sides from corner 0, 1, 2, the plane.
///
/// With a tolerance, nothing is hidden unless some point of that range is farther behind the plane
/// than the plane itself moves when all its points move by so many steps along every axis.
Encounter Meet(const GridTriangle& triangle,
               const ctr::BakedVertex& a,
               const ctr::BakedVertex& b,
               long tolerance = 0);

/// One range for each triangle that hides something of the edge, sorted by value.
std::vector<ctr::RationalInterval> HiddenRanges(const ExactBaked& baked,
                                                const ctr::BakedVertex& a,
                                                const ctr::BakedVertex& b,
                                                long tolerance = 0);

/// Whether a closed triangle lies before the point of a -> b at a parameter, strictly and by more
/// than the tolerance; the limits are those of IsPointHidden().
bool HidesPoint(const GridTriangle& triangle,
                const ctr::BakedVertex& a,
                const ctr::BakedVertex& b,
                const Fraction& parameter,
                long tolerance = 0);

/// Whether some closed triangle lies before the point of a -> b at a parameter, strictly and by
/// more than the tolerance, decided for that point alone. The parameter's parts have to be below
/// 2^32, coordinates below 2^20.
bool IsPointHidden(const ExactBaked& baked,
                   const ctr::BakedVertex& a,
                   const ctr::BakedVertex& b,
                   const Fraction& parameter,
                   long tolerance = 0);

/// The steps that count of a contact tolerance: a quarter of the grid along an axis at the most.
long StepsThatCount(const ctr::DiscreteProjectionSpace& space, unsigned int tolerance);

} // namespace test_support
