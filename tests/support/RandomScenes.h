// Small random scenes full of contacts: coarse grids, shared and nearly shared points, overlaps in
// one plane, edges on edges, needles, fans, duplicates, views that cut everything.
#pragma once

#include "support/ExactBaking.h"
#include "support/Random.h"
#include "support/Scenes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace test_support {

/// Meshes (null entries among them) and the view they are seen through.
struct Scene {
    std::uint64_t seed = 0;
    ctr::DiscreteProjectionSpace space;
    std::vector<kx::kxPointer<kx::kxTriMesh>> meshes;

    std::vector<const kx::kxTriMesh*> meshList() const { return MeshList(meshes); }
};

/// The scene of a seed: 1 to 4 entries with 2 to about 30 triangles in all, on grids of 3 to 6 bits
/// on each axis.
Scene RandomScene(std::uint64_t seed);

/// A vertex of a triangle of the scene, half of the time, or else any point of the grid.
ctr::BakedVertex RandomGridPoint(Random& random, const Scene& scene, const ExactBaked& baked);

/// Seed, grid and triangles of a scene as text, to see what a failure was about.
std::string Describe(const Scene& scene);

/// The screen of the grid as an SVG document: triangles, and an edge in red.
std::string Drawing(const ExactBaked& baked, const ctr::BakedVertex& a, const ctr::BakedVertex& b);

} // namespace test_support
