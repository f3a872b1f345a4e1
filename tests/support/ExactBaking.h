// Baking by its definition: clipping, quantisation, windings, planes and the origins of clipped
// edges, triangle by triangle, into plain lists.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxTriMesh.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace test_support {

using GridTriangle = std::array<ctr::BakedVertex, 3>;

/// x, y and z, comparable; positions in this order are in the order of the silhouettes.
using Coordinates = std::array<std::int32_t, 3>;
Coordinates CoordinatesOf(const ctr::BakedVertex& v);

/// What a list of meshes becomes on the grid.
struct ExactBaked {
    std::vector<ctr::BakedVertex> vertices;
    std::vector<std::array<unsigned int, 3>> triangles;
    std::vector<std::array<std::int64_t, 3>> planes;
    std::vector<unsigned int> meshFirstVertex;
    std::vector<unsigned int> meshFirstTriangle;
    std::vector<std::vector<unsigned int>> origins;

    int trianglesOutside = 0;  ///< Of the meshes, wholly outside the view.
    int trianglesClipped = 0;  ///< Of the meshes, clipped by the view's bounds.
    int trianglesEdgeOn = 0;   ///< Of the meshes or of clipped ones, without area on the screen.
    int trianglesUnusable = 0; ///< Of the meshes, not finite or without vertices.

    GridTriangle corners(std::size_t triangle) const;
};

/// The polygon that the view's bounds leave of a triangle, as clipTriangle() describes it.
struct ExactPolygon {
    std::vector<Wm4::Vector4<float>> vertices;
    /// One a vertex: the edge of the triangle that ends there (1, 2 or 3), or 0.
    std::vector<unsigned int> edges;
    bool clipped = false; ///< Some bound had vertices beyond it.
};

/// The clip-space position of a vertex: x row0 + y row1 + z row2 + row3, left to right.
Wm4::Vector4<float> ClipPosition(const ctr::DiscreteProjectionSpace& space,
                                 const Wm4::Vector3<float>& world);

ExactPolygon ClipTriangleExactly(const ctr::DiscreteProjectionSpace& space,
                                 const std::array<Wm4::Vector4<float>, 3>& triangle);

/// The grid point of a clip-space point, clamped to the view.
ctr::BakedVertex Quantise(const ctr::DiscreteProjectionSpace& space,
                          const Wm4::Vector4<float>& position);

/// Twice the area on the screen, positive when a, b, c run counter-clockwise.
std::int64_t
DoubledArea(const ctr::BakedVertex& a, const ctr::BakedVertex& b, const ctr::BakedVertex& c);

/// For views with at most 30 bits on each axis.
ExactBaked BakeExactly(const ctr::DiscreteProjectionSpace& space,
                       const std::vector<const kx::kxTriMesh*>& meshes);

} // namespace test_support
