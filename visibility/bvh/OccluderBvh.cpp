// Builds the packed layout from a baked hierarchy, bottom up, in O(n) for n triangles.
//
// The box of a leaf is enlarged by the error bound of occluded intervals (ErrorBounds.h, sections 3
// and 4); all roundings here are outwards.
#include "visibility/bvh/OccluderBvh.h"

#include "visibility/ErrorBounds.h"
#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/BvhNode.h"
#include "visibility/exact/GridArithmetic.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace ctr {
namespace {

Float4 ToFloat4(Int4 numbers) {
    return __builtin_convertvector(numbers, Float4);
}

/// |a - b| per lane. The numbers that follow the coordinates wrap.
Float4 AbsDifference(Int4 a, Int4 b) {
    using Unsigned = std::uint32_t __attribute__((vector_size(16)));
    const Float4 lengths = ToFloat4(
        reinterpret_cast<Int4>(reinterpret_cast<Unsigned>(a) - reinterpret_cast<Unsigned>(b)));
    return Max(lengths, -lengths);
}

/// Whether a box contains another one; false for boxes that are not numbers.
bool Contains(const kx::kxBBox& box, Float4 min, Float4 max) {
    return box.min[0] <= min[0] && box.min[1] <= min[1] && box.min[2] <= min[2] &&
           max[0] <= box.max[0] && max[1] <= box.max[1] && max[2] <= box.max[2];
}

} // namespace

double OccluderBvh::depthErrorBound(const GridVector& normal) {
    double size = 0.0;
    for (int axis = 0; axis < 3; ++axis) {
        size += std::abs(static_cast<double>(normal[axis]));
    }
    const double off = error_bounds::kRoundedValueMargin + size * error_bounds::kFunctionError;
    return off / std::max(std::abs(static_cast<double>(normal[2])), 1.0);
}

OccluderBvh::OccluderBvh(const BakedTriangles& baked, ItemCounter& work, std::size_t mostCopied) {
    if (!HasTriangles(baked)) {
        return;
    }
    if (baked.bvh.primitives.size() > mostCopied) {
        scene_ = &baked;
        margins_.resize(baked.bvh.nodes.size());
    } else {
        nodes_.reserve(baked.bvh.nodes.size() / 2);
        triangles_.reserve(baked.bvh.primitives.size());
        ForEachCounted(baked.bvh.primitives.size(), work, [&](std::size_t slot) {
            triangles_.push_back(TriangleOf(baked, baked.bvh.primitives[slot]));
        });
    }
    const Box all = add(baked, 0, root_, 0, work).extent;
    for (int axis = 0; axis < 3; ++axis) {
        extent_.min[axis] = all.min[axis];
        extent_.max[axis] = all.max[axis];
    }
}

OccluderBvh::Boxes OccluderBvh::add(const BakedTriangles& baked,
                                    unsigned int node,
                                    Child& child,
                                    unsigned int depth,
                                    ItemCounter& work) {
    depth_ = std::max(depth_, depth);
    const BvhNode& here = baked.bvh.nodes[node];
    child = childOf(here);
    Boxes boxes;
    if (IsLeaf(here)) {
        work.count(here.second);
        boxes = boxesOf(child);
    } else {
        const auto number = static_cast<std::uint32_t>(nodes_.size());
        if (scene_ == nullptr) {
            child = {number, kInner};
            nodes_.emplace_back();
        }
        Child children[2];
        const Boxes both[2] = {add(baked, FirstChild(here), children[0], depth + 1, work),
                               add(baked, SecondChild(here), children[1], depth + 1, work)};
        if (scene_ == nullptr) {
            nodes_[number] = nodeAround(both, children);
        }
        boxes = both[0];
        boxes.extend(both[1]);
    }
    if (scene_ != nullptr) {
        margins_[node] = marginOf(boxes);
    }
    boxesAreConservative_ =
        boxesAreConservative_ && Contains(here.box, boxes.extent.min, boxes.extent.max);
    return boxes;
}

OccluderBvh::Node OccluderBvh::nodeAround(const Boxes (&boxes)[2], const Child (&children)[2]) {
    const auto bounds = [&boxes](int axis) {
        return Float4{boxes[0].enlarged.min[axis], boxes[1].enlarged.min[axis],
                      -boxes[0].enlarged.max[axis], -boxes[1].enlarged.max[axis]};
    };
    const Float4 z{boxes[0].enlarged.min[2], boxes[1].enlarged.min[2], boxes[0].enlarged.min[2],
                   boxes[1].enlarged.min[2]};
    return {bounds(0), bounds(1), z, {children[0], children[1]}};
}

/// The margin is rounded up, and once more where its lower half is dropped. An empty box has none.
OccluderBvh::Margin OccluderBvh::marginOf(const Boxes& boxes) {
    constexpr std::uint32_t kLowerHalf = 0xffffU;
    constexpr unsigned int kHalf = 16;
    Margin margin{};
    if (boxes.extent.min[0] <= boxes.extent.max[0]) {
        const Float4 beyond =
            error_bounds::kMoreThanFloats *
            Max(boxes.extent.min - boxes.enlarged.min, boxes.enlarged.max - boxes.extent.max);
        for (std::size_t axis = 0; axis < margin.size(); ++axis) {
            const auto bits = std::bit_cast<std::uint32_t>(float{beyond[axis]});
            margin[axis] = static_cast<std::uint16_t>((bits + kLowerHalf) >> kHalf);
        }
    }
    return margin;
}

/// The box of a leaf's triangles and the box of the points that they may seem to cover, given the
/// error bound e of edge functions and plane values. The three edge functions of a triangle add up
/// to twice its area A, so an error of e in each scales the triangle about its centroid by at most
/// 1 + 3 e / 2A. The plane comes nearer by e / |nz|, and |nz| = 2A.
OccluderBvh::Boxes OccluderBvh::boxesOf(Child leaf) const {
    constexpr float kMore = error_bounds::kMoreThanFloats;
    constexpr auto kSteps = static_cast<float>(error_bounds::kRoundedValueMargin) * kMore;
    constexpr auto kShare = static_cast<float>(error_bounds::kFunctionError) * kMore;
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kFar = error_bounds::kBeyondGrid;
    Boxes boxes{{Broadcast(kInfinity), Broadcast(-kInfinity)}, {Broadcast(kFar), Broadcast(-kFar)}};
    const SlotTriangles all = triangles();
    SlotTriangle storage;
    for (std::uint32_t slot = leaf.begin; slot < leaf.end; ++slot) {
        const BakedVertex* const p = all.get(slot, storage).corners;
        const Int4 a = LoadCorner(p);
        const Int4 b = LoadCorner(p + 1);
        const Int4 c = LoadCorner(p + 2);
        const Float4 size = Max(Max(AbsDifference(b, a), AbsDifference(c, b)), AbsDifference(a, c));
        const std::int64_t twiceArea = CrossXY(Difference(p[1], p[0]), Difference(p[2], p[0]));
        const float perArea = 1.0F / std::max(std::abs(static_cast<float>(twiceArea)), 1.0F);
        // Upper bounds of |ex| + |ey| of an edge and of |nx| + |ny| + |nz|.
        const float longest = size[0] + size[1];
        const float normal = size[0] * size[1] + size[1] * size[2] + size[2] * size[0];
        // No corner is farther from the centroid than the box is long.
        const Float4 wider = Broadcast(3.0F * (kSteps + kShare * longest) * perArea) * size;
        const Float4 nearer{0.0F, 0.0F, (kSteps + kShare * normal) * perArea, 0.0F};
        const Box corners{Min(Min(ToFloat4(a), ToFloat4(b)), ToFloat4(c)),
                          Max(Max(ToFloat4(a), ToFloat4(b)), ToFloat4(c))};
        boxes.extend({corners, {corners.min - wider - nearer, corners.max + wider}});
    }
    return boxes;
}

} // namespace ctr
