// Builds the query layout from a baked hierarchy, bottom up.
#include "visibility/OccluderTree.h"

#include "visibility/BakedMesh.h"
#include "visibility/GridArithmetic.h"
#include "visibility/HierarchyNode.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

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

Lanes Lengths(IntegerLanes numbers) {
    const Lanes lengths = Floats(numbers);
    return Most(lengths, -lengths);
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
        per[axis] = p != q ? 1.0F / static_cast<float>(long{q} - long{p}) : kSteep;
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
        return kBins * static_cast<double>(t[0]) / static_cast<double>(t[1]);
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

OccluderTree::Triangle OccluderTree::triangleOf(const BakedTriangles& baked, std::uint32_t number) {
    const unsigned int* corners = baked.triangleIndices.data() + 3 * std::size_t{number};
    return {{baked.vertices[corners[0]], baked.vertices[corners[1]], baked.vertices[corners[2]]},
            number};
}

OccluderTree::OccluderTree(const BakedTriangles& baked, WorkCounter& work) {
    if (!HasTriangles(baked)) {
        return;
    }
    nodes_.reserve(baked.bvh.nodes.size() / 2);
    triangles_.reserve(baked.bvh.primitives.size());
    for (const std::uint32_t number : baked.bvh.primitives) {
        work.count(1);
        triangles_.push_back(triangleOf(baked, number));
    }
    add(baked, 0, root_, 0, work);
}

OccluderTree::Box OccluderTree::add(const BakedTriangles& baked,
                                    unsigned int node,
                                    Child& child,
                                    unsigned int depth,
                                    WorkCounter& work) {
    depth_ = std::max(depth_, depth);
    const HierarchyNode& here = baked.bvh.nodes[node];
    if (IsLeaf(here)) {
        child = {FirstSlot(here), FirstSlot(here) + here.second};
        work.count(here.second);
        return boxOf(child);
    }
    const auto number = static_cast<std::uint32_t>(nodes_.size());
    child = {number, kInner};
    nodes_.emplace_back();
    Child children[2];
    const Box boxes[2] = {add(baked, FirstChild(here), children[0], depth + 1, work),
                          add(baked, SecondChild(here), children[1], depth + 1, work)};
    const auto lanes = [&boxes](int axis) {
        return Lanes{boxes[0].min[axis], boxes[1].min[axis], -boxes[0].max[axis],
                     -boxes[1].max[axis]};
    };
    Node& made = nodes_[number];
    made.x = lanes(0);
    made.y = lanes(1);
    made.z = Lanes{boxes[0].min[2], boxes[1].min[2], boxes[0].min[2], boxes[1].min[2]};
    std::copy_n(children, 2, made.children);
    return {Least(boxes[0].min, boxes[1].min), Most(boxes[0].max, boxes[1].max)};
}

/// What its triangles can seem to cover. Seen from its centroid, a triangle becomes larger when its
/// side values are off: by as many times as three of them go into twice its area, which they add up
/// to. Its plane comes nearer by what its values are off.
OccluderTree::Box OccluderTree::boxOf(Child leaf) const {
    constexpr float kMore = 1.0F + 0x1p-20F; // than what is lost in floats here
    constexpr auto kSteps = static_cast<float>(kRoundedSteps) * kMore;
    constexpr auto kShare = static_cast<float>(kRoundedShare) * kMore;
    Box box{All(kFar), All(-kFar)};
    for (std::uint32_t slot = leaf.begin; slot < leaf.end; ++slot) {
        const BakedVertex* const p = triangles_[slot].corners;
        const IntegerLanes a = NumbersOf(p);
        const IntegerLanes b = NumbersOf(p + 1);
        const IntegerLanes c = NumbersOf(p + 2);
        const Lanes size = Most(Most(Lengths(b - a), Lengths(c - b)), Lengths(a - c));
        const long twiceArea = CrossXY(Difference(p[1], p[0]), Difference(p[2], p[0]));
        const float perArea = 1.0F / std::max(std::abs(static_cast<float>(twiceArea)), 1.0F);
        // No side is longer, and no face of the box has less area than what it shows of the normal.
        const float longest = size[0] + size[1];
        const float normal = size[0] * size[1] + size[1] * size[2] + size[2] * size[0];
        // The centroid is within the box, so this reaches farther than needed.
        const Lanes reach = All(3.0F * (kSteps + kShare * longest) * perArea) * size;
        const Lanes nearer{0.0F, 0.0F, (kSteps + kShare * normal) * perArea, 0.0F};
        box.min = Least(Least(Least(Floats(a), Floats(b)), Floats(c)) - reach - nearer, box.min);
        box.max = Most(Most(Most(Floats(a), Floats(b)), Floats(c)) + reach, box.max);
    }
    return box;
}

} // namespace ctr
