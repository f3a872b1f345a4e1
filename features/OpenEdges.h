// The edges of exactly one face, and what else the sides of a surface show.
#pragma once

#include <Wm4Foundation.h>

#include "features/Sides.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// A side of a triangle that nothing adjoins, with what its neighbourhood looks like.
struct OpenEdge {
    std::uint32_t corner; ///< Where it starts, counted through the index buffer.
    std::uint32_t from;   ///< The places of its ends, as its triangle runs.
    std::uint32_t to;
    Wm4::Vector3<double> start;
    Wm4::Vector3<double> end;
    Wm4::Vector3<double> inward; ///< Of unit length, at right angles to it, into its triangle.
    double length;
    double height; ///< Of its triangle over it.

    std::uint32_t triangle() const { return corner / 3; }
};

struct EdgeSurvey {
    std::size_t edges = 0;              ///< All of them.
    std::vector<std::uint32_t> open;    ///< The corners that open edges start from, ascending.
    std::size_t crowded = 0;            ///< Edges of more than two different faces.
    std::vector<std::uint32_t> doubled; ///< Triangles of which an earlier one has all three
                                        ///< corners, whichever way round; ascending.
};

/// Looks at every edge once. While a surface has doubled faces, its open and crowded edges are
/// those of its different faces.
EdgeSurvey SurveyEdges(const Sides& sides);

/// The open edges of a survey in its order.
std::vector<OpenEdge> MeasureOpenEdges(const EdgeSurvey& survey,
                                       const Sides& sides,
                                       const kx::kxVertexBuffer& vertices,
                                       const kx::kxIndexBuffer& triangles);

/// Whether the faces at two edges that run along each other are the front and the back of
/// something thin, or lie on each other, rather than neighbours: they go to the same side.
bool FoldsBack(const OpenEdge& a, const OpenEdge& b);

} // namespace ctr
