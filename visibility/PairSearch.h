// Finds the pairs of triangles that straddle each other's planes.
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/HierarchyNode.h"
#include "visibility/IntersectionEdge.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace ctr {

/// The hierarchy held against itself: subtrees whose boxes meet are opened, until leaves remain.
/// Every pair is met once.
class PairSearch {
public:
    /// `triangleDone` is called once a triangle, when about its share of the work is done; it
    /// returns false to stop. `goOn` is asked now and then in between.
    PairSearch(const BakedTriangles& baked,
               std::function<bool()> triangleDone,
               std::function<bool()> goOn);

    /// All intersection edges, by the number of the first triangle and then the slot of the second;
    /// what was found so far when stopped.
    std::vector<FoundIntersection> run();

private:
    using Lanes = float __attribute__((vector_size(16)));
    using Integers = std::int32_t __attribute__((vector_size(16)));
    /// The fourth numbers are for comparing all at once: they never tell boxes apart.
    struct Box {
        Integers min;
        Integers max;

        bool isApartFrom(const Box& other) const {
            using Halves = std::int64_t __attribute__((vector_size(16)));
            const auto apart = reinterpret_cast<Halves>((min > other.max) | (other.min > max));
            return (apart[0] | apart[1]) != 0;
        }
    };
    /// The triangle in a slot, ready to be held against many.
    struct Plane {
        Box box;
        GridVector normal;
        BakedVertex origin;
        std::uint32_t slot;

        bool mayCutIn(const Box& other) const;
    };
    struct Corners {
        BakedVertex at[3];
    };

    static Box roundedOut(const kx::kxBBox& box);
    void layOut();
    bool meetSelf(unsigned int node);
    bool meet(unsigned int a, unsigned int b);
    bool meetLeaf(unsigned int leaf, unsigned int node);
    void takeLeaf(const HierarchyNode& leaf);
    bool holdAgainst(unsigned int node, std::size_t first);
    bool testLeaf(const HierarchyNode& leaf, std::size_t first);
    bool finishLeaf(unsigned int leaf);
    bool pollAfter(std::size_t pairs);
    void test(const Plane& plane, std::uint32_t slot);

    const BakedTriangles& baked_;
    std::function<bool()> triangleDone_;
    std::function<bool()> goOn_;
    std::vector<Box> boxes_; ///< One a slot, like the corners.
    std::vector<Corners> corners_;
    std::vector<FoundIntersection> found_;
    std::vector<Plane> planes_;           ///< Of the leaf that is held against others.
    std::vector<std::uint32_t> selected_; ///< Which of them, level by level.
    std::size_t done_ = 0;
    std::size_t pairsSincePoll_ = 0;
};

} // namespace ctr
