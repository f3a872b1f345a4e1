// The tree against itself, and the quick part of the test of a pair.
#include "visibility/PairSearch.h"

#include "visibility/HierarchyNode.h"
#include "visibility/PiercingTest.h"

#include <algorithm>
#include <cmath>
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
        return std::pair(x.first, x.secondSlot) < std::pair(y.first, y.secondSlot);
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
    constexpr float kFar = 1.0e9F;
    const auto low = [&](int axis) {
        const float value = box.min[axis];
        return static_cast<std::int32_t>(std::clamp(value - std::abs(value) * kShare, -kFar, kFar));
    };
    const auto high = [&](int axis) {
        const float value = box.max[axis];
        return static_cast<std::int32_t>(std::clamp(value + std::abs(value) * kShare, -kFar, kFar));
    };
    return {Integers{low(0), low(1), low(2), 0}, Integers{high(0), high(1), high(2), 0}};
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
    const std::uint32_t begin = FirstSlot(baked_.bvh.nodes[leaf]);
    const std::uint32_t end = begin + baked_.bvh.nodes[leaf].second;
    for (std::uint32_t slot = begin; slot < end; ++slot) {
        if (!triangleDone_()) {
            return false;
        }
        ++done_;
        holdAgainst(slot, slot + 1, end);
    }
    return true;
}

bool PairSearch::meet(unsigned int a, unsigned int b) {
    const HierarchyNode& nodeA = baked_.bvh.nodes[a];
    const HierarchyNode& nodeB = baked_.bvh.nodes[b];
    if (!Overlap(nodeA.box, nodeB.box)) {
        return true;
    }
    if (IsLeaf(nodeA) && IsLeaf(nodeB)) {
        return meetLeaves(a, b);
    }
    if (IsLeaf(nodeB) || (!IsLeaf(nodeA) && Extent(nodeA.box) > Extent(nodeB.box))) {
        return meet(FirstChild(nodeA), b) && meet(SecondChild(nodeA), b);
    }
    return meet(a, FirstChild(nodeB)) && meet(a, SecondChild(nodeB));
}

bool PairSearch::meetLeaves(unsigned int a, unsigned int b) {
    const HierarchyNode& nodeA = baked_.bvh.nodes[a];
    const HierarchyNode& nodeB = baked_.bvh.nodes[b];
    const Box boxB = roundedOut(nodeB.box);
    for (std::uint32_t slot = FirstSlot(nodeA); slot < FirstSlot(nodeA) + nodeA.second; ++slot) {
        if (!boxes_[slot].isApartFrom(boxB)) {
            holdAgainst(slot, FirstSlot(nodeB), FirstSlot(nodeB) + nodeB.second);
        }
    }
    return pollAfter(std::size_t{nodeA.second} * nodeB.second);
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

void PairSearch::holdAgainst(std::uint32_t slot, std::uint32_t begin, std::uint32_t end) {
    const Box box = boxes_[slot];
    const GridVector normal = NormalOf(corners_[slot].at);
    for (std::uint32_t other = begin; other < end; ++other) {
        if (!box.isApartFrom(boxes_[other])) {
            test(slot, normal, other);
        }
    }
}

void PairSearch::test(std::uint32_t slotA, const GridVector& normalA, std::uint32_t slotB) {
    const BakedVertex* const a = corners_[slotA].at;
    const BakedVertex* const b = corners_[slotB].at;
    const PlaneValues valuesB(b, a[0], normalA);
    if (!valuesB.straddle()) {
        return;
    }
    const GridVector normalB = NormalOf(b);
    const PlaneValues valuesA(a, b[0], normalB);
    if (!valuesA.straddle()) {
        return;
    }
    const std::uint32_t numberA = baked_.bvh.primitives[slotA];
    const std::uint32_t numberB = baked_.bvh.primitives[slotB];
    const bool inOrder = numberA < numberB;
    const CutTriangle dataA{a, normalA, valuesA};
    const CutTriangle dataB{b, normalB, valuesB};
    if (const auto edge =
            inOrder ? FindIntersection(dataA, dataB) : FindIntersection(dataB, dataA)) {
        found_.push_back({std::min(numberA, numberB), inOrder ? slotB : slotA, *edge});
    }
}

} // namespace ctr
