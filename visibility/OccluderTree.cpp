// Builds the query layout from a baked hierarchy, bottom up.
#include "visibility/OccluderTree.h"

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

/// Steps by which a rounded value may be off, and what is lost in doubles of a value: see the
/// crossings of cuts.
constexpr double kRoundedSteps = 2.0;
constexpr double kRoundedShare = 0x1p-49;
constexpr double kGridExtent = 0x1p31;

/// How much larger a triangle becomes, seen from its centroid, when every side value may be off by
/// some steps. The three add up to twice the area.
double GrowthOf(const OccluderTree::Triangle& triangle, const GridVector& normal) {
    const auto& p = triangle.corners;
    double longest = 0.0;
    for (int k = 0; k < 3; ++k) {
        const GridVector side = Difference(p[(k + 1) % 3], p[k]);
        longest = std::max(longest, static_cast<double>(std::abs(side[0]) + std::abs(side[1])));
    }
    const double off = kRoundedSteps + longest * kGridExtent * kRoundedShare;
    return 3.0 * off / std::max(std::abs(static_cast<double>(normal[2])), 1.0);
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
    const double off = kRoundedSteps + size * kGridExtent * kRoundedShare;
    return off / std::max(std::abs(static_cast<double>(normal[2])), 1.0);
}

OccluderTree::Triangle OccluderTree::triangleOf(const BakedTriangles& baked, std::uint32_t number) {
    const unsigned int* corners = baked.triangleIndices.data() + 3 * std::size_t{number};
    return {{baked.vertices[corners[0]], baked.vertices[corners[1]], baked.vertices[corners[2]]},
            number};
}

OccluderTree::OccluderTree(const BakedTriangles& baked, Room room) {
    if (baked.bvh.nodes.empty()) {
        return;
    }
    nodes_.reserve(baked.bvh.nodes.size() / 2);
    triangles_.reserve(baked.bvh.primitives.size());
    add(baked, 0, room, root_, 0);
}

OccluderTree::Box OccluderTree::add(
    const BakedTriangles& baked, unsigned int node, Room room, Child& child, unsigned int depth) {
    depth_ = std::max(depth_, depth);
    const HierarchyNode& here = baked.bvh.nodes[node];
    if (IsLeaf(here)) {
        return addLeaf(baked, node, room, child);
    }
    const auto number = static_cast<std::uint32_t>(nodes_.size());
    child = {number, kInner};
    nodes_.emplace_back();
    Child children[2];
    const Box boxes[2] = {add(baked, FirstChild(here), room, children[0], depth + 1),
                          add(baked, SecondChild(here), room, children[1], depth + 1)};
    Box both;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        both.min[axis] = std::min(boxes[0].min[axis], boxes[1].min[axis]);
        both.max[axis] = std::max(boxes[0].max[axis], boxes[1].max[axis]);
    }
    const auto lanes = [&boxes](std::size_t axis) {
        return Lanes{boxes[0].min[axis], boxes[1].min[axis], -boxes[0].max[axis],
                     -boxes[1].max[axis]};
    };
    Node& made = nodes_[number];
    made.x = lanes(0);
    made.y = lanes(1);
    made.z = Lanes{boxes[0].min[2], boxes[1].min[2], boxes[0].min[2], boxes[1].min[2]};
    std::copy_n(children, 2, made.children);
    return both;
}

OccluderTree::Box
OccluderTree::addLeaf(const BakedTriangles& baked, unsigned int node, Room room, Child& child) {
    const HierarchyNode& leaf = baked.bvh.nodes[node];
    Box box{{kFar, kFar, kFar}, {-kFar, -kFar, -kFar}};
    child.begin = static_cast<std::uint32_t>(triangles_.size());
    for (unsigned int slot = FirstSlot(leaf); slot < FirstSlot(leaf) + leaf.second; ++slot) {
        const std::uint32_t number = baked.bvh.primitives[slot];
        const Triangle& triangle = triangles_.emplace_back(triangleOf(baked, number));
        const auto& p = triangle.corners;
        Box own;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::int32_t at[3] = {axis == 0   ? p[0].x
                                        : axis == 1 ? p[0].y
                                                    : p[0].z,
                                        axis == 0   ? p[1].x
                                        : axis == 1 ? p[1].y
                                                    : p[1].z,
                                        axis == 0   ? p[2].x
                                        : axis == 1 ? p[2].y
                                                    : p[2].z};
            own.min[axis] = static_cast<float>(std::min({at[0], at[1], at[2]}));
            own.max[axis] = static_cast<float>(std::max({at[0], at[1], at[2]}));
        }
        if (room == Room::forRoundedCrossings) {
            const GridVector& normal = baked.trianglePlanes[number];
            const auto growth = static_cast<float>(GrowthOf(triangle, normal));
            for (std::size_t axis = 0; axis < 3; ++axis) {
                // The centroid is within the box, so this reaches farther than needed.
                const float reach = growth * (own.max[axis] - own.min[axis]);
                own.min[axis] -= reach;
                own.max[axis] += reach;
            }
            own.min[2] -= static_cast<float>(depthSlackOf(normal));
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            box.min[axis] = std::min(box.min[axis], own.min[axis]);
            box.max[axis] = std::max(box.max[axis], own.max[axis]);
        }
    }
    child.end = static_cast<std::uint32_t>(triangles_.size());
    return box;
}

} // namespace ctr
