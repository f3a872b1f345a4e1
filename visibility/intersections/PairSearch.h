// Finds all pairs of triangles that intersect.
//
// The BVH is traversed against itself: pairs of subtrees whose boxes overlap are opened until one
// is a leaf, whose triangles are tested in packets of four against the subtree of the other
// (TrianglePacket). Every pair is visited once; those not rejected are decided exactly
// (PairIntersector). About O((n + k) log n) for n triangles and k overlapping pairs.
//
// Boxes separate little where many triangles overlap in space. A search that visits far more pairs
// than its triangles and edges explain is replaced by DensePairs; one that finds far more edges
// than triangles restarts with PotentiallyVisiblePairs in dense regions where hidden edges may be
// omitted.
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/Tuning.h"
#include "visibility/baking/BvhNode.h"
#include "visibility/bvh/SlotTriangles.h"
#include "visibility/exact/ContactTolerance.h"
#include "visibility/exact/CornerBoxes.h"
#include "visibility/intersections/IntersectionEdge.h"
#include "visibility/intersections/PairIntersection.h"
#include "visibility/intersections/TrianglePacket.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace ctr {

class PairSearch {
public:
    /// The triangles, slot by slot, are borrowed. `triangleDone` is called once per triangle, after
    /// about its share of the work, with the number of edges found so far.
    PairSearch(const BakedTriangles& baked,
               const SlotTriangles& triangles,
               std::function<void(std::size_t)> triangleDone,
               ItemCounter& work,
               const PairSearchLimits& limits = {});

    /// Excludes pairs of two marked triangles, slot by slot. Equal triangles are marked alike.
    void excludePairs(std::vector<bool> marked);

    /// Allows the search to omit edges that are fully occluded by triangles of the BVH.
    void allowOmittingHidden() { needsHidden_ = false; }

    /// All intersection edges, sorted by the number of the first triangle and then the slot of the
    /// second. Some edges of triangles in contact are omitted where there are many, and hidden
    /// edges where that is allowed.
    std::vector<FoundIntersection> run();

    /// The number of tests of triangles, or sets of them, against each other in run().
    std::size_t visits() const { return visits_ + visiblePairVisits_; }
    /// Whether run() has replaced the traversal by DensePairs.
    bool usedDenseSearch() const { return usedDenseSearch_; }

private:
    using Triangle = SlotTriangle;

    bool markSubtree(unsigned int node);
    void traverseAll();
    bool shouldStop();
    bool restartsWithoutHidden();
    void boundCorners(unsigned int node);
    bool areInContact(unsigned int a, unsigned int b);
    FloatPlane<float> floatPlaneOf(const BakedVertex& origin, const GridVector& normal) const;
    void traverseSelf(unsigned int node);
    void traversePair(unsigned int a, unsigned int b);
    void traverseLeaf(unsigned int leaf, unsigned int node);
    void loadPacket(std::uint32_t firstSlot, std::uint32_t endSlot);
    void fill(TrianglePacket& packet, std::uint32_t endSlot) const;
    void testAgainst(unsigned int node, LaneMask mask);
    void testAgainstSlot(std::uint32_t slot, LaneMask mask);
    void finishLeaf(const BvhNode& leaf);
    void finish(std::size_t triangles);
    bool findVisiblePairs(unsigned int node);
    void test(const PairMember& other, std::uint32_t lane);

    const BakedTriangles& baked_;
    SlotTriangles triangles_;
    RecentTriangles recent_;
    std::function<void(std::size_t)> triangleDone_;
    ItemCounter& work_;
    PairIntersector intersector_;
    float rounding_[3] = {};      ///< The error bound of products with a coordinate, per axis.
    bool floatsAreExact_ = true;  ///< The floats of coordinates.
    std::vector<bool> marked_;    ///< One per slot.
    std::vector<bool> allMarked_; ///< One per node: all triangles below are marked.
    std::vector<CornerBoxes> cornerBoxes_; ///< One per node, once needed.
    std::vector<FoundIntersection> found_;
    std::vector<TrianglePacket> packetCache_; ///< Direct-mapped by first slot.
    const TrianglePacket* packet_ = nullptr;  ///< The packet under test.
    std::size_t done_ = 0;                    ///< Triangles.
    std::size_t reportedDone_ = 0;            ///< Triangles reported to the caller.
    PairSearchLimits limits_;
    std::size_t visits_ = 0;
    std::size_t visiblePairVisits_ = 0;
    bool needsHidden_ = true;
    bool usedDenseSearch_ = false;
    bool restarts_ = false;
    std::vector<unsigned int> denseRegions_; ///< Where hidden edges are omitted.
};

} // namespace ctr
