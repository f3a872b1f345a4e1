// Corners of open edges that lie on other open edges: T-junctions.
#pragma once

#include "features/OpenEdges.h"
#include "features/Stitching.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// A place that an open edge is to be split at.
struct Junction {
    std::uint32_t corner; ///< Where the edge starts.
    std::uint32_t place;
    double along; ///< 0 at the start of the edge, 1 at its end.
};

/// Finds the places on open edges at which another open edge that runs along them begins or ends.
///
/// On an edge is what is within the distance of it and farther from its ends. Edges run along each
/// other where all of their overlap, which has to be longer than four times the distance, is that
/// near; edges of one triangle, and edges that fold back onto each other, do not. Places that would
/// turn a part of the split triangle by a right angle or more are left out. By corner, then along.
/// Near-linear; where very many edges lie on each other, only some of them are considered.
std::vector<Junction>
FindJunctions(const std::vector<OpenEdge>& edges, const SurfaceView& surface, double distance);

/// A vertex that splitting adds: at a place, between two vertices that are there already.
struct AddedVertex {
    std::uint32_t place;
    std::uint32_t from; ///< Vertices, which may be added ones before it.
    std::uint32_t to;
    double along; ///< 0 at from, 1 at to.
};

struct SplitTriangles {
    std::vector<std::uint32_t> indices; ///< Of all triangles; the split ones are replaced in place.
    std::vector<AddedVertex> added;     ///< Numbered on from the vertices that are there.
    std::size_t splitEdges = 0;
};

/// Splits triangles at junctions, each edge as a fan around the corner opposite. A triangle of
/// which a part would have no area, or look to the other side, stays whole.
SplitTriangles SplitAtJunctions(const std::vector<Junction>& junctions, const SurfaceView& surface);

} // namespace ctr
