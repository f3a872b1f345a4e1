// The tolerances that define the results of surface repair and of feature edges, in one chain.
//
// They are part of the documented behaviour (ctr/Surface.h). Margins for the rounding of doubles,
// which change no result, are in visibility/ErrorBounds.h.
#pragma once

#include <cstddef>

namespace ctr::surface_tolerances {

// 1. Angles.

/// The positions of a file are rounded, so dihedral angles that were meant to be exactly the limit
/// (a prism of twelve sides, at 30 degrees) are a little more or less. All of them count as less.
constexpr double kAngleInDegrees = 0.01;
/// The sine of the angle up to which faces on the same side of an edge are one sheet: 0.1 degrees,
/// which covers the rounding of the positions of narrow faces.
constexpr double kSheetSine = 1.7e-3;
static_assert(kSheetSine > 0.01745 * kAngleInDegrees);
/// The cosine of 10 degrees: the faces of a sharper wedge count as the two sides of a thin part.
constexpr double kFoldedCosine = 0.984807753012208;
static_assert(1.0 - kFoldedCosine * kFoldedCosine > kSheetSine * kSheetSine);

// 2. Gaps, relative to the diagonal of the bounding box of the surface.

/// The widest crack on any surface. Noise of 1e-5 of the size in each coordinate separates corners
/// by up to 3.5e-5 of it; a sheet of 0.1 mm of 100 mm is 7e-4 thick.
constexpr double kCrackOfSize = 2e-4;
static_assert(3.5e-5 < kCrackOfSize && kCrackOfSize < 7e-4);
/// The same for cracked surfaces, many of whose boundary edges run along another one at a distance
/// far below their lengths.
constexpr double kWideCrackOfSize = 5e-4;
static_assert(kCrackOfSize < kWideCrackOfSize && kWideCrackOfSize < 7e-4);
/// The widest gap at which edges are reported as near each other.
constexpr double kNearOfSize = 5e-3;
static_assert(kWideCrackOfSize < kNearOfSize);
/// Relative to the largest coordinate: files usually store six significant digits.
constexpr double kRoundingOfCoordinates = 4e-6;

// 3. Gaps, relative to the length of an edge and the height of its triangle.

/// Where the distance is chosen automatically.
constexpr double kAutoShareOfLength = 0.125;
constexpr double kAutoShareOfHeight = 0.25;
/// On cracked surfaces, edges are paired at these shares of the above only.
constexpr double kCrackedShare = 0.5;
/// Where the caller states the distance: only edges that would nearly vanish are too short.
constexpr double kStatedShare = 0.4;
static_assert(kAutoShareOfLength < kAutoShareOfHeight && kAutoShareOfHeight < kStatedShare &&
              kStatedShare < 0.5); // Below one half, no edge shrinks to a point (EdgePairs.h).
/// For reporting edges as near each other.
constexpr double kNearShare = 0.25;
static_assert(kNearShare < 0.5);

// 4. Numbers of pairs, and overlaps.

/// A surface is cracked if it has so many pairs of edges, and at least one for so many boundary
/// edges.
constexpr std::size_t kCrackedPairs = 8;
constexpr std::size_t kEdgesPerCrackedPair = 4;
/// The distance is not widened where there are at least so many pairs for so many boundary edges:
/// nine of ten edges have a partner.
constexpr std::size_t kPairsOfStitched = 9;
constexpr std::size_t kEdgesOfStitched = 20;
/// Corners at which several cracks meet may be so many times as far apart as the widest gap.
constexpr double kCornerOfGap = 2.0;
/// Edges run along each other if they overlap by more than so many times the distance.
constexpr double kOverlapOfDistance = 4.0;

} // namespace ctr::surface_tolerances
