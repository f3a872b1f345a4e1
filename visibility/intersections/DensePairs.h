// All intersecting pairs of triangles where so many overlap that a BVH separates few of them.
//
// Equal triangles are searched once; triangles around hubs, the vertices of many triangles, are
// separated by their directions from there; all others by a DenseTree. O(n log n + k) for n
// triangles and k pairs found where these bounds separate the others.
#pragma once

#include "visibility/dense/DenseTree.h"
#include "visibility/dense/DistinctTriangles.h"
#include "visibility/intersections/PairIntersection.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ctr {

/// Some pairs need no search. Equal triangles are coplanar and do not intersect. Nor do triangles
/// with two common corners: the third corner of either is on one side of the plane of the other.
/// With EdgeOnPlane::isInFront, two that are behind each other from their common edge would count
/// as intersecting; they lie beside each other on screen, and so are in contact.
class DensePairs {
public:
    using Triangle = SlotTriangle;

    /// The triangles are borrowed. They face the eye, and their coordinates are below 2^24, so that
    /// plane values do not wrap. Vertices of more than `hubDegree` distinct triangles are hubs.
    /// Pairs of two marked triangles, slot by slot, are excluded.
    DensePairs(const std::vector<Triangle>& triangles,
               const std::vector<bool>& marked,
               const PairIntersector& test,
               std::uint32_t hubDegree,
               ItemCounter& work);

    /// All intersections in any order, except for some of triangles in contact.
    std::vector<FoundIntersection> find();

    /// The number of pairs of triangles, or of sets of them, visited by find().
    std::size_t visits() const { return visits_; }

private:
    using Positions = DistinctTriangles::Positions;
    /// The triangles at each vertex position.
    struct Incidence {
        std::vector<std::uint32_t> firsts;
        std::vector<std::uint32_t> triangles;
    };

    void findHubs();
    void pairWithoutHubs();
    void pairAroundHub(std::uint32_t hub);
    DenseItem itemOf(std::uint32_t triangle) const;
    DenseItem directionsOf(std::uint32_t triangle, std::uint32_t hub) const;
    void pairItems(std::vector<DenseItem> items);
    void test(std::uint32_t a, std::uint32_t b);
    void testEqual(std::uint32_t first, std::uint32_t second);
    bool haveEdgeInCommon(std::uint32_t a, std::uint32_t b) const;
    std::optional<FoundIntersection> intersectionOf(std::uint32_t slotA, std::uint32_t slotB) const;

    const std::vector<Triangle>& triangles_;
    const std::vector<bool>& marked_;
    const PairIntersector& test_;
    std::uint32_t hubDegree_;
    ItemCounter& work_;
    DistinctTriangles distinct_;
    std::vector<Hubs> hubsOf_; ///< Of distinct triangles.
    Incidence atHubs_;         ///< Triangles by their hubs.
    std::vector<FoundIntersection> found_;
    std::size_t visits_ = 0;
};

} // namespace ctr
