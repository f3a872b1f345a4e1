// Finds the pairs of triangles that straddle each other's planes.
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/bvh/BvhNode.h"
#include "visibility/bvh/OccluderBvh.h"
#include "visibility/exact/ContactTolerance.h"
#include "visibility/exact/CornerBoxes.h"
#include "visibility/intersections/IntersectionEdge.h"
#include "visibility/intersections/PairIntersector.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace ctr {

/// When the hierarchy is given up, as so much lies in one place that it tells little apart.
struct CrowdLimits {
    /// How often four triangles are held against a node or a triangle: so often for each triangle
    /// of the scene, and again for each edge found.
    std::size_t looksPerTriangle = 512;
    std::size_t looksPerEdge = 64;
    /// How many distinct triangles meet in a corner that is not crowded yet.
    std::uint32_t hubDegree = 16;
    /// After how many edges for each triangle those that are nearly equal are looked for. Within a
    /// contact tolerance they give edges of which nothing is drawn.
    std::size_t edgesPerTriangle = 64;
    /// After how many edges per triangle hidden ones are left out, where that is allowed.
    std::size_t hiddenPerTriangle = 4;
    /// Unless more pairs are in sight than so many times those whose boxes meet.
    double inSightPerMeeting = 8.0;
};

/// The hierarchy held against itself: subtrees whose boxes meet are opened, until a leaf's
/// triangles are held, four at a time, against what is left of the other subtree. Every pair is met
/// once. Where that takes too long, CrowdedPairs begins anew; where it finds too much, in crowds,
/// the search begins anew with PairsInSight.
class PairSearch {
public:
    /// The triangles, slot by slot, are borrowed. `triangleDone` is called once per triangle, when
    /// about its share of the work is done, with the number of edges found so far.
    PairSearch(const BakedTriangles& baked,
               const SlotTriangles& triangles,
               std::function<void(std::size_t)> triangleDone,
               ItemCounter& work,
               const CrowdLimits& limits = {});

    /// Leaves out pairs of which both are marked, slot by slot; equal triangles are marked alike.
    void leaveOut(std::vector<bool> marked);

    /// Allows the search to leave out edges that triangles of the hierarchy hide entirely.
    void leaveOutHidden() { hiddenIsWanted_ = false; }

    /// All intersection edges, by the number of the first triangle and then the slot of the second.
    /// Of triangles in contact, some are left out where there are many, and hidden edges where that
    /// is allowed.
    std::vector<FoundIntersection> run();

    /// How often run() has held triangles, or sets of them, against each other.
    std::size_t looks() const { return looks_ + looksInSight_; }
    /// Whether run() has given up the hierarchy.
    bool wasCrowded() const { return isCrowded_; }

private:
    using Triangle = OccluderTree::Triangle;
    /// Bit k stands for the k-th of the four.
    using Chosen = unsigned int;
    /// A plane in floats, which may be off by `slack` anywhere in the scene: it only rules out.
    template <class Number> struct RoughPlane {
        Number normal[3];
        Number offset; ///< normal . p of its points.
        Number slack;
    };

    /// The triangles of up to four slots in a row, side by side.
    struct Four {
        /// Boxes, which rounding does not part. Nothing meets those of lanes without triangle.
        Lanes min[3];
        Lanes max[3];
        Lanes corners[3][3]; ///< Corner by corner, axis by axis.
        RoughPlane<Lanes> planes;
        GridVector normals[4];
        std::uint32_t firstSlot;
        Chosen present;
        Chosen marked;

        template <class Numbers>
        Chosen meeting(const Numbers& otherMin, const Numbers& otherMax) const;
        Chosen cutting(const kx::kxBBox& box) const;
        Chosen cutting(const Lanes (&other)[3], bool floatsAreExact) const;
        Chosen cutBy(const RoughPlane<float>& plane) const;
    };

    bool markBelow(unsigned int node);
    void meetAll();
    bool isGivenUp();
    bool leavesHidden();
    void boundCorners(unsigned int node);
    bool areInContact(unsigned int a, unsigned int b);
    RoughPlane<float> roughPlaneOf(const BakedVertex& origin, const GridVector& normal) const;
    void meetSelf(unsigned int node);
    void meet(unsigned int a, unsigned int b);
    void meetLeaf(unsigned int leaf, unsigned int node);
    void take(std::uint32_t firstSlot, std::uint32_t endSlot);
    void fill(Four& four, std::uint32_t endSlot) const;
    void holdAgainst(unsigned int node, Chosen chosen);
    void holdAgainstSlot(std::uint32_t slot, Chosen chosen);
    void finishLeaf(const HierarchyNode& leaf);
    void finish(std::size_t triangles);
    bool meetInSight(unsigned int node);
    void test(const PairMember& other, std::uint32_t lane);

    const BakedTriangles& baked_;
    SlotTriangles triangles_;
    RecentTriangles recent_;
    std::function<void(std::size_t)> triangleDone_;
    ItemCounter& work_;
    PairTest test_;
    float rounding_[3] = {};           ///< How far products with a coordinate may be off, by axis.
    bool floatsAreExact_ = true;       ///< Those of coordinates.
    std::vector<bool> marked_;         ///< One a slot.
    std::vector<bool> allMarked_;      ///< One a node: all triangles below it are.
    std::vector<CornerBoxes> corners_; ///< Of the triangles below each node, once asked for.
    std::vector<FoundIntersection> found_;
    std::vector<Four> taken_;    ///< What was needed lately, each where its first slot tells.
    const Four* four_ = nullptr; ///< What is held against others now.
    std::size_t done_ = 0;       ///< Triangles.
    std::size_t toldDone_ = 0;   ///< As many as the caller knows of.
    CrowdLimits limits_;
    std::size_t looks_ = 0;
    std::size_t looksInSight_ = 0;
    bool hiddenIsWanted_ = true;
    bool isCrowded_ = false;
    bool beginsAnew_ = false;
    std::vector<unsigned int> crowds_; ///< Those in which hidden edges are left out.
};

} // namespace ctr
