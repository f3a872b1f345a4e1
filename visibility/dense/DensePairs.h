// The pairs of triangles that cut each other, where so many lie in one place that the hierarchy
// tells few of them apart.
#pragma once

#include "visibility/dense/DenseTree.h"
#include "visibility/dense/DistinctTriangles.h"
#include "visibility/intersections/PairIntersector.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ctr {

/// Equal triangles are searched once; triangles around crowded corners, the hubs, are told apart by
/// their directions from there; all others by a tree that knows planes.
///
/// What is known without search: equal triangles do not cut each other, as they lie in one plane.
/// Nor do any two with two corners in common: the third corner of either is on one side of the
/// other's plane. With edges on planes in front, two may count as cutting each other that are
/// behind each other from the edge they share. They lie beside each other on screen, and so are in
/// contact.
class CrowdedPairs {
public:
    using Triangle = OccluderTree::Triangle;

    /// What is needed of triangles, which are borrowed: they face the eye, and their coordinates
    /// are below 2^24, so that plane values do not wrap. Corners that more distinct triangles than
    /// `hubDegree` share are hubs. Pairs of which both are marked, slot by slot, are left out.
    CrowdedPairs(const std::vector<Triangle>& triangles,
                 const std::vector<bool>& marked,
                 const PairTest& test,
                 std::uint32_t hubDegree,
                 ItemCounter& work);

    /// In any order, but for some whose triangles are in contact.
    std::vector<FoundIntersection> find();

    /// How many pairs of triangles, or of sets of them, find() has looked at.
    std::size_t looks() const { return looks_; }

private:
    using Places = DistinctTriangles::Places;
    /// The triangles at each place, place by place.
    struct Incidence {
        std::vector<std::uint32_t> firsts;
        std::vector<std::uint32_t> triangles;
    };

    void findHubs();
    void meetAnywhere();
    void meetAround(std::uint32_t hub);
    CrowdItem itemOf(std::uint32_t triangle) const;
    CrowdItem directionsOf(std::uint32_t triangle, std::uint32_t hub) const;
    void meetItems(std::vector<CrowdItem> items);
    void test(std::uint32_t a, std::uint32_t b);
    void testEqual(std::uint32_t first, std::uint32_t second);
    bool haveEdgeInCommon(std::uint32_t a, std::uint32_t b) const;
    std::optional<FoundIntersection> cutOf(std::uint32_t slotA, std::uint32_t slotB) const;

    const std::vector<Triangle>& triangles_;
    const std::vector<bool>& marked_;
    const PairTest& test_;
    std::uint32_t hubDegree_;
    ItemCounter& work_;
    DistinctTriangles distinct_;
    std::vector<Hubs> hubsOf_; ///< Of distinct triangles.
    Incidence atHubs_;         ///< Triangles by their hubs.
    std::vector<FoundIntersection> found_;
    std::size_t looks_ = 0;
};

} // namespace ctr
