// The triangles of a baked scene in a bounding volume hierarchy (BVH) packed for occlusion queries.
// A query visits the triangles that can occlude a given segment.
//
// The hierarchy is the baked one. A node holds the boxes of both its children, which are tested
// together (SegmentSlabClipper), and triangles are stored in leaf order, so a query reads memory
// mostly in sequence. Children are visited front to back; subtrees whose part of the segment is
// known to be occluded are skipped (SegmentCoverage). Boxes only reject; exact arithmetic decides
// about the triangles that remain. Building takes O(n) time, a query O(log n) plus the number of
// triangles visited where few boxes overlap.
//
// In large scenes the packed copy would take as much memory as the scene itself. There, nodes and
// triangles are assembled from the scene on each access, and only the margins of the boxes are
// stored.
//
// Boxes are computed from the triangles. A caller may have put other boxes into the baked
// hierarchy, which then exclude triangles from queries; boxesAreConservative() is false where this
// layout is not equivalent to the hierarchy.
//
// One layout serves segments and intersection edges. Boxes are enlarged by the error bound of
// occluded intervals whose ends are computed from values rounded to integers, as those of
// intersection edges are. Segments, of which nothing is rounded, open a few more boxes than they
// would have to.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Progress.h"
#include "visibility/Statistics.h"
#include "visibility/Tuning.h"
#include "visibility/baking/BvhNode.h"
#include "visibility/bvh/Float4.h"
#include "visibility/bvh/SegmentCoverage.h"
#include "visibility/bvh/SegmentSlabClipper.h"
#include "visibility/bvh/SlotTriangles.h"
#include "visibility/exact/GridArithmetic.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

class OccluderBvh {
public:
    /// The scene is borrowed where it is not copied.
    OccluderBvh(const BakedTriangles& baked,
                ItemCounter& work,
                std::size_t mostCopied = Tuning::kMostCopied);

    /// The error bound, in grid steps, of a depth on a plane whose values are rounded to integers.
    static double depthErrorBound(const GridVector& normal);

    /// In leaf order; none without nodes.
    SlotTriangles triangles() const {
        return scene_ != nullptr ? SlotTriangles(*scene_) : SlotTriangles(triangles_);
    }

    /// Whether every box of the baked hierarchy contains the triangles below it, so that a
    /// traversal of the hierarchy misses none that matters.
    bool boxesAreConservative() const { return boxesAreConservative_; }

    /// The grid box of all triangles; the empty box without nodes.
    const kx::kxBBox& extent() const { return extent_; }

    /// Calls visit(triangle, slot) for triangles that may occlude some of the segment, nearer boxes
    /// first, until it returns true. Skips subtrees that only reach covered parts of the segment;
    /// `coverage` may grow meanwhile.
    template <class Visit>
    void
    traverse(const SegmentSlabClipper& clipper, const SegmentCoverage& coverage, Visit visit) const;

private:
    struct Box {
        Float4 min; ///< Three of them.
        Float4 max;

        void extend(const Box& other) {
            min = Min(other.min, min);
            max = Max(other.max, max);
        }
    };
    /// The box of the triangles below a node, and the box enlarged by the error bound.
    struct Boxes {
        Box extent;
        Box enlarged;

        void extend(const Boxes& other) {
            extent.extend(other.extent);
            enlarged.extend(other.enlarged);
        }
    };
    /// The number of an inner node in `begin`; or the first slot of a leaf and the slot after its
    /// last. Where nodes are assembled from the scene, an inner node is the pair of its children.
    struct Child {
        std::uint32_t begin;
        std::uint32_t end;
        bool isLeaf() const { return (end & kInner) == 0; }
    };
    static constexpr std::uint32_t kInner = 0x80000000U;

    /// 64 bytes: one cache line on common processors.
    struct alignas(64) Node {
        Float4 x; ///< The lower bounds of both children, then their upper bounds negated.
        Float4 y;
        Float4 z; ///< The lower bounds of both children, twice.
        Child children[2];
    };

    /// The difference of the enlarged box and the box of the triangles per axis: the upper halves
    /// of floats.
    using Margin = std::array<std::uint16_t, 3>;

    Boxes add(const BakedTriangles& baked,
              unsigned int node,
              Child& child,
              unsigned int depth,
              ItemCounter& work);
    Boxes boxesOf(Child leaf) const;
    static Node nodeAround(const Boxes (&boxes)[2], const Child (&children)[2]);
    static Margin marginOf(const Boxes& boxes);
    static Child childOf(const BvhNode& node) {
        return IsLeaf(node) ? Child{FirstSlot(node), FirstSlot(node) + node.second}
                            : Child{FirstChild(node), kInner | SecondChild(node)};
    }
    Node assembleNode(Child parent) const;
    template <class NodeOf, class Leaf>
    void traverseLeaves(const SegmentSlabClipper& clipper,
                        const SegmentCoverage& coverage,
                        NodeOf nodeOf,
                        Leaf leaf) const;

    std::vector<Node> nodes_;
    std::vector<SlotTriangle> triangles_;
    const BakedTriangles* scene_ = nullptr; ///< Null where it is copied.
    std::vector<Margin> margins_;           ///< One per node of the scene.
    Child root_{};
    unsigned int depth_ = 0;
    kx::kxBBox extent_;
    bool boxesAreConservative_ = true;
};

inline OccluderBvh::Node OccluderBvh::assembleNode(Child parent) const {
    const std::uint32_t numbers[2] = {parent.begin, parent.end & ~kInner};
    const BvhNode& a = scene_->bvh.nodes[numbers[0]];
    const BvhNode& b = scene_->bvh.nodes[numbers[1]];
    const auto margin = [&](int child, std::size_t axis) {
        constexpr unsigned int kHalf = 16;
        return std::bit_cast<float>(std::uint32_t{margins_[numbers[child]][axis]} << kHalf);
    };
    const auto margins = [&](std::size_t axis) {
        return Float4{margin(0, axis), margin(1, axis), margin(0, axis), margin(1, axis)};
    };
    const auto bounds = [&](std::size_t axis) {
        return Float4{a.box.min[axis], b.box.min[axis], -a.box.max[axis], -b.box.max[axis]};
    };
    const Float4 front{a.box.min[2], b.box.min[2], a.box.min[2], b.box.min[2]};
    return {bounds(0) - margins(0),
            bounds(1) - margins(1),
            front - margins(2),
            {childOf(a), childOf(b)}};
}

template <class Visit>
void OccluderBvh::traverse(const SegmentSlabClipper& clipper,
                           const SegmentCoverage& coverage,
                           Visit visit) const {
    const auto visitLeaf = [&visit](std::uint32_t slot, std::uint32_t end, auto triangleAt) {
        while (slot != end && !visit(triangleAt(slot), slot)) {
            ++slot;
        }
        return slot != end;
    };
    if (scene_ == nullptr) {
        const auto nodeOf = [this](Child parent) -> const Node& { return nodes_[parent.begin]; };
        const auto triangleAt = [this](std::uint32_t slot) -> const SlotTriangle& {
            return triangles_[slot];
        };
        traverseLeaves(clipper, coverage, nodeOf, [&](std::uint32_t slot, std::uint32_t end) {
            return visitLeaf(slot, end, triangleAt);
        });
    } else {
        const auto nodeOf = [this](Child parent) { return assembleNode(parent); };
        const SlotTriangles gathered(*scene_);
        const auto triangleAt = [&gathered](std::uint32_t slot) { return gathered[slot]; };
        traverseLeaves(clipper, coverage, nodeOf, [&](std::uint32_t slot, std::uint32_t end) {
            return visitLeaf(slot, end, triangleAt);
        });
    }
}

template <class NodeOf, class Leaf>
void OccluderBvh::traverseLeaves(const SegmentSlabClipper& clipper,
                                 const SegmentCoverage& coverage,
                                 NodeOf nodeOf,
                                 Leaf leaf) const {
    struct Pending {
        Child child;
        std::uint64_t bits;
    };
    std::array<Pending, Tuning::kInlineDepth> inlineStack;
    std::vector<Pending> deepStack(depth_ < Tuning::kInlineDepth ? 0 : depth_ + 1);
    Pending* const bottom = deepStack.empty() ? inlineStack.data() : deepStack.data();
    Pending* top = bottom;
    Child here = root_;
    Count(Counter::bvhSearches);
    for (;;) {
        while (!here.isLeaf()) {
            const Node& node = nodeOf(here);
            Count(Counter::bvhNodes);
            const auto bits = SegmentCoverage::bitsIn(clipper.clip(node.x, node.y, node.z));
            const bool visit[2] = {!coverage.covers(bits[0]), !coverage.covers(bits[1])};
            Count(Counter::bvhSubtreesCovered,
                  (bits[0] != 0 && !visit[0] ? 1 : 0) + (bits[1] != 0 && !visit[1] ? 1 : 0));
            if (visit[0] && visit[1]) {
                const std::size_t near = node.z[1] < node.z[0] ? 1 : 0;
                *top++ = {node.children[1 - near], bits[1 - near]};
                here = node.children[near];
            } else if (visit[0] || visit[1]) {
                here = node.children[visit[0] ? 0 : 1];
            } else {
                here = Child{};
            }
        }
        if (here.begin != here.end && leaf(here.begin, here.end)) {
            return;
        }
        do {
            if (top == bottom) {
                return;
            }
            --top;
        } while (coverage.covers(top->bits));
        here = top->child;
    }
}

} // namespace ctr
