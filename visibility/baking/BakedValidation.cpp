// Validation of baked triangles: index ranges, the BVH, and whether boxes contain their contents.
//
// The BVH is traversed with a mark per node, so that the traversal terminates for any contents.
// Linear time and memory. Exact: only integers and stored floats are compared.
#include "visibility/baking/BakedValidation.h"

#include <ctr/BakedTriangles.h>

#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/BvhNode.h"

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

/// Whether the first numbers of the used meshes ascend to the total, which ends the list.
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

/// Traverses the hierarchy once and marks visited nodes, so that it terminates for any nodes.
class BvhTraversal {
public:
    explicit BvhTraversal(const BakedTriangles& baked)
        : bvh_(baked.bvh), isVisited_(bvh_.nodes.size()), leaves_(baked.trianglePlanes.size()) {}

    /// False as soon as a node or slot does not exist, or a node is visited again.
    bool terminates() {
        if (!bvh_.nodes.empty() && !mark(0)) {
            return false;
        }
        while (!open_.empty()) {
            const BvhNode& node = bvh_.nodes[open_.back()];
            open_.pop_back();
            const bool isValid = IsLeaf(node) ? markTriangles(node)
                                              : mark(FirstChild(node)) && mark(SecondChild(node));
            if (!isValid) {
                return false;
            }
        }
        return true;
    }

    /// After terminates() has returned true.
    bool visitedAllOnce() const {
        return std::find(isVisited_.begin(), isVisited_.end(), false) == isVisited_.end() &&
               std::all_of(leaves_.begin(), leaves_.end(),
                           [](std::size_t count) { return count == 1; });
    }

private:
    bool mark(unsigned int node) {
        if (node >= isVisited_.size() || isVisited_[node]) {
            return false;
        }
        isVisited_[node] = true;
        open_.push_back(node);
        return true;
    }

    bool markTriangles(const BvhNode& leaf) {
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
    std::vector<bool> isVisited_;
    std::vector<std::size_t> leaves_; ///< The number of leaves of each triangle.
    std::vector<unsigned int> open_;
};

bool Contains(const kx::kxBBox& outer, const kx::kxBBox& inner) {
    for (int axis = 0; axis < 3; ++axis) {
        if (inner.min[axis] < outer.min[axis] || inner.max[axis] > outer.max[axis]) {
            return false;
        }
    }
    return true;
}

bool Contains(const kx::kxBBox& box, const BakedVertex& vertex) {
    const float point[3] = {static_cast<float>(vertex.x), static_cast<float>(vertex.y),
                            static_cast<float>(vertex.z)};
    return Contains(box,
                    kx::kxBBox{{point[0], point[1], point[2]}, {point[0], point[1], point[2]}});
}

bool LeafContainsItsTriangles(const BakedTriangles& baked, const BvhNode& leaf) {
    for (std::size_t i = 0; i < leaf.second; ++i) {
        const std::size_t triangle = baked.bvh.primitives[FirstSlot(leaf) + i];
        for (std::size_t corner = 0; corner < 3; ++corner) {
            if (!Contains(leaf.box, baked.vertices[baked.triangleIndices[3 * triangle + corner]])) {
                return false;
            }
        }
    }
    return true;
}

/// For a hierarchy whose traversal terminates.
bool BoxesContainChildren(const BakedTriangles& baked) {
    const std::vector<BvhNode>& nodes = baked.bvh.nodes;
    return std::all_of(nodes.begin(), nodes.end(), [&](const BvhNode& node) {
        return IsLeaf(node) ? LeafContainsItsTriangles(baked, node)
                            : Contains(node.box, nodes[FirstChild(node)].box) &&
                                  Contains(node.box, nodes[SecondChild(node)].box);
    });
}

} // namespace

bool HasValidBvh(const BakedTriangles& baked) {
    return TrianglesHaveVertices(baked) && BvhTraversal(baked).terminates();
}

bool HasValidMeshRanges(const BakedTriangles& baked) {
    if (baked.meshFirstVertex.empty() && baked.meshFirstTriangle.empty()) {
        return baked.vertices.empty() && baked.trianglePlanes.empty();
    }
    return AscendsTo(baked, baked.meshFirstVertex, baked.vertices.size()) &&
           AscendsTo(baked, baked.meshFirstTriangle, baked.trianglePlanes.size()) &&
           baked.clippedTriangleOrigins.size() == baked.meshes.size();
}

bool BakedTriangles::validate() const {
    BvhTraversal traversal(*this);
    return TrianglesHaveVertices(*this) && HasValidMeshRanges(*this) && traversal.terminates() &&
           traversal.visitedAllOnce() &&
           std::all_of(trianglePlanes.begin(), trianglePlanes.end(),
                       [](const Wm4::Vector3<std::int64_t>& normal) { return normal[2] < 0; }) &&
           BoxesContainChildren(*this);
}

} // namespace ctr
