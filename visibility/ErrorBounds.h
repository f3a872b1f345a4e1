// All margins on which the correctness of visibility/ and features/ rests, derived in one chain.
//
// Decisions are made by exact integer arithmetic (exact/GridArithmetic.h). Floats and doubles only
// reject or accept early, by margins that exceed their rounding error. The ends of occluded
// intervals of intersection edges are computed from rounded values, for which boxes, cells and
// covers have to allow. Lengths are in grid steps. A function n . (p - o) of grid points, either a
// plane or the edge function of a triangle on screen, has the size |n| = |nx| + |ny| + |nz|.
//
// Each section derives an error bound and states the margin that is used. A result of an operation
// is off by at most its size times kFloatRounding or kDoubleRounding; such errors are added up to
// first order (N. J. Higham, Accuracy and Stability of Numerical Algorithms, SIAM 2002).
#pragma once

#include <cstdint>

namespace ctr::error_bounds {

// 1. Numbers.

constexpr double kFloatRounding = 0x1p-24;
constexpr double kDoubleRounding = 0x1p-53;
/// Coordinates are from 0 to 2^31 - 1, so coordinates and their differences are below this.
constexpr double kGridExtent = 0x1p31;
/// Floats represent integers up to this exactly.
constexpr float kLastExactFloat = 0x1p24F;
static_assert(kLastExactFloat * kFloatRounding == 1.0);
/// Plane values of this size do not fit in 64 bits.
constexpr double kPlaneValueLimit = 0x1p63;

// 2. Points on triangle edges.

/// The error of p + (q - p) t in doubles, t being a quotient of 64-bit integers. Converting
/// numerator and denominator costs kDoubleRounding each; quotient, product and sum cost half of
/// that each, as the quotient is at most 1 and the others are below kGridExtent.
constexpr double kEdgePointError = 0x1p-20;
static_assert((2.0 + 3.0 * 0.5) * kDoubleRounding * kGridExtent <= kEdgePointError);

/// A coordinate whose distance from an integer exceeds this has a certain integer part. 1 - t and
/// differences of twice the extent, beyond all documented grids, quadruple the error.
constexpr double kCertainFraction = 0x1p-16;
static_assert(2.0 * 4.0 * kEdgePointError <= kCertainFraction);

/// Rounding a point down to the grid moves it by less than this on each axis.
constexpr std::int64_t kRoundedPointError = 1;
/// Triangles up to this far beside an intersection edge are tested for occlusion.
constexpr std::int64_t kBesideSteps = 1;

// 3. Functions at the ends of intersection edges.

/// The error of a function at a point of section 2, as a share of its size: that of the point, and
/// roundings of the normal, the difference, the product and two sums.
constexpr double kFunctionError = 0x1p-18;
static_assert(kEdgePointError + 5.0 * kDoubleRounding * kGridExtent <= kFunctionError);

/// A function value that is rounded to an integer is off by less than 1 + kFunctionError |n|: the
/// interpolation takes five roundings, and a value that is moved to 1 or -1, to have the exact
/// sign, was less than that from it.
constexpr double kRoundedValueError = 1.0;
static_assert(5.0 * kDoubleRounding * kGridExtent <= kFunctionError);
/// The parameter at which a function changes its sign is computed from two such values. The
/// function is zero there up to the larger of their errors. Used with kFunctionError or more.
constexpr double kRoundedValueMargin = 2.0;
static_assert(kRoundedValueMargin >= 2.0 * kRoundedValueError);

/// Remaining parts of an intersection edge (IntersectionOcclusion): a function is certainly
/// positive there above kRoundedValueMargin and so many times kFunctionError |n|: one for its own
/// error, one for that of the rounded values, and as much again.
constexpr double kRemainderErrors = 4.0;
static_assert(kRemainderErrors >= 2.0 * (1.0 + 1.0));

/// Differences of function values are saturated to this size, which they reach only on grids beyond
/// the documented bounds: values are below 2^61 otherwise (IntersectionOcclusion.cpp).
constexpr double kSaturatedDifference = 0x1p62;
static_assert(2.0 * 0x1p61 <= kSaturatedDifference && kSaturatedDifference < kPlaneValueLimit);

// 4. Boxes of the packed BVH.

/// Factors for sums of at most 16 roundings of floats.
constexpr float kMoreThanFloats = 1.0F + 0x1p-20F;
static_assert(16.0 * kFloatRounding <= 0x1p-20);

/// Slab test. Where the segment crosses the face of a box, the parameter times the length of the
/// segment is off by these roundings of the largest coordinate: face, origin and enlarged origin
/// one each, their difference two, and two for each of reciprocal (two operations) and product.
constexpr float kSlabShare = 0x1p-20F;
static_assert((3.0 + 2.0 + 3.0 * 2.0) * kFloatRounding <= kSlabShare);
/// Slab tests of intersection edges use rounded ends and have to find triangles beside them.
constexpr float kSlabSteps = 3.0F;
static_assert(kSlabSteps > kRoundedPointError + kBesideSteps);
/// The reciprocal of a direction that is parallel to a slab: so large that the parameters at both
/// faces are outside of 0 to 1, on different sides if the segment is inside, and finite.
constexpr float kParallelReciprocal = 1.0e12F;
static_assert((kSlabSteps - kRoundedPointError - kBesideSteps) * kParallelReciprocal >= 1.0F);
static_assert(8.0 * kGridExtent * kParallelReciprocal < 0x1p127);
/// The bounds of an empty box, beyond all coordinates.
constexpr float kBeyondGrid = 4.0e9F;
static_assert(kBeyondGrid > kGridExtent);

/// Parts of a segment in units of 1/64 (SegmentCoverage): a quotient takes three roundings.
constexpr double kCoverageMargin = 1.0e-9;
static_assert(64.0 * 4.0 * kDoubleRounding <= kCoverageMargin);

// 5. The coarse depth buffer.

/// The size of the buffer in cells per axis.
constexpr double kMostCells = 512.0;
/// A cell has to be inside of an edge function by so many times its size. This exceeds
/// kRoundedValueMargin + kFunctionError |n|, as |n| >= 1 for an edge.
constexpr std::int64_t kCellInset = 4;
static_assert(kCellInset >= kRoundedValueMargin + kFunctionError);
/// The column at which an edge function is zero, in cells: five roundings.
constexpr double kColumnMargin = 1.0e-6;
static_assert(5.0 * kDoubleRounding * (kMostCells + 1.0) <= kColumnMargin);
/// The depth of a plane in a cell. A triangle that contains a cell is at most kMostCells long, and
/// its depth changes by less than kGridExtent per cell: each term of the depth is below their
/// product. Three roundings per term.
constexpr double kDepthError = 2.0;
static_assert(2.0 * 3.0 * kDoubleRounding * kMostCells * kGridExtent <= kDepthError);
/// Faces of the box of all triangles, as floats.
constexpr double kFaceShare = 0x1p-23;
static_assert(kFaceShare >= 2.0 * kFloatRounding);
/// Points within so many steps of a segment have to be in filled cells: one step for rounded ends,
/// one for the doubles by which the segment is followed.
constexpr std::int64_t kSegmentReach = 2;
static_assert(kSegmentReach >= kRoundedPointError + 1);
/// Products of two coordinate differences, and sums of four of them, fit in 64 bits up to here.
constexpr float kFarthestProduct = 0x1p29F;
static_assert(4.0 * (2.0 * kFarthestProduct) * (2.0 * kFarthestProduct) < kPlaneValueLimit);

// 6. Intersections of pairs.

/// Values of planes in floats, as a share of the largest value in the scene: terms take three
/// roundings (coordinate, normal, product), each of three sums with the offset two, the offset one.
constexpr float kPlaneShare = 0x1p-20F;
static_assert((3.0 + 3.0 * 2.0 + 1.0) * kFloatRounding <= kPlaneShare);
/// Spans on the common line, by doubles off by less than a step, decide those of points rounded
/// down by less than a step: at either end of either span.
constexpr double kSpanMargin = 4.0;
static_assert(kSpanMargin >= 2.0 * (kRoundedPointError + 1.0));
/// An intersection is so close to the box of either triangle on screen: its ends are on one of them
/// and, but for these errors, on the other.
constexpr std::int64_t kIntersectionReach = 4;
static_assert(kIntersectionReach >= kSpanMargin);
/// Corners this close to a plane, which is tilted by the rounding of its own corners: the pair
/// grazes, and its hidden pieces are not drawn.
constexpr std::int64_t kGrazingSteps = 16;

// 7. Dense regions. Coordinates are at most kLastExactFloat here (BypassConditions).

/// The value of an edge function or a plane that covers a cell, as a share of the size of the
/// function, beyond kRoundedValueMargin. Edge functions take integers, 1/kCoverEdgeShare of the
/// size.
constexpr double kCoverPlaneShare = 0x1p-16;
static_assert(kCoverPlaneShare >= 4.0 * kFunctionError);
constexpr std::int64_t kCoverEdgeShare = 1024;
static_assert(1.0 / kCoverEdgeShare >= 4.0 * kFunctionError);
/// How far an intersection edge may extend beyond a triangle (RegionCover.h): less than one step on
/// the ordering axis, less than three on the other.
constexpr std::int64_t kShortExcess = 1;
constexpr std::int64_t kLongExcess = 3;
static_assert(kLongExcess <= kIntersectionReach);

/// Distances along unit vectors: the vectors are off by less than 2^-50 (three products, two sums,
/// a root and a quotient), and three terms of coordinates below 2^25 add two roundings each.
constexpr double kDistanceError = 0x1p-20;
static_assert(3.0 * 2.0 * kLastExactFloat * (0x1p-50 + 2.0 * kDoubleRounding) <= kDistanceError);
constexpr double kDistanceMargin = 0x1p-10;
static_assert(kDistanceMargin >= 1024.0 * kDistanceError);
/// Unit vectors, and parameters of segments: quotients of values that are exact or off by 2^-50.
constexpr double kUnitMargin = 0x1p-40;
static_assert(kUnitMargin >= 1024.0 * 0x1p-50);
/// Spans of triangles at a hub: rounding moves the crossings of the opposite edge by less than a
/// quarter of the distance that the edge has to have.
constexpr double kHubDistance = 16.0;
static_assert(kHubDistance >= 4.0 * kSpanMargin);

// 8. Sorting of intervals by rounded starts.

/// Starts are rounded to units of 2^-32. A quotient takes three roundings, so the rounded values of
/// ordered starts are ordered up to a difference of 1.
constexpr double kStartUnits = 0x1p32;
static_assert(4.0 * kDoubleRounding * kStartUnits < 1.0);

// 9. Surface repair (features/). Positions are floats, whose differences are exact in doubles
// unless they differ by a factor of 2^29.

/// Squares of distances, relative: three products, two sums and two products of the limit.
constexpr double kSquareMargin = 1e-9;
static_assert(7.0 * kDoubleRounding <= kSquareMargin);
/// The same where a gap of exactly the distance must be admitted and little more.
constexpr double kExactGapMargin = 1e-12;
static_assert(7.0 * kDoubleRounding <= kExactGapMargin && kExactGapMargin <= kSquareMargin);
/// Parameters of a segment at the faces of a box: a difference and a quotient each. The sum of a
/// coordinate and the distance is rounded, too, which changes the distance by less than
/// kDoubleRounding of the coordinate.
constexpr double kParameterMargin = 1e-9;
static_assert(2.0 * 2.0 * kDoubleRounding <= kParameterMargin);
/// Numbers of cells are clamped to this, below which doubles represent all integers.
constexpr double kMostCellNumber = 9e15;
static_assert(kMostCellNumber < 0x1p53);

} // namespace ctr::error_bounds
