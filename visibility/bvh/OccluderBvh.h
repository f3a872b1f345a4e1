// The triangles of a baked scene, laid out for many questions in a row: what may hide this segment?
//
// The hierarchy is the baked one. A node holds the boxes of both its children, which are tested
// together, and the triangles lie in the order of the leaves, so that a query touches memory in a
// line. Boxes only rule out; what remains is for exact arithmetic to decide.
//
// In large scenes that would take as much memory as the scene itself. There nodes and triangles are
// put together from the scene whenever they are looked at, and what is kept is how much farther
// than its box each node reaches.
//
// The boxes are made from the triangles. A caller may have put other boxes into the hierarchy,
// which then cut triangles off from queries: boxesHold() tells when the layout does not stand for
// that.
//
// One layout serves segments and cuts. Its boxes are as large as a triangle can seem to reach when
// a crossing of its sides or its plane is computed from values rounded to integers, as cuts do.
// Segments, of which nothing is rounded, would get along with less: they only open a few boxes
// more.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Work.h"
#include "visibility/bvh/BvhNode.h"
#include "visibility/bvh/Float4.h"
#include "visibility/bvh/SlotTriangles.h"
#include "visibility/exact/GridArithmetic.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace ctr {

/// Tells triangles that lie beside a box of grid points, or at or beyond a depth, in a few
/// comparisons at once.
class TriangleSieve {
public:
    /// A triangle is beside when all its corners are below `min` or above `max` on one axis.
    TriangleSieve(const BakedVertex& min, const BakedVertex& max)
        : min_{min.x, min.y, min.z, kLeast}, max_{max.x, max.y, max.z, kMost} {}

    /// Three corners with one number after them.
    bool isBeside(const BakedVertex* corners) const {
        const IntegerLanes p = NumbersOf(corners);
        const IntegerLanes q = NumbersOf(corners + 1);
        const IntegerLanes r = NumbersOf(corners + 2);
        return BitsOf(((p > max_) & (q > max_) & (r > max_)) |
                      ((p < min_) & (q < min_) & (r < min_))) != 0;
    }

    /// Whether a box of grid points, which floats hold as well as they can, reaches the sieve's on
    /// screen.
    bool meets(const kx::kxBBox& box) const {
        return !(
            box.min[0] > static_cast<float>(max_[0]) || static_cast<float>(min_[0]) > box.max[0] ||
            box.min[1] > static_cast<float>(max_[1]) || static_cast<float>(min_[1]) > box.max[1]);
    }

    static constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
    static constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

private:
    IntegerLanes min_;
    IntegerLanes max_;
};

/// A segment as the boxes of a tree are tested against it: where it is within the screen rectangle
/// of a box and not in front of all of it (the slab method of T. L. Kay and J. T. Kajiya, Ray
/// tracing complex scenes, SIGGRAPH 1986, with boxes open towards the far side).
///
/// Boxes count as larger by a margin of at least three steps and the rounding of the floats, so a
/// part of the segment that a box contains is never missed.
class SegmentProbe {
public:
    SegmentProbe(const BakedVertex& a, const BakedVertex& b);

    /// Where in [0, 1] the segment may be hidden by something in either child's box: from
    /// enter[k] to leave[k], nowhere when that is reversed.
    struct Reach {
        Lanes enter;
        Lanes leave;
    };

    Reach reach(Lanes x, Lanes y, Lanes z) const {
        Reach result{{0.0F, 0.0F, 0.0F, 0.0F}, {1.0F, 1.0F, 1.0F, 1.0F}};
        narrow(result, (x - originX_) * perX_);
        narrow(result, (y - originY_) * perY_);
        const Lanes depth = (z - originZ_) * perZ_;
        if (goesBack_) {
            result.enter = Most(depth, result.enter);
        } else {
            result.leave = Least(depth, result.leave);
        }
        return result;
    }

private:
    static void narrow(Reach& reach, Lanes at) {
        const Lanes other = {at[2], at[3], at[0], at[1]};
        reach.enter = Most(Least(at, other), reach.enter);
        reach.leave = Least(Most(at, other), reach.leave);
    }

    Lanes originX_;
    Lanes originY_;
    Lanes originZ_;
    Lanes perX_;
    Lanes perY_;
    Lanes perZ_;
    bool goesBack_;
};

/// Which 64ths of a segment are known to be hidden.
class Coverage {
public:
    /// Of either child that the segment reaches, none of the other.
    static std::array<std::uint64_t, 2> between(const SegmentProbe::Reach& reach) {
        const IntegerLanes first = binOf(reach.enter);
        const IntegerLanes last = binOf(reach.leave);
        const IntegerLanes reached = reach.enter <= reach.leave;
        const auto bins = [&](int k) {
            return reached[k] == 0
                       ? std::uint64_t{0}
                       : (~std::uint64_t{0} >> (kBins - 1 - (last[k] - first[k]))) << first[k];
        };
        return {bins(0), bins(1)};
    }

    bool covers(std::uint64_t bins) const { return (bins & ~bins_) == 0; }
    void clear() { bins_ = 0; }
    /// Adds the parts that lie strictly within a hidden range.
    void add(const RationalInterval& range);

private:
    static constexpr int kBins = 64;

    static IntegerLanes binOf(Lanes at) {
        const Lanes bins = Most(Least(at * kBins, All(kBins - 1)), All(0.0F));
        return __builtin_convertvector(bins, IntegerLanes);
    }

    std::uint64_t bins_ = 0;
};

class OccluderTree {
public:
    using Triangle = SlotTriangle;
    /// Of how many triangles copies are made: these and the nodes take 62 bytes per triangle, up to
    /// 260 MB. Without them, finding lines takes up to a fifth longer.
    static constexpr std::size_t kMostCopied = std::size_t{1} << 22;

    /// What is not copied is borrowed.
    OccluderTree(const BakedTriangles& baked,
                 WorkCounter& work,
                 std::size_t mostCopied = kMostCopied);

    /// How much depth may seem to change when plane values are rounded to integers, in steps.
    static double depthSlackOf(const GridVector& normal);

    static Triangle triangleOf(const BakedTriangles& baked, std::uint32_t number) {
        return TriangleOf(baked, number);
    }

    /// None without nodes.
    SlotTriangles triangles() const {
        return scene_ != nullptr ? SlotTriangles(*scene_) : SlotTriangles(triangles_);
    }

    /// Whether every box of the hierarchy holds what is below it, so that walks of the hierarchy
    /// leave out nothing that matters.
    bool boxesHold() const { return boxesHold_; }

    /// The grid box of all triangles; the empty box without nodes.
    const kx::kxBBox& extent() const { return extent_; }

    /// Calls visit(triangle, slot) for triangles that may hide some of the segment, those nearer to
    /// the eye first, until it returns true. Leaves out leaves before parts that `coverage` knows
    /// to be hidden; it may grow meanwhile.
    template <class Visit>
    void walk(const SegmentProbe& probe, const Coverage& coverage, Visit visit) const;

private:
    struct Box {
        Lanes min; ///< Three of them.
        Lanes max;

        void extend(const Box& other) {
            min = Least(other.min, min);
            max = Most(other.max, max);
        }
    };
    /// Of the triangles below a node: where they are, and where they can seem to be.
    struct Boxes {
        Box extent;
        Box reach;

        void extend(const Boxes& other) {
            extent.extend(other.extent);
            reach.extend(other.reach);
        }
    };
    /// A node, or the first slot of a leaf and the slot after its last. Where nodes are put
    /// together, one is named by both its children in the scene.
    struct Child {
        std::uint32_t begin;
        std::uint32_t end;
        bool isLeaf() const { return (end & kInner) == 0; }
    };
    static constexpr std::uint32_t kInner = 0x80000000U;

    /// 64 bytes, a line of a usual cache.
    struct alignas(64) Node {
        Lanes x; ///< The lower bounds of both children, then their upper bounds negated.
        Lanes y;
        Lanes z; ///< The lower bounds of both children, twice.
        Child children[2];
    };

    /// By how much a box is larger than that of the triangles, axis by axis: the upper halves of
    /// floats.
    using Margin = std::array<std::uint16_t, 3>;

    Boxes add(const BakedTriangles& baked,
              unsigned int node,
              Child& child,
              unsigned int depth,
              WorkCounter& work);
    Boxes boxesOf(Child leaf) const;
    static Node nodeAround(const Boxes (&boxes)[2], const Child (&children)[2]);
    static Margin marginOf(const Boxes& boxes);
    static Child childOf(const HierarchyNode& node) {
        return IsLeaf(node) ? Child{FirstSlot(node), FirstSlot(node) + node.second}
                            : Child{FirstChild(node), kInner | SecondChild(node)};
    }
    Node putTogether(Child parent) const;
    template <class NodeOf, class Leaf>
    void
    walkLeaves(const SegmentProbe& probe, const Coverage& coverage, NodeOf nodeOf, Leaf leaf) const;

    std::vector<Node> nodes_;
    std::vector<Triangle> triangles_;
    const BakedTriangles* scene_ = nullptr; ///< Of which nodes and triangles are put together.
    std::vector<Margin> margins_;           ///< Of its nodes.
    Child root_{};
    unsigned int depth_ = 0;
    kx::kxBBox extent_;
    bool boxesHold_ = true;
};

inline OccluderTree::Node OccluderTree::putTogether(Child parent) const {
    const std::uint32_t numbers[2] = {parent.begin, parent.end & ~kInner};
    const HierarchyNode& a = scene_->bvh.nodes[numbers[0]];
    const HierarchyNode& b = scene_->bvh.nodes[numbers[1]];
    const auto margin = [&](int child, std::size_t axis) {
        constexpr unsigned int kHalf = 16;
        return std::bit_cast<float>(std::uint32_t{margins_[numbers[child]][axis]} << kHalf);
    };
    const auto margins = [&](std::size_t axis) {
        return Lanes{margin(0, axis), margin(1, axis), margin(0, axis), margin(1, axis)};
    };
    const auto bounds = [&](std::size_t axis) {
        return Lanes{a.box.min[axis], b.box.min[axis], -a.box.max[axis], -b.box.max[axis]};
    };
    const Lanes front{a.box.min[2], b.box.min[2], a.box.min[2], b.box.min[2]};
    return {bounds(0) - margins(0),
            bounds(1) - margins(1),
            front - margins(2),
            {childOf(a), childOf(b)}};
}

template <class Visit>
void OccluderTree::walk(const SegmentProbe& probe, const Coverage& coverage, Visit visit) const {
    const auto visitLeaf = [&visit](std::uint32_t slot, std::uint32_t end, auto triangleAt) {
        while (slot != end && !visit(triangleAt(slot), slot)) {
            ++slot;
        }
        return slot != end;
    };
    if (scene_ == nullptr) {
        const auto nodeOf = [this](Child parent) -> const Node& { return nodes_[parent.begin]; };
        const auto triangleAt = [this](std::uint32_t slot) -> const Triangle& {
            return triangles_[slot];
        };
        walkLeaves(probe, coverage, nodeOf, [&](std::uint32_t slot, std::uint32_t end) {
            return visitLeaf(slot, end, triangleAt);
        });
    } else {
        const auto nodeOf = [this](Child parent) { return putTogether(parent); };
        const SlotTriangles gathered(*scene_);
        const auto triangleAt = [&gathered](std::uint32_t slot) { return gathered[slot]; };
        walkLeaves(probe, coverage, nodeOf, [&](std::uint32_t slot, std::uint32_t end) {
            return visitLeaf(slot, end, triangleAt);
        });
    }
}

template <class NodeOf, class Leaf>
void OccluderTree::walkLeaves(const SegmentProbe& probe,
                              const Coverage& coverage,
                              NodeOf nodeOf,
                              Leaf leaf) const {
    struct Pending {
        Child child;
        std::uint64_t bins;
    };
    constexpr unsigned int kUsualDepth = 96;
    std::array<Pending, kUsualDepth> usual;
    std::vector<Pending> deep(depth_ < kUsualDepth ? 0 : depth_ + 1);
    Pending* const bottom = deep.empty() ? usual.data() : deep.data();
    Pending* top = bottom;
    Child here = root_;
    for (;;) {
        while (!here.isLeaf()) {
            const Node& node = nodeOf(here);
            const auto bins = Coverage::between(probe.reach(node.x, node.y, node.z));
            const bool visit[2] = {!coverage.covers(bins[0]), !coverage.covers(bins[1])};
            if (visit[0] && visit[1]) {
                const std::size_t near = node.z[1] < node.z[0] ? 1 : 0;
                *top++ = {node.children[1 - near], bins[1 - near]};
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
        } while (coverage.covers(top->bins));
        here = top->child;
    }
}

} // namespace ctr
