// Checks that a search over all triangles gives the result of a traversal of the BVH: one pass over
// the triangles, one over the BVH. O(n). Boxes are compared as floats, which are exact for the
// coordinates that pass; sizes of plane values are estimated in doubles.
#include "visibility/dense/BypassConditions.h"

#include "visibility/ErrorBounds.h"
#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/BvhNode.h"
#include "visibility/exact/GridArithmetic.h"

#include <algorithm>
#include <cstddef>

namespace ctr {
namespace {

void Extend(kx::kxBBox& box, const kx::kxBBox& other) {
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = std::min(box.min[axis], other.min[axis]);
        box.max[axis] = std::max(box.max[axis], other.max[axis]);
    }
}

bool BoxContains(const kx::kxBBox& box, const kx::kxBBox& other) {
    bool all = true;
    for (int axis = 0; axis < 3; ++axis) {
        all = all && box.min[axis] <= other.min[axis] && other.max[axis] <= box.max[axis];
    }
    return all;
}

/// Whether each slot is in at most one leaf below a node, and boxes contain the boxes below them.
bool ReachesAll(const BakedTriangles& baked,
                const SlotTriangles& triangles,
                unsigned int node,
                std::vector<bool>& met) {
    const BvhNode& here = baked.bvh.nodes[node];
    if (!IsLeaf(here)) {
        const unsigned int children[2] = {FirstChild(here), SecondChild(here)};
        return std::all_of(children, children + 2, [&](unsigned int child) {
            return BoxContains(here.box, baked.bvh.nodes[child].box) &&
                   ReachesAll(baked, triangles, child, met);
        });
    }
    for (std::size_t slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
        if (met[slot] || !BoxContains(here.box, BoxOfCorners(triangles[slot]))) {
            return false;
        }
        met[slot] = true;
    }
    return true;
}

} // namespace

kx::kxBBox BoxOfCorners(const SlotTriangle& triangle) {
    kx::kxBBox box;
    for (const BakedVertex& corner : triangle.corners) {
        const std::int32_t p[3] = {corner.x, corner.y, corner.z};
        for (int axis = 0; axis < 3; ++axis) {
            box.min[axis] = std::min(box.min[axis], static_cast<float>(p[axis]));
            box.max[axis] = std::max(box.max[axis], static_cast<float>(p[axis]));
        }
    }
    return box;
}

bool PlaneValuesFit(const kx::kxBBox& box, double factor) {
    constexpr float kLastExact = error_bounds::kLastExactFloat;
    double values = 6.0 * factor;
    for (int axis = 0; axis < 3; ++axis) {
        values *= static_cast<double>(box.max[axis]) - static_cast<double>(box.min[axis]);
        if (box.min[axis] < -kLastExact || box.max[axis] > kLastExact) {
            return false;
        }
    }
    return values < error_bounds::kPlaneValueLimit;
}

bool MayBypassBvh(const BakedTriangles& baked, const SlotTriangles& triangles) {
    if (!HasTriangles(baked)) {
        return false;
    }
    kx::kxBBox all;
    SlotTriangle storage;
    for (std::size_t slot = 0; slot < triangles.size(); ++slot) {
        const SlotTriangle& triangle = triangles.get(slot, storage);
        Extend(all, BoxOfCorners(triangle));
        const GridVector normal = NormalOf(triangle.corners);
        if (normal[2] >= 0 || normal != baked.trianglePlanes[triangle.number]) {
            return false;
        }
    }
    std::vector<bool> met(triangles.size());
    return PlaneValuesFit(all) && ReachesAll(baked, triangles, 0, met) &&
           std::all_of(met.begin(), met.end(), [](bool one) { return one; });
}

} // namespace ctr
