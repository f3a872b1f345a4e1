// The invariants of baked triangles, checked.
#include "visibility/baking/BakedValidation.h"

#include <ctr/BakedTriangles.h>

#include "visibility/baking/BakedMesh.h"
#include "visibility/bvh/BvhNode.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ctr {
namespace {

bool TrianglesHaveVertices(const BakedTriangles& baked) {
    const std::size_t vertices = baked.vertices.size();
    return baked.triangleIndices.size() == 3 * baked.trianglePlanes.size() &&
           std::all_of(baked.triangleIndices.begin(), baked.triangleIndices.end(),
                       [vertices](unsigned int index) { return index < vertices; });
}

/// The first numbers of the meshes that take part ascend to the total, which ends the list.
bool AscendsTo(const BakedTriangles& baked,
               const std::vector<unsigned int>& firsts,
               std::size_t total) {
    if (firsts.size() != baked.meshes.size() + 1 || firsts.back() != total) {
        return false;
    }
    unsigned int reached = 0;
    for (std::size_t mesh = 0; mesh < baked.meshes.size(); ++mesh) {
        if (IsUsable(baked.meshes[mesh])) {
            if (firsts[mesh] < reached || firsts[mesh] > total) {
                return false;
            }
            reached = firsts[mesh];
        }
    }
    return true;
}

/// Goes down the hierarchy once and notes where it has been, so that it comes to an end whatever
/// the nodes hold.
class HierarchyWalk {
public:
    explicit HierarchyWalk(const BakedTriangles& baked)
        : bvh_(baked.bvh), isKnown_(bvh_.nodes.size()), leaves_(baked.trianglePlanes.size()) {}

    /// False as soon as a node or slot is beyond the end, or a node is met again.
    bool comesToAnEnd() {
        if (!bvh_.nodes.empty() && !note(0)) {
            return false;
        }
        while (!open_.empty()) {
            const HierarchyNode& node = bvh_.nodes[open_.back()];
            open_.pop_back();
            const bool goesOn = IsLeaf(node) ? noteTriangles(node)
                                             : note(FirstChild(node)) && note(SecondChild(node));
            if (!goesOn) {
                return false;
            }
        }
        return true;
    }

    /// After such a walk.
    bool hasMetAllOnce() const {
        return std::find(isKnown_.begin(), isKnown_.end(), false) == isKnown_.end() &&
               std::all_of(leaves_.begin(), leaves_.end(),
                           [](std::size_t count) { return count == 1; });
    }

private:
    bool note(unsigned int node) {
        if (node >= isKnown_.size() || isKnown_[node]) {
            return false;
        }
        isKnown_[node] = true;
        open_.push_back(node);
        return true;
    }

    bool noteTriangles(const HierarchyNode& leaf) {
        const std::size_t end = std::size_t{FirstSlot(leaf)} + leaf.second;
        if (end > bvh_.primitives.size()) {
            return false;
        }
        for (std::size_t slot = FirstSlot(leaf); slot < end; ++slot) {
            const unsigned int triangle = bvh_.primitives[slot];
            if (triangle >= leaves_.size()) {
                return false;
            }
            ++leaves_[triangle];
        }
        return true;
    }

    const kx::kxGenericBVH& bvh_;
    std::vector<bool> isKnown_;
    std::vector<std::size_t> leaves_; ///< How many leaves hold each triangle.
    std::vector<unsigned int> open_;
};

bool Holds(const kx::kxBBox& outer, const kx::kxBBox& inner) {
    for (int axis = 0; axis < 3; ++axis) {
        if (inner.min[axis] < outer.min[axis] || inner.max[axis] > outer.max[axis]) {
            return false;
        }
    }
    return true;
}

bool Holds(const kx::kxBBox& box, const BakedVertex& vertex) {
    const float point[3] = {static_cast<float>(vertex.x), static_cast<float>(vertex.y),
                            static_cast<float>(vertex.z)};
    return Holds(box, kx::kxBBox{{point[0], point[1], point[2]}, {point[0], point[1], point[2]}});
}

bool LeafHoldsItsTriangles(const BakedTriangles& baked, const HierarchyNode& leaf) {
    for (std::size_t i = 0; i < leaf.second; ++i) {
        const std::size_t triangle = baked.bvh.primitives[FirstSlot(leaf) + i];
        for (std::size_t corner = 0; corner < 3; ++corner) {
            if (!Holds(leaf.box, baked.vertices[baked.triangleIndices[3 * triangle + corner]])) {
                return false;
            }
        }
    }
    return true;
}

/// For a hierarchy that comes to an end.
bool BoxesHoldWhatIsBelow(const BakedTriangles& baked) {
    const std::vector<HierarchyNode>& nodes = baked.bvh.nodes;
    return std::all_of(nodes.begin(), nodes.end(), [&](const HierarchyNode& node) {
        return IsLeaf(node) ? LeafHoldsItsTriangles(baked, node)
                            : Holds(node.box, nodes[FirstChild(node)].box) &&
                                  Holds(node.box, nodes[SecondChild(node)].box);
    });
}

} // namespace

bool HierarchyLeadsToTriangles(const BakedTriangles& baked) {
    return TrianglesHaveVertices(baked) && HierarchyWalk(baked).comesToAnEnd();
}

bool MeshesLeadToTriangles(const BakedTriangles& baked) {
    if (baked.meshFirstVertex.empty() && baked.meshFirstTriangle.empty()) {
        return baked.vertices.empty() && baked.trianglePlanes.empty();
    }
    return AscendsTo(baked, baked.meshFirstVertex, baked.vertices.size()) &&
           AscendsTo(baked, baked.meshFirstTriangle, baked.trianglePlanes.size()) &&
           baked.clippedTriangleOrigins.size() == baked.meshes.size();
}

bool BakedTriangles::validate() const {
    HierarchyWalk walk(*this);
    return TrianglesHaveVertices(*this) && MeshesLeadToTriangles(*this) && walk.comesToAnEnd() &&
           walk.hasMetAllOnce() &&
           std::all_of(trianglePlanes.begin(), trianglePlanes.end(),
                       [](const Wm4::Vector3<std::int64_t>& normal) { return normal[2] < 0; }) &&
           BoxesHoldWhatIsBelow(*this);
}

} // namespace ctr
