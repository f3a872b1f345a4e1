// Takes out of a model the triangles that no line can be drawn from.
#pragma once

#include "model/Model.h"

#include <cstddef>
#include <string>

namespace kxcontour {

/// How many triangles were left out, by what is wrong with them.
struct DroppedTriangles {
    std::size_t badIndex = 0;   ///< A corner that is not among the vertices.
    std::size_t notFinite = 0;  ///< A coordinate that is infinite, not a number, or overflows.
    std::size_t degenerate = 0; ///< Two corners at one place, or all three on one line.

    std::size_t total() const { return badIndex + notFinite + degenerate; }
    DroppedTriangles& operator+=(const DroppedTriangles& other);
};

/// Drops bad triangles from every shape, in place and keeping the order of the others.
///
/// Whether a triangle has an area is decided in doubles from its positions as stored; their
/// differences are exact unless coordinates of one triangle differ by a factor of 2^29.
DroppedTriangles CleanShapes(Model& model);

/// One line for the user: "left out 3 triangles: 2 degenerate, 1 not finite".
std::string Describe(const DroppedTriangles& dropped);

} // namespace kxcontour
