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

using Intersection = std::pair<Crossing, Crossing>;

/// The cases that a comparison has covered, to verify that it has covered enough.
struct IntersectionCounts {
    int pairs = 0;          ///< Pairs of triangles examined.
    int parallel = 0;       ///< Pairs in one plane or in parallel ones.
    int touching = 0;       ///< Pairs with a corner on a plane and none beyond it.
    int throughCorners = 0; ///< Intersections with an end in a corner of a triangle.
    int straddling = 0;     ///< Pairs that lie on both sides of each other's planes.
    int inOneColumn = 0;    ///< Of those, pairs whose four crossings share a column.
    int apart = 0;          ///< Of those, pairs whose spans do not overlap.
    int ties = 0;           ///< Of those, pairs of which two ends that are compared are equal.
    int intersections = 0;
    int alongEdges = 0; ///< Intersections along an edge that lies in the other's plane.
    int inContact =
        0; ///< Intersections that are none, as the two are in contact within the tolerance.
    int hiddenRanges = 0;   ///< One for each triangle that hides some of an intersection.
    int partlyHidden = 0;   ///< Intersections of which something is hidden and something is not.
    int atOwnTriangle = 0;  ///< Hidden ranges due to a triangle that makes the intersection: never.
    int hiddenFromAfar = 0; ///< Ranges, not counted, of triangles that rounding alone puts there.
    int piecesDropped = 0;  ///< Visible pieces that fall into one column.
    int pieces = 0;         ///< Visible pieces that remain.
};

/// P0 + t (P1 - P0) for t from 0 to 1, rounded down coordinate by coordinate.
ctr::BakedVertex PointAt(const ctr::BakedVertex& p0, const ctr::BakedVertex& p1, const Fraction& t);

/// The intersection of triangles i < j, if they intersect.
std::optional<Intersection> IntersectionOf(const ctr::BakedTriangles& baked,
                                           unsigned int i,
                                           unsigned int j,
                                           IntersectionCounts& counts);

/// The range of an intersection's parameter (0 and 1 at its two grid points) that a triangle hides,
/// within the contact tolerance of what is baked.
std::optional<ctr::RationalInterval> HiddenOfIntersection(const ctr::BakedTriangles& baked,
                                                          const Intersection& intersection,
                                                          unsigned int triangle);

/// A piece of a line between two points of the grid.
using GridPiece = std::pair<ctr::BakedVertex, ctr::BakedVertex>;

struct IntersectionPieces {
    std::vector<GridPiece> visible;
    std::vector<GridPiece> hidden; ///< Not of triangles within sixteen steps of each other's plane.
};

/// The numbers of triangles, each once: at least of all whose boxes on the screen meet a rectangle.
using TrianglesNear = std::function<std::vector<unsigned int>(const ScreenBox&)>;

/// The pieces of all intersections, pair by pair and along each intersection. Only pairs of
/// triangles that are near each other are examined, and only what is near an intersection as what
/// may hide it.
IntersectionPieces PiecesOfIntersections(const ctr::BakedTriangles& baked,
                                         const TrianglesNear& near,
                                         IntersectionCounts& counts);

/// Triangles that may hide an intersection, and which of them are near a place.
struct IntersectionHiders {
    const ctr::BakedTriangles* baked;
    TrianglesNear near;
};

/// The same, hidden by others than the triangles that intersect, or by more of them.
IntersectionPieces PiecesOfIntersections(const ctr::BakedTriangles& baked,
                                         const TrianglesNear& near,
                                         const std::vector<IntersectionHiders>& hiders,
                                         IntersectionCounts& counts);

/// The same with every pair, and every triangle.
IntersectionPieces PiecesOfIntersections(const ctr::BakedTriangles& baked,
                                         IntersectionCounts& counts);

/// All triangles, wherever they are.
TrianglesNear EveryTriangle(const ctr::BakedTriangles& baked);

/// The visible pieces of all intersections, by pair and then along each intersection.
std::vector<GridPiece> VisibleIntersections(const ctr::BakedTriangles& baked,
                                            IntersectionCounts& counts);

/// A grid point in world space: step times coordinate plus lower bound, then through the inverse of
/// the view, each coordinate divided by w, in single precision.
Wm4::Vector3<float> ToWorld(const ctr::DiscreteProjectionSpace& space, const ctr::BakedVertex& p);

/// The bits of a world segment's two ends, first end first.
using SegmentBits = std::array<std::uint32_t, 6>;

/// The visible pieces in world space, sorted, as often as they occur.
std::vector<SegmentBits> SortedWorldBits(const ctr::DiscreteProjectionSpace& space,
                                         const std::vector<GridPiece>& pieces);

} // namespace test_support
