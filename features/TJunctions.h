// T-junctions: ends of boundary edges that lie in the interior of other boundary edges.
#pragma once

#include "features/BoundaryEdges.h"
#include "features/Stitching.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// A point at which a boundary edge is to be split.
struct TJunction {
    std::uint32_t corner; ///< The corner that the edge starts from.
    std::uint32_t point;
    double along; ///< 0 at the start of the edge, 1 at its end.
};

/// Finds the points on boundary edges at which another boundary edge that runs along them begins or
/// ends, sorted by corner, then along the edge.
///
/// A point is on an edge if it is within the distance of it but farther from its ends. Edges run
/// along each other if their overlap is longer than four times the distance and within the distance
/// throughout; edges of one triangle and edges that fold back onto each other do not. Points that
/// would turn a part of the split triangle by 90 degrees or more are left out. O(n log n) in the
/// number of boundary edges; where very many edges lie on each other, only some are considered.
std::vector<TJunction>
FindTJunctions(const std::vector<BoundaryEdge>& edges, const SurfaceView& surface, double distance);

/// A vertex added by splitting: at a point, between two existing vertices.
struct AddedVertex {
    std::uint32_t point;
    std::uint32_t from; ///< Vertices, which may have been added before.
    std::uint32_t to;
    double along; ///< 0 at from, 1 at to.
};

struct SplitTriangles {
    std::vector<std::uint32_t> indices; ///< Of all triangles; the split ones are replaced in place.
    std::vector<AddedVertex> added;     ///< Their indices follow those of the existing vertices.
    std::size_t splitEdges = 0;
};

/// Splits triangles at T-junctions, each edge into a fan around the opposite corner. A triangle
/// stays unsplit if a part would have no area or face the other way.
SplitTriangles SplitAtTJunctions(const std::vector<TJunction>& junctions,
                                 const SurfaceView& surface);

} // namespace ctr
