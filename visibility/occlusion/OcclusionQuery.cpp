// The occluded intervals of a grid segment by a traversal of the baked BVH as it is.
//
// Boxes prune: O(log n) plus the number of triangles in the leaves that remain. Box coordinates are
// floats, exact for grid coordinates of up to 24 bits and monotonic beyond. Each remaining triangle
// gives its interval exactly (TriangleOcclusion.h).
#include <ctr/BakedTriangles.h>

#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/BvhNode.h"
#include "visibility/occlusion/TriangleOcclusion.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace ctr {
namespace {

/// Whether a node lies beside the segment, or at or beyond its farthest depth.
bool IsPruned(const kx::kxBBox& node, const kx::kxBBox& box) {
    return node.min[0] > box.max[0] || box.min[0] > node.max[0] || node.min[1] > box.max[1] ||
           box.min[1] > node.max[1] || node.min[2] >= box.max[2];
}

kx::kxBBox BoxOf(const BakedVertex& a, const BakedVertex& b) {
    kx::kxBBox box;
    const std::int32_t p[3] = {a.x, a.y, a.z};
    const std::int32_t q[3] = {b.x, b.y, b.z};
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = static_cast<float>(std::min(p[axis], q[axis]));
        box.max[axis] = static_cast<float>(std::max(p[axis], q[axis]));
    }
    return box;
}

} // namespace

void BakedTriangles::computeOcclusionIntervals(const BakedVertex& a,
                                               const BakedVertex& b,
                                               std::vector<RationalInterval>& intervals) const {
    if (HasTriangles(*this)) {
        computeOcclusionIntervalsIter(0, a, b, BoxOf(a, b), intervals);
    }
}

void BakedTriangles::computeOcclusionIntervalsIter(unsigned int node,
                                                   const BakedVertex& a,
                                                   const BakedVertex& b,
                                                   const kx::kxBBox& box,
                                                   std::vector<RationalInterval>& intervals) const {
    if (trianglePlanes.empty()) {
        return;
    }
    for (;;) {
        assert(node < bvh.nodes.size());
        const BvhNode& here = bvh.nodes[node];
        if (IsPruned(here.box, box)) {
            return;
        }
        if (IsLeaf(here)) {
            const ContactTolerance tolerance(*this);
            const unsigned int* slot = bvh.primitives.data() + FirstSlot(here);
            for (const unsigned int* end = slot + here.second; slot != end; ++slot) {
                const unsigned int* corners = triangleIndices.data() + 3 * std::size_t{*slot};
                if (const auto interval = OccludedInterval(
                        vertices[corners[0]], vertices[corners[1]], vertices[corners[2]],
                        trianglePlanes[*slot], tolerance, a, b)) {
                    intervals.push_back(*interval);
                }
            }
            return;
        }
        computeOcclusionIntervalsIter(FirstChild(here), a, b, box, intervals);
        node = SecondChild(here);
    }
}

} // namespace ctr
