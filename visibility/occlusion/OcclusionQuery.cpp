// Which parts of a grid segment are hidden: the walk over the hierarchy. Floats only prune it; they
// hold grid coordinates of up to 24 bits exactly.
#include <ctr/BakedTriangles.h>

#include "visibility/baking/BakedMesh.h"
#include "visibility/bvh/BvhNode.h"
#include "visibility/occlusion/TriangleOcclusion.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace ctr {
namespace {

/// A node wholly beside the segment, or wholly at or beyond its farthest depth, hides nothing.
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
        const HierarchyNode& here = bvh.nodes[node];
        if (IsPruned(here.box, box)) {
            return;
        }
        if (IsLeaf(here)) {
            const ContactTolerance tolerance(*this);
            const unsigned int* slot = bvh.primitives.data() + FirstSlot(here);
            for (const unsigned int* end = slot + here.second; slot != end; ++slot) {
                const unsigned int* corners = triangleIndices.data() + 3 * std::size_t{*slot};
                if (const auto part =
                        HiddenPart(vertices[corners[0]], vertices[corners[1]], vertices[corners[2]],
                                   trianglePlanes[*slot], tolerance, a, b)) {
                    intervals.push_back(*part);
                }
            }
            return;
        }
        computeOcclusionIntervalsIter(FirstChild(here), a, b, box, intervals);
        node = SecondChild(here);
    }
}

} // namespace ctr
