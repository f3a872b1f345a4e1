// Joins the two rims of cracks.
#pragma once

#include <Wm4Foundation.h>

#include "features/EdgePairs.h"
#include "features/OpenEdges.h"
#include "features/Sides.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// A surface at hand: its buffers, its sides, and where its vertices were before any repair.
struct SurfaceView {
    const kx::kxVertexBuffer& vertices;
    const kx::kxIndexBuffer& triangles;
    const Sides& sides;
    const std::vector<Wm4::Vector3<float>>& origins; ///< Of each vertex.
};

struct Stitches {
    std::vector<std::uint32_t> targets; ///< For each place, the one that it moves to.
    std::size_t joinedEdges = 0;        ///< Pairs of which both ends became one.
    double widestGap = 0.0;             ///< Of those pairs.
    std::size_t movedPlaces = 0;
};

/// Lets the ends of paired edges become one place each, the nearest pairs first.
///
/// Places that become one move to the position of one of them, which lay on an open edge as all of
/// them did. A move is left out where any two of the places that it unites lay farther apart than
/// the distance before the repair, where two corners of one triangle would become one, and where a
/// triangle would turn by a right angle or more against what it was before the repair.
/// O(n log n) in the number of paired places and the triangles around them.
Stitches StitchPairs(const std::vector<EdgePair>& pairs,
                     const std::vector<OpenEdge>& edges,
                     const SurfaceView& surface,
                     double distance);

} // namespace ctr
