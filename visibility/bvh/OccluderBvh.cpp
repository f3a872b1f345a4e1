// Builds the query layout from a baked hierarchy, bottom up.
#include "visibility/bvh/OccluderBvh.h"

#include "visibility/baking/BakedMesh.h"
#include "visibility/bvh/BvhNode.h"
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

/// Farther than any grid point; what is empty lies there.
constexpr float kFar = 4.0e9F;

/// Steps by which a rounded value may be off, and what is lost in doubles of a value of some size,
/// as a share of it: see the crossings of cuts.
constexpr double kRoundedSteps = 2.0;
constexpr double kGridExtent = 0x1p31;
constexpr double kRoundedShare = 0x1p-49 * kGridExtent;

Lanes Floats(IntegerLanes numbers) {
    return __builtin_convertvector(numbers, Lanes);
}

/// The sizes of a - b: what lies beyond the coordinates in the lanes wraps.
Lanes Lengths(IntegerLanes a, IntegerLanes b) {
    using Unsigned = std::uint32_t __attribute__((vector_size(16)));
    const Lanes lengths = Floats(reinterpret_cast<IntegerLanes>(reinterpret_cast<Unsigned>(a) -
                                                                reinterpret_cast<Unsigned>(b)));
    return Most(lengths, -lengths);
}

/// Whether a box has all of another one in it; one that is not a number has nothing.
bool Holds(const kx::kxBBox& box, Lanes min, Lanes max) {
    return box.min[0] <= min[0] && box.min[1] <= min[1] && box.min[2] <= min[2] &&
           max[0] <= box.max[0] && max[1] <= box.max[1] && max[2] <= box.max[2];
}

} // namespace

SegmentProbe::SegmentProbe(const BakedVertex& a, const BakedVertex& b) {
    // In the reach of the segment, coordinates and their differences are off by less than 2^-21 of
    // the largest of them.
    constexpr float kMarginShare = 0x1p-20F;
    constexpr float kMarginSteps = 3.0F;
    constexpr float kSteep = 1.0e12F;
    const std::int32_t ends[3][2] = {{a.x, b.x}, {a.y, b.y}, {a.z, b.z}};
    float from[3];
    float per[3];
    float largest = 0.0F;
    for (int axis = 0; axis < 3; ++axis) {
        const auto [p, q] = ends[axis];
        from[axis] = static_cast<float>(p);
        per[axis] = p != q ? 1.0F / static_cast<float>(std::int64_t{q} - std::int64_t{p}) : kSteep;
        largest = std::max({largest, std::abs(from[axis]), std::abs(static_cast<float>(q))});
    }
    const float margin = kMarginSteps + kMarginShare * largest;
    const auto both = [](float low, float high) { return Lanes{low, low, high, high}; };
    originX_ = both(from[0] + margin, margin - from[0]);
    originY_ = both(from[1] + margin, margin - from[1]);
    originZ_ = both(from[2] + margin, from[2] + margin);
    perX_ = both(per[0], -per[0]);
    perY_ = both(per[1], -per[1]);
    perZ_ = both(per[2], per[2]);
    goesBack_ = b.z >= a.z;
}

void Coverage::add(const RationalInterval& range) {
    constexpr double kRounding = 1.0e-9;
    const auto at = [](const Fraction& t) {
        const double bins = kBins * static_cast<double>(t[0]) / static_cast<double>(t[1]);
        return std::min(std::max(0.0, bins), double{kBins});
    };
    const int first = static_cast<int>(at(range.start) + kRounding) + 1;
    const int end = static_cast<int>(at(range.end) - kRounding);
    if (first < end) {
        bins_ |= (~std::uint64_t{0} >> (kBins - (end - first))) << first;
    }
}

double OccluderTree::depthSlackOf(const GridVector& normal) {
    double size = 0.0;
    for (int axis = 0; axis < 3; ++axis) {
        size += std::abs(static_cast<double>(normal[axis]));
    }
    const double off = kRoundedSteps + size * kRoundedShare;
    return off / std::max(std::abs(static_cast<double>(normal[2])), 1.0);
}

OccluderTree::OccluderTree(const BakedTriangles& baked, ItemCounter& work, std::size_t mostCopied) {
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
            triangles_.push_back(triangleOf(baked, baked.bvh.primitives[slot]));
        });
    }
    const Box all = add(baked, 0, root_, 0, work).extent;
    for (int axis = 0; axis < 3; ++axis) {
        extent_.min[axis] = all.min[axis];
        extent_.max[axis] = all.max[axis];
    }
}

OccluderTree::Boxes OccluderTree::add(const BakedTriangles& baked,
                                      unsigned int node,
                                      Child& child,
                                      unsigned int depth,
                                      ItemCounter& work) {
    depth_ = std::max(depth_, depth);
    const HierarchyNode& here = baked.bvh.nodes[node];
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
    boxesHold_ = boxesHold_ && Holds(here.box, boxes.extent.min, boxes.extent.max);
    return boxes;
}

OccluderTree::Node OccluderTree::nodeAround(const Boxes (&boxes)[2], const Child (&children)[2]) {
    const auto lanes = [&boxes](int axis) {
        return Lanes{boxes[0].reach.min[axis], boxes[1].reach.min[axis], -boxes[0].reach.max[axis],
                     -boxes[1].reach.max[axis]};
    };
    const Lanes z{boxes[0].reach.min[2], boxes[1].reach.min[2], boxes[0].reach.min[2],
                  boxes[1].reach.min[2]};
    return {lanes(0), lanes(1), z, {children[0], children[1]}};
}

/// The margin is rounded up, and again where half of its digits are left out. Nothing reaches
/// nowhere.
OccluderTree::Margin OccluderTree::marginOf(const Boxes& boxes) {
    constexpr float kMore = 1.0F + 0x1p-20F; // than what is lost in the differences
    constexpr std::uint32_t kLowerHalf = 0xffffU;
    constexpr unsigned int kHalf = 16;
    Margin margin{};
    if (boxes.extent.min[0] <= boxes.extent.max[0]) {
        const Lanes beyond =
            kMore * Most(boxes.extent.min - boxes.reach.min, boxes.reach.max - boxes.extent.max);
        for (std::size_t axis = 0; axis < margin.size(); ++axis) {
            const auto bits = std::bit_cast<std::uint32_t>(float{beyond[axis]});
            margin[axis] = static_cast<std::uint16_t>((bits + kLowerHalf) >> kHalf);
        }
    }
    return margin;
}

/// Where its triangles are, and what they can seem to cover. Seen from its centroid, a triangle
/// becomes larger when its side values are off: by as many times as three of them go into twice its
/// area, which they add up to. Its plane comes nearer by what its values are off.
OccluderTree::Boxes OccluderTree::boxesOf(Child leaf) const {
    constexpr float kMore = 1.0F + 0x1p-20F; // than what is lost in floats here
    constexpr auto kSteps = static_cast<float>(kRoundedSteps) * kMore;
    constexpr auto kShare = static_cast<float>(kRoundedShare) * kMore;
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    Boxes boxes{{All(kInfinity), All(-kInfinity)}, {All(kFar), All(-kFar)}};
    const SlotTriangles all = triangles();
    Triangle room;
    for (std::uint32_t slot = leaf.begin; slot < leaf.end; ++slot) {
        const BakedVertex* const p = all.get(slot, room).corners;
        const IntegerLanes a = NumbersOf(p);
        const IntegerLanes b = NumbersOf(p + 1);
        const IntegerLanes c = NumbersOf(p + 2);
        const Lanes size = Most(Most(Lengths(b, a), Lengths(c, b)), Lengths(a, c));
        const std::int64_t twiceArea = CrossXY(Difference(p[1], p[0]), Difference(p[2], p[0]));
        const float perArea = 1.0F / std::max(std::abs(static_cast<float>(twiceArea)), 1.0F);
        // No side is longer, and no face of the box has less area than what it shows of the normal.
        const float longest = size[0] + size[1];
        const float normal = size[0] * size[1] + size[1] * size[2] + size[2] * size[0];
        // The centroid is within the box, so this reaches farther than needed.
        const Lanes reach = All(3.0F * (kSteps + kShare * longest) * perArea) * size;
        const Lanes nearer{0.0F, 0.0F, (kSteps + kShare * normal) * perArea, 0.0F};
        const Box corners{Least(Least(Floats(a), Floats(b)), Floats(c)),
                          Most(Most(Floats(a), Floats(b)), Floats(c))};
        boxes.extend({corners, {corners.min - reach - nearer, corners.max + reach}});
    }
    return boxes;
}

} // namespace ctr
