// Stitching: joins the two rims of cracks.
#pragma once

#include <Wm4Foundation.h>

#include "features/BoundaryEdges.h"
#include "features/EdgePairs.h"
#include "features/HalfEdges.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// A surface: its buffers, its half-edges, and the positions of its vertices before any repair.
struct SurfaceView {
    const kx::kxVertexBuffer& vertices;
    const kx::kxIndexBuffer& triangles;
    const HalfEdges& halfEdges;
    const std::vector<Wm4::Vector3<float>>& origins; ///< Of each vertex.
};

struct Stitches {
    std::vector<std::uint32_t> targets; ///< For each point, the point that it moves to.
    std::size_t joinedEdges = 0;        ///< Pairs whose ends were merged at both ends.
    double widestGap = 0.0;             ///< Of those pairs.
    std::size_t movedPoints = 0;
};

/// Merges the ends of paired edges, nearest pairs first.
///
/// Merged points move to the position of one of them, which was on a boundary edge as all of them
/// were. Points are not merged if any two of them were farther apart than the distance before the
/// repair, if two corners of one triangle would coincide, or if the normal of a triangle would turn
/// by 90 degrees or more from its direction before the repair. O(n log n) in the number of paired
/// points and the triangles around them.
Stitches StitchPairs(const std::vector<EdgePair>& pairs,
                     const std::vector<BoundaryEdge>& edges,
                     const SurfaceView& surface,
                     double distance);

} // namespace ctr
