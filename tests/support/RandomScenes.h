// Small random scenes with many contacts: coarse grids, shared and nearly shared points, coplanar
// overlaps, edges on edges, needles, fans, duplicates, views that clip everything.
#pragma once

#include "support/ExactBaking.h"
#include "support/Random.h"
#include "support/Scenes.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace test_support {

/// Meshes (null entries among them) and the view they are seen through.
struct Scene {
    std::uint64_t seed = 0; ///< 0 for scenes that were made of no seed.
    ctr::DiscreteProjectionSpace space;
    std::vector<kx::kxPointer<kx::kxTriMesh>> meshes;

    std::vector<const kx::kxTriMesh*> meshList() const { return MeshList(meshes); }
};

/// The scene of a seed: 1 to 4 entries with 2 to about 30 triangles in all, on grids of 3 to 6 bits
/// on each axis.
Scene RandomScene(std::uint64_t seed);

/// The same out of any source; as a seed's own generator it gives the scene of that seed.
Scene RandomScene(Random& random);

/// The view of a random scene, filled with the meshes of so many others.
Scene OverlappingScene(Random& random, int others);

/// A vertex of a triangle of the scene, half of the time, or else any point of the grid.
ctr::BakedVertex RandomGridPoint(Random& random, const Scene& scene, const ExactBaked& baked);

/// An edge on the grid, first end first.
using GridEdge = std::pair<ctr::BakedVertex, ctr::BakedVertex>;

/// A side of a triangle of the scene, half of the time, or else an edge between two such points.
GridEdge RandomGridEdge(Random& random, const Scene& scene, const ExactBaked& baked);

/// Two vertices of the meshes in world space; nothing when one is far outside any view or no
/// number.
std::optional<std::array<Point, 2>> RandomWorldEdge(Random& random, const Scene& scene);

/// An edge as the generator makes it out of two points in the world: clipped, then quantised. The
/// other one when nothing of it is in the view.
GridEdge ClippedEdge(const Scene& scene, const std::array<Point, 2>& ends, const GridEdge& other);

/// Seed, grid and triangles of a scene as text, to see what a failure was about.
std::string Describe(const Scene& scene);

/// The screen of the grid as an SVG document: triangles, and an edge in red.
std::string Drawing(const ExactBaked& baked, const ctr::BakedVertex& a, const ctr::BakedVertex& b);

} // namespace test_support
