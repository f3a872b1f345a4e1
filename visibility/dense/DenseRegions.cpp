// Finds dense regions bottom up, in O(n) for n nodes of the BVH.
//
// The depth complexity of a subtree is the area of its leaf boxes on screen, once per triangle,
// divided by the area of its own box. It is an estimate that only selects the search, so doubles
// suffice.
#include "visibility/dense/DenseRegions.h"

#include "visibility/Tuning.h"
#include "visibility/baking/BvhNode.h"

#include <algorithm>
#include <cmath>

namespace ctr {
namespace {

double ScreenAreaOf(const kx::kxBBox& box) {
    return (static_cast<double>(box.max[0]) - box.min[0] + 1.0) *
           (static_cast<double>(box.max[1]) - box.min[1] + 1.0);
}

GridAxis::Interval StepsOf(const SlotTriangles& triangles,
                           const std::vector<std::uint32_t>& slots,
                           std::int32_t BakedVertex::*axis) {
    GridAxis::Interval all = StepsOf(triangles[slots.front()], axis);
    for (const std::uint32_t slot : slots) {
        const GridAxis::Interval own = StepsOf(triangles[slot], axis);
        all = {std::min(all.min, own.min), std::max(all.max, own.max)};
    }
    return all;
}

std::int64_t CellsPerAxis(std::size_t triangles) {
    return static_cast<std::int64_t>(
        std::min(std::sqrt(static_cast<double>(triangles)), Tuning::kMostRegionCells));
}

/// Finds regions bottom up: a region replaces those below it.
class DenseRegionFinder {
public:
    DenseRegionFinder(const BakedTriangles& baked, ItemCounter& work)
        : baked_(baked), work_(work) {}

    std::vector<unsigned int> find() {
        measure(0);
        std::sort(roots_.begin(), roots_.end());
        return std::move(roots_);
    }

private:
    /// The triangles below a node.
    struct Load {
        double triangles = 0.0;
        double area = 0.0; ///< Of leaf boxes on screen, once per triangle.
    };

    Load measure(unsigned int node) {
        work_.count(1);
        const BvhNode& here = baked_.bvh.nodes[node];
        const double area = ScreenAreaOf(here.box);
        const std::size_t before = roots_.size();
        Load load;
        if (IsLeaf(here)) {
            load = {static_cast<double>(here.second), here.second * area};
        } else {
            for (const unsigned int child : {FirstChild(here), SecondChild(here)}) {
                const Load part = measure(child);
                load.triangles += part.triangles;
                load.area += part.area;
            }
        }
        if (load.triangles >= Tuning::kFewestInRegion &&
            load.area >= Tuning::kLayersOfRegion * area) {
            roots_.resize(before);
            roots_.push_back(node);
        }
        return load;
    }

    const BakedTriangles& baked_;
    ItemCounter& work_;
    std::vector<unsigned int> roots_;
};

void AppendSlots(const BakedTriangles& baked,
                 unsigned int node,
                 std::vector<std::uint32_t>& slots) {
    const BvhNode& here = baked.bvh.nodes[node];
    if (!IsLeaf(here)) {
        AppendSlots(baked, FirstChild(here), slots);
        AppendSlots(baked, SecondChild(here), slots);
        return;
    }
    for (unsigned int slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
        slots.push_back(slot);
    }
}

} // namespace

RegionGrid::RegionGrid(const SlotTriangles& triangles, const std::vector<std::uint32_t>& slots)
    : columns(StepsOf(triangles, slots, &BakedVertex::x), CellsPerAxis(slots.size())),
      rows(StepsOf(triangles, slots, &BakedVertex::y), CellsPerAxis(slots.size())) {}

GridAxis::Interval StepsOf(const SlotTriangle& triangle, std::int32_t BakedVertex::*axis) {
    const auto& [p, q, r] = triangle.corners;
    const auto [least, most] = std::minmax({p.*axis, q.*axis, r.*axis});
    return {least, most};
}

std::vector<unsigned int> FindDenseRegions(const BakedTriangles& baked, ItemCounter& work) {
    return baked.bvh.nodes.empty() ? std::vector<unsigned int>{}
                                   : DenseRegionFinder(baked, work).find();
}

std::vector<std::uint32_t> SlotsBelow(const BakedTriangles& baked, unsigned int node) {
    std::vector<std::uint32_t> slots;
    AppendSlots(baked, node, slots);
    return slots;
}

} // namespace ctr
