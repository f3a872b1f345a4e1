// Scenes as a host passes them to the library: meshes with normals, and a camera.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxPointer.h>

#include "bench/scenes/Scene.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

enum class View : std::uint8_t {
    Turned,     ///< From (1, -1.3, 0.8), the view of most measurements.
    Aligned,    ///< From above: planks cross at right angles, the walls of gears are seen edge-on.
    Perspective ///< As Turned, from three times the radius of the sphere.
};

/// The meshes of a scene with normals that are smooth across edges of less than 30 degrees, and a
/// camera, orthographic except for Perspective, whose square view contains the bounding sphere of
/// the scene's box, scaled by 1.02.
struct Subject {
    std::vector<kx::kxPointer<kx::kxTriMesh>> meshes;
    std::vector<const kx::kxTriMesh*> borrowed; ///< The same meshes.
    ctr::DiscreteProjectionSpace camera;
    std::size_t triangles = 0;
    unsigned int contactTolerance = 0; ///< In steps of the grid.
};

Subject MakeSubject(const Scene& scene, View view);

/// As above, without normals and with the vertices of the parts: smoothing takes O(n^2) where n
/// triangles meet at a vertex.
Subject MakePlainSubject(const Scene& scene, View view);

} // namespace bench
