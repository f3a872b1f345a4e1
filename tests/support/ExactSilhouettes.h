// Silhouettes by definition: an edge on the grid along which all triangles of a mesh run in one
// direction.
#pragma once

#include "support/ExactBaking.h"

#include <array>
#include <vector>

namespace test_support {

/// What one mesh's edges come to.
struct ExactSilhouette {
    /// Vertex numbers of the mesh, in the order of the edges' grid coordinates.
    std::vector<std::array<unsigned int, 2>> segments;
    int edgesInside = 0;     ///< Run along both ways.
    int edgesFolded = 0;     ///< Run along one way by more than one triangle.
    int edgesOfClipping = 0; ///< One way, but made by clipping, so left out.
    int edgesRestored = 0;   ///< Of a clipped triangle, given as the whole edge of its source.
};

/// One entry per mesh; without segments if nothing of it was baked.
std::vector<ExactSilhouette> SilhouettesExactly(const ExactBaked& baked,
                                                const std::vector<const kx::kxTriMesh*>& meshes);

} // namespace test_support
