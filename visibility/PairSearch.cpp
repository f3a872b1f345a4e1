// The tree against itself, and the quick part of the test of a pair.
#include "visibility/PairSearch.h"

#include "visibility/PiercingTest.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <utility>

namespace ctr {
namespace {

bool Overlap(const kx::kxBBox& a, const kx::kxBBox& b) {
    return a.min[0] <= b.max[0] && b.min[0] <= a.max[0] && a.min[1] <= b.max[1] &&
           b.min[1] <= a.max[1] && a.min[2] <= b.max[2] && b.min[2] <= a.max[2];
}

float Extent(const kx::kxBBox& box) {
    return (box.max[0] - box.min[0]) + (box.max[1] - box.min[1]) + (box.max[2] - box.min[2]);
}

GridVector NormalOf(const BakedVertex* p) {
    return Cross(Difference(p[2], p[0]), Difference(p[1], p[0]));
}

} // namespace

PairSearch::PairSearch(const BakedTriangles& baked,
                       std::function<bool()> triangleDone,
                       std::function<bool()> goOn)
    : baked_(baked), triangleDone_(std::move(triangleDone)), goOn_(std::move(goOn)) {}

std::vector<FoundIntersection> PairSearch::run() {
    bool whole = true;
    if (!baked_.bvh.nodes.empty()) {
        layOut();
        whole = meetSelf(0);
    }
    // What no leaf holds is met by nothing.
    while (whole && done_ < baked_.trianglePlanes.size()) {
        whole = triangleDone_();
        ++done_;
    }
    std::sort(found_.begin(), found_.end(), [](const auto& x, const auto& y) {
        return std::tie(x.first, x.secondSlot) < std::tie(y.first, y.secondSlot);
    });
    return std::move(found_);
}

void PairSearch::layOut() {
    const std::vector<unsigned int>& numbers = baked_.bvh.primitives;
    boxes_.resize(numbers.size());
    corners_.resize(numbers.size());
    for (std::size_t slot = 0; slot < numbers.size(); ++slot) {
        const unsigned int* corners =
            baked_.triangleIndices.data() + 3 * std::size_t{numbers[slot]};
        const BakedVertex& p = corners_[slot].at[0] = baked_.vertices[corners[0]];
        const BakedVertex& q = corners_[slot].at[1] = baked_.vertices[corners[1]];
        const BakedVertex& r = corners_[slot].at[2] = baked_.vertices[corners[2]];
        boxes_[slot].min = Integers{std::min({p.x, q.x, r.x}), std::min({p.y, q.y, r.y}),
                                    std::min({p.z, q.z, r.z}), 0};
        boxes_[slot].max = Integers{std::max({p.x, q.x, r.x}), std::max({p.y, q.y, r.y}),
                                    std::max({p.z, q.z, r.z}), 0};
    }
}

/// Covers the box, also where floats have rounded what it covers.
PairSearch::Box PairSearch::roundedOut(const kx::kxBBox& box) {
    constexpr float kShare = 0x1p-22F;
    constexpr Lanes kFar{2.0e9F, 2.0e9F, 2.0e9F, 0.0F};
    const auto within = [](Lanes value) {
        value = value < -kFar ? -kFar : value;
        return __builtin_convertvector(value < kFar ? value : kFar, Integers);
    };
    const Lanes low{box.min[0], box.min[1], box.min[2], 0.0F};
    const Lanes high{box.max[0], box.max[1], box.max[2], 0.0F};
    return {within(low - (low < 0.0F ? -low : low) * kShare),
            within(high + (high < 0.0F ? -high : high) * kShare)};
}

bool PairSearch::meetSelf(unsigned int node) {
    const HierarchyNode& here = baked_.bvh.nodes[node];
    if (IsLeaf(here)) {
        return finishLeaf(node);
    }
    const unsigned int first = FirstChild(here);
    const unsigned int second = SecondChild(here);
    return meet(first, second) && meetSelf(first) && meetSelf(second);
}

bool PairSearch::finishLeaf(unsigned int leaf) {
    takeLeaf(baked_.bvh.nodes[leaf]);
    for (const Plane& plane : planes_) {
        if (!triangleDone_()) {
            return false;
        }
        ++done_;
        for (std::uint32_t other = plane.slot + 1; other <= planes_.back().slot; ++other) {
            if (!plane.box.isApartFrom(boxes_[other])) {
                test(plane, other);
            }
        }
    }
    return true;
}

bool PairSearch::meet(unsigned int a, unsigned int b) {
    const HierarchyNode& nodeA = baked_.bvh.nodes[a];
    const HierarchyNode& nodeB = baked_.bvh.nodes[b];
    if (!Overlap(nodeA.box, nodeB.box)) {
        return true;
    }
    if (IsLeaf(nodeA)) {
        return meetLeaf(a, b);
    }
    if (IsLeaf(nodeB)) {
        return meetLeaf(b, a);
    }
    if (Extent(nodeA.box) > Extent(nodeB.box)) {
        return meet(FirstChild(nodeA), b) && meet(SecondChild(nodeA), b);
    }
    return meet(a, FirstChild(nodeB)) && meet(a, SecondChild(nodeB));
}

bool PairSearch::meetLeaf(unsigned int leaf, unsigned int node) {
    takeLeaf(baked_.bvh.nodes[leaf]);
    selected_.resize(planes_.size());
    std::iota(selected_.begin(), selected_.end(), 0U);
    return holdAgainst(node, 0);
}

void PairSearch::takeLeaf(const HierarchyNode& leaf) {
    planes_.clear();
    for (std::uint32_t slot = FirstSlot(leaf); slot < FirstSlot(leaf) + leaf.second; ++slot) {
        planes_.push_back({boxes_[slot], NormalOf(corners_[slot].at), corners_[slot].at[0], slot});
    }
}

/// Holds the selected triangles from `first` on against what is below a node.
bool PairSearch::holdAgainst(unsigned int node, std::size_t first) {
    const HierarchyNode& here = baked_.bvh.nodes[node];
    const Box box = roundedOut(here.box);
    const std::size_t end = selected_.size();
    for (std::size_t i = first; i < end; ++i) {
        if (planes_[selected_[i]].mayCutIn(box)) {
            selected_.push_back(selected_[i]);
        }
    }
    bool goesOn = true;
    if (selected_.size() > end) {
        goesOn = IsLeaf(here)
                     ? testLeaf(here, end)
                     : holdAgainst(FirstChild(here), end) && holdAgainst(SecondChild(here), end);
    }
    selected_.resize(end);
    return goesOn;
}

bool PairSearch::testLeaf(const HierarchyNode& leaf, std::size_t first) {
    for (std::uint32_t slot = FirstSlot(leaf); slot < FirstSlot(leaf) + leaf.second; ++slot) {
        for (std::size_t i = first; i < selected_.size(); ++i) {
            const Plane& plane = planes_[selected_[i]];
            if (!plane.box.isApartFrom(boxes_[slot])) {
                test(plane, slot);
            }
        }
    }
    return pollAfter((selected_.size() - first) * leaf.second);
}

/// Whether the box meets the triangle's and has some of itself strictly on either side of the
/// plane. What lies in a box that a plane does not cut cannot straddle that plane.
bool PairSearch::Plane::mayCutIn(const Box& other) const {
    if (box.isApartFrom(other)) {
        return false;
    }
    const std::int32_t from[3] = {origin.x, origin.y, origin.z};
    long smallest = 0;
    long largest = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const long low = WrapMultiply(normal[axis], long{other.min[axis]} - from[axis]);
        const long high = WrapMultiply(normal[axis], long{other.max[axis]} - from[axis]);
        smallest = WrapAdd(smallest, std::min(low, high));
        largest = WrapAdd(largest, std::max(low, high));
    }
    return smallest < 0 && largest > 0;
}

bool PairSearch::pollAfter(std::size_t pairs) {
    constexpr std::size_t kPairsPerPoll = 1 << 16;
    pairsSincePoll_ += pairs;
    if (pairsSincePoll_ < kPairsPerPoll) {
        return true;
    }
    pairsSincePoll_ = 0;
    return goOn_();
}

void PairSearch::test(const Plane& plane, std::uint32_t slot) {
    const BakedVertex* const a = corners_[plane.slot].at;
    const BakedVertex* const b = corners_[slot].at;
    const PlaneValues valuesB(b, plane.origin, plane.normal);
    if (!valuesB.straddle()) {
        return;
    }
    const GridVector normalB = NormalOf(b);
    const PlaneValues valuesA(a, b[0], normalB);
    if (!valuesA.straddle()) {
        return;
    }
    const std::uint32_t numberA = baked_.bvh.primitives[plane.slot];
    const std::uint32_t numberB = baked_.bvh.primitives[slot];
    const bool inOrder = numberA < numberB;
    const CutTriangle dataA{a, plane.normal, valuesA};
    const CutTriangle dataB{b, normalB, valuesB};
    if (const auto found = inOrder ? FindPiercing(dataA, dataB) : FindPiercing(dataB, dataA)) {
        found_.push_back({std::min(numberA, numberB),
                          inOrder ? slot : plane.slot,
                          {found->ends[0], found->ends[1]},
                          found->grazing});
    }
}

} // namespace ctr
