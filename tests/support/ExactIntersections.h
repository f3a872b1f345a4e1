// Intersections of baked triangles and their visible parts by brute force in 128 bits: every pair,
// then every triangle near it against every edge found, without a hierarchy.
#pragma once

#include <ctr/BakedTriangles.h>

#include "support/ExactFractions.h"
#include "support/ScreenBins.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace test_support {

/// The exact point at which a triangle's side passes the plane of another triangle.
struct Crossing {
    ctr::BakedVertex from; ///< The side, in the direction of its triangle.
    ctr::BakedVertex to;
    Fraction t;             ///< 0 at from, 1 at to.
    ctr::BakedVertex point; ///< The floor of the crossing, coordinate by coordinate.
};

using Cut = std::pair<Crossing, Crossing>;

/// What a comparison has met, to know that it has met enough.
struct CutCounts {
    int pairs = 0;          ///< Pairs of triangles looked at.
    int parallel = 0;       ///< Pairs in one plane or in parallel ones.
    int touching = 0;       ///< Pairs with a corner on a plane and none beyond it.
    int throughCorners = 0; ///< Cuts with an end in a corner of a triangle.
    int straddling = 0;     ///< Pairs that lie on both sides of each other's planes.
    int inOneColumn = 0;    ///< Of those, pairs whose four crossings share a column.
    int apart = 0;          ///< Of those, pairs whose spans do not overlap.
    int ties = 0;           ///< Of those, pairs of which two ends that are compared are equal.
    int cuts = 0;
    int alongEdges = 0;     ///< Cuts along an edge that lies in the other's plane.
    int inContact = 0;      ///< Cuts that are none, as the two are in contact within the tolerance.
    int hiddenRanges = 0;   ///< One for each triangle that hides some of a cut.
    int partlyHidden = 0;   ///< Cuts of which something is hidden and something is not.
    int atOwnTriangle = 0;  ///< Hidden ranges due to a triangle that makes the cut: never.
    int hiddenFromAfar = 0; ///< Ranges, not counted, of triangles that rounding alone puts there.
    int piecesDropped = 0;  ///< Visible pieces that fall into one column.
    int pieces = 0;         ///< Visible pieces that remain.
};

/// P0 + t (P1 - P0) for t from 0 to 1, rounded down coordinate by coordinate.
ctr::BakedVertex PointAt(const ctr::BakedVertex& p0, const ctr::BakedVertex& p1, const Fraction& t);

/// The cut of triangles i < j, if they pierce each other.
std::optional<Cut>
CutOf(const ctr::BakedTriangles& baked, unsigned int i, unsigned int j, CutCounts& counts);

/// The range of a cut's parameter (0 and 1 at its two grid points) that a triangle hides, within
/// the contact tolerance of what is baked.
std::optional<ctr::RationalInterval>
HiddenOfCut(const ctr::BakedTriangles& baked, const Cut& cut, unsigned int triangle);

/// A piece of a line between two points of the grid.
using GridPiece = std::pair<ctr::BakedVertex, ctr::BakedVertex>;

struct CutPieces {
    std::vector<GridPiece> visible;
    std::vector<GridPiece> hidden; ///< Not of triangles within sixteen steps of each other's plane.
};

/// The numbers of triangles, each once: at least of all whose boxes on the screen meet a rectangle.
using TrianglesNear = std::function<std::vector<unsigned int>(const ScreenBox&)>;

/// The pieces of all cuts, pair by pair and along each cut. Only pairs of triangles that are near
/// each other are looked at, and only what is near a cut as what may hide it.
CutPieces
PiecesOfCuts(const ctr::BakedTriangles& baked, const TrianglesNear& near, CutCounts& counts);

/// Triangles that may hide a cut, and which of them are near a place.
struct CutHiders {
    const ctr::BakedTriangles* baked;
    TrianglesNear near;
};

/// The same, hidden by others than the triangles that cut each other, or by more of them.
CutPieces PiecesOfCuts(const ctr::BakedTriangles& baked,
                       const TrianglesNear& near,
                       const std::vector<CutHiders>& hiders,
                       CutCounts& counts);

/// The same with every pair, and every triangle.
CutPieces PiecesOfCuts(const ctr::BakedTriangles& baked, CutCounts& counts);

/// All triangles, wherever they are.
TrianglesNear EveryTriangle(const ctr::BakedTriangles& baked);

/// The visible pieces of all cuts, by pair and then along each cut.
std::vector<GridPiece> VisibleCuts(const ctr::BakedTriangles& baked, CutCounts& counts);

/// A grid point in world space: step times coordinate plus lower bound, then through the inverse of
/// the view, each coordinate divided by w, in single precision.
Wm4::Vector3<float> ToWorld(const ctr::DiscreteProjectionSpace& space, const ctr::BakedVertex& p);

/// The bits of a world segment's two ends, first end first.
using SegmentBits = std::array<std::uint32_t, 6>;

/// The visible pieces in world space, sorted, as often as they occur.
std::vector<SegmentBits> SortedWorldBits(const ctr::DiscreteProjectionSpace& space,
                                         const std::vector<GridPiece>& pieces);

} // namespace test_support
