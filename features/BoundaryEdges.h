// Classification of edges: boundary edges, non-manifold edges and duplicate faces.
#pragma once

#include <Wm4Foundation.h>

#include "features/HalfEdges.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// A boundary edge: an edge of exactly one face, with measures of that face.
struct BoundaryEdge {
    std::uint32_t corner; ///< The corner it starts from, an index into the index buffer.
    std::uint32_t from;   ///< The points of its ends, in the direction of its triangle.
    std::uint32_t to;
    Wm4::Vector3<double> start;
    Wm4::Vector3<double> end;
    Wm4::Vector3<double> inward; ///< Unit vector perpendicular to the edge, into its triangle.
    double length;
    double height; ///< Of its triangle above the edge.

    std::uint32_t triangle() const { return corner / 3; }
};

struct EdgeClasses {
    std::size_t edges = 0;               ///< The number of all edges.
    std::vector<std::uint32_t> boundary; ///< The corners that boundary edges start from, ascending.
    std::size_t nonManifold = 0;         ///< Edges of more than two different faces.
    std::vector<std::uint32_t> duplicates; ///< Triangles with the same three corners as an earlier
                                           ///< one, in either orientation; ascending.
};

/// Classifies all edges in one pass. Duplicate faces count once, so they do not change the class of
/// an edge. Linear time.
EdgeClasses ClassifyEdges(const HalfEdges& halfEdges);

/// The boundary edges in the order of the classification, measured.
std::vector<BoundaryEdge> MeasureBoundaryEdges(const EdgeClasses& classes,
                                               const HalfEdges& halfEdges,
                                               const kx::kxVertexBuffer& vertices,
                                               const kx::kxIndexBuffer& triangles);

/// Whether the faces at two edges that run along each other lie on the same side of them, as the
/// front and back of a thin part or faces on top of each other do, and are not neighbours.
bool FoldsBack(const BoundaryEdge& a, const BoundaryEdge& b);

} // namespace ctr
