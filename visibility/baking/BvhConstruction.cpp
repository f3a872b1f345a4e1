// The BVH over the baked triangles.
//
// Top-down binned surface-area splits (I. Wald, On fast construction of SAH-based bounding volume
// hierarchies, IEEE Symposium on Interactive Ray Tracing 2007), by the builder of the framework,
// over boxes in world space. Boxes are then recomputed bottom up in grid coordinates, in which
// queries compare. O(n log n) for n triangles. Grid boxes are exact up to 24 bits; beyond,
// conversion to float is monotonic, so each box contains its contents.
#include "visibility/baking/BvhConstruction.h"

#include <kxCommonAddOns/kxGenericBVHPrimitives.h>
#include <kxCommonAddOns/kxLinearGenericBVHBuilder.h>

#include "projection/GridQuantisation.h"
#include "visibility/Tuning.h"
#include "visibility/baking/BvhNode.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace ctr {
namespace {

/// The boxes of the triangles in world space, over which the hierarchy is built.
class TrianglePrimitives : public kx::kxGenericBVHPrimitives {
public:
    TrianglePrimitives(const BakedTriangles& baked, ItemCounter& work)
        : indices_(baked.triangleIndices), positions_(baked.vertices.size()) {
        ForEachCounted(positions_.size(), work, [&](std::size_t i) {
            positions_[i] = GridToWorld(*baked.projectionSpace, baked.vertices[i]);
        });
    }

    unsigned int getPrimitiveQuantity() const override {
        return static_cast<unsigned int>(indices_.size() / 3);
    }

    kx::kxBBox getPrimitiveBox(unsigned int i) const override {
        kx::kxBBox box;
        for (std::size_t k = 3 * std::size_t{i}; k < 3 * std::size_t{i} + 3; ++k) {
            const Wm4::Vector3<float>& p = positions_[indices_[k]];
            for (int axis = 0; axis < 3; ++axis) {
                box.min[axis] = std::min(box.min[axis], p[axis]);
                box.max[axis] = std::max(box.max[axis], p[axis]);
            }
        }
        return box;
    }

private:
    const std::vector<unsigned int>& indices_;
    std::vector<Wm4::Vector3<float>> positions_;
};

void Extend(kx::kxBBox& box, const float min[3], const float max[3]) {
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = std::min(box.min[axis], min[axis]);
        box.max[axis] = std::max(box.max[axis], max[axis]);
    }
}

/// The grid box of the triangles in a leaf; the empty box for none.
///
/// Computed in integers, as conversion to float is monotonic.
kx::kxBBox LeafBox(const BakedTriangles& baked, const BvhNode& leaf) {
    if (leaf.second == 0) {
        return {};
    }
    constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
    BakedVertex min{kHighest, kHighest, kHighest};
    BakedVertex max{kLowest, kLowest, kLowest};
    for (unsigned int slot = FirstSlot(leaf); slot < FirstSlot(leaf) + leaf.second; ++slot) {
        const unsigned int* corners =
            baked.triangleIndices.data() + 3 * std::size_t{baked.bvh.primitives[slot]};
        for (int k = 0; k < 3; ++k) {
            const BakedVertex v = baked.vertices[corners[k]];
            min = {std::min(min.x, v.x), std::min(min.y, v.y), std::min(min.z, v.z)};
            max = {std::max(max.x, v.x), std::max(max.y, v.y), std::max(max.z, v.z)};
        }
    }
    return {{static_cast<float>(min.x), static_cast<float>(min.y), static_cast<float>(min.z)},
            {static_cast<float>(max.x), static_cast<float>(max.y), static_cast<float>(max.z)}};
}

/// Counts the cancellation checks of the builder as its progress.
class BuilderProgress : public kx::kxCancelInterfaceReadOnly {
public:
    explicit BuilderProgress(PhasedProgress& work) : work_(work) {}

    bool isCanceled() const override {
        work_.advance(Tuning::kItemsPerBuilderPoll);
        return work_.isCanceled();
    }

private:
    PhasedProgress& work_;
};

} // namespace

unsigned int ComputeBoxes(BakedTriangles& baked, unsigned int node, ItemCounter& work) {
    BvhNode& here = baked.bvh.nodes[node];
    if (IsLeaf(here)) {
        work.count(here.second);
        here.box = LeafBox(baked, here);
        return 1;
    }
    const unsigned int first = FirstChild(here);
    const unsigned int second = SecondChild(here);
    const unsigned int below = ComputeBoxes(baked, first, work) + ComputeBoxes(baked, second, work);
    here.box = baked.bvh.nodes[first].box;
    Extend(here.box, baked.bvh.nodes[second].box.min, baked.bvh.nodes[second].box.max);
    return below + 1;
}

void BuildBvh(BakedTriangles& baked, PhasedProgress& work) {
    const BuilderProgress progress(work);
    if (kx::kxLinearGenericBVHBuilder::build(baked.bvh, TrianglePrimitives(baked, work), &progress,
                                             Tuning::kTrianglesInLeaf)) {
        ComputeBoxes(baked, 0, work);
    }
}

} // namespace ctr
