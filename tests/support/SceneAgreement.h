// Library and oracle on one scene: baked triangles, occluded intervals, silhouettes, intersections.
// Each comparison returns nothing if they agree and a description of the difference otherwise.
#pragma once

#include <ctr/BakedTriangles.h>

#include "support/ExactIntersections.h"
#include "support/RandomScenes.h"

#include <string>
#include <vector>

namespace test_support {

/// A scene as the oracle and as the library bake it; the latter borrows meshes and view.
struct BakedScene {
    explicit BakedScene(Scene made);
    BakedScene(const BakedScene&) = delete;
    BakedScene& operator=(const BakedScene&) = delete;
    ~BakedScene() = default;

    Scene scene;
    ExactBaked exact;
    ctr::BakedTriangles baked;
};

/// What baking keeps: grid points, triangles, planes, where meshes start, origins, the tree.
std::string CompareBaking(const ExactBaked& exact, const ctr::BakedTriangles& baked);

/// The tree over baked triangles, which must not be empty: each triangle is in one leaf, a leaf has
/// 1 to 10, a box is just what its triangles or children fill, no node is left over.
std::string CheckTree(const ctr::BakedTriangles& baked);

/// What hides an edge, triangle by triangle and as a whole.
std::string CompareOcclusion(const BakedScene& test, const GridEdge& edge);

/// What the library says is hidden of an edge, fused, against single points of it: one in every
/// stretch over which membership cannot change. For grids of up to 6 bits on each axis.
std::string CompareHiddenPoints(const BakedScene& test, const GridEdge& edge);

/// The cases that a comparison of silhouettes has covered, to verify that it has covered enough.
struct SilhouetteCounts {
    int segments = 0;
    int inside = 0;
    int folded = 0;
    int ofClipping = 0;
    int restored = 0;
    int nullSlots = 0;
};

std::string CompareSilhouettes(const BakedScene& test, SilhouetteCounts& counts);

/// The segments of a set in world space, sorted, to the bit; none for a null set.
std::vector<SegmentBits> SortedBits(const kx::kxPointer<ctr::LineSegmentSet>& set);

/// Visible and hidden pieces of the lines along which triangles intersect, and that asking
/// for the hidden ones changes nothing about the visible ones.
std::string CompareIntersections(const ctr::BakedTriangles& baked, IntersectionCounts& counts);

} // namespace test_support
