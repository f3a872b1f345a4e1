// What hides a segment, where so many triangles lie in one place that boxes tell little of which.
//
// Segments from a crowded corner are held against the triangles around it by directions from there,
// all others against a tree that knows planes and outlines. Either leaves out what surely hides
// nothing, and what could add nothing to the ranges found before, down to which of equal fractions
// is kept when ranges are fused.
#pragma once

#include <ctr/IntervalTools.h>

#include "visibility/dense/DenseTree.h"
#include "visibility/dense/DistinctTriangles.h"
#include "visibility/exact/ContactTolerance.h"
#include "visibility/exact/CornerBoxes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace ctr {

/// Ranges found so far, and what further ones are not needed for it. Ranges are fused by start,
/// equal starts by end; the ends of what is fused are those of the first range that has them.
class RangesOfCrowd {
public:
    void clear();
    void add(const RationalInterval& range);

    bool isWhole() const { return isWhole_; }
    const std::vector<RationalInterval>& all() const { return ranges_; }
    /// Whether some range starts at 0 by another fraction than 0/1.
    bool startsUnusually() const { return startsUnusually_; }

    /// Whether ranges between two parameters, which may be off by little, are not needed: they lie
    /// strictly within others, or reach 1 from a start beyond that of one that does.
    bool makeNeedless(double from, double to) const;
    /// Ranges that start at 0 are needed for two ends of what is fused: the one that ends first is
    /// the first of them. Whether those that end at a parameter, or later, are not needed for the
    /// start,
    bool makeNeedlessBeyond(double leastEnd) const;
    /// and whether those that end there, or earlier, are not needed for the end.
    bool makeNeedlessUpTo(double mostEnd) const;

private:
    void unite(const RationalInterval& range);

    std::vector<RationalInterval> ranges_;
    std::vector<RationalInterval> united_; ///< Disjoint, in order.
    bool isWhole_ = false;
    bool startsUnusually_ = false;
    double leastEndFromStart_ = 2.0; ///< Of ranges that start at 0.
    double leastStartToEnd_ = 2.0;   ///< Of ranges that end at 1.
};

/// Of vectors.
template <std::size_t dimensions> struct VectorBounds {
    std::array<double, dimensions> least;
    std::array<double, dimensions> most;

    VectorBounds() {
        least.fill(std::numeric_limits<double>::infinity());
        most.fill(-std::numeric_limits<double>::infinity());
    }
    void extend(const std::array<double, dimensions>& vector) {
        for (std::size_t axis = 0; axis < dimensions; ++axis) {
            least[axis] = std::min(least[axis], vector[axis]);
            most[axis] = std::max(most[axis], vector[axis]);
        }
    }
    /// The least that a product with one of them can be.
    double leastProduct(const std::array<double, dimensions>& factor) const {
        double sum = 0.0;
        for (std::size_t axis = 0; axis < dimensions; ++axis) {
            sum += factor[axis] * (factor[axis] > 0.0 ? least[axis] : most[axis]);
        }
        return sum;
    }
    double mostProduct(const std::array<double, dimensions>& factor) const {
        double sum = 0.0;
        for (std::size_t axis = 0; axis < dimensions; ++axis) {
            sum += factor[axis] * (factor[axis] > 0.0 ? most[axis] : least[axis]);
        }
        return sum;
    }
    /// The terms of no product are larger in all.
    double largestTerms(const std::array<double, dimensions>& factor) const {
        double sum = 0.0;
        for (std::size_t axis = 0; axis < dimensions; ++axis) {
            sum += std::abs(factor[axis]) * std::max(std::abs(most[axis]), std::abs(least[axis]));
        }
        return sum;
    }
};

/// Nodes to be looked at, those of least rank first.
class PendingNodes {
public:
    void start();
    bool isEmpty() const { return heap_.empty(); }
    void add(double rank, std::uint32_t node);
    std::uint32_t take();

private:
    std::vector<std::pair<double, std::uint32_t>> heap_;
};

class CrowdedOccluders {
public:
    using Triangle = OccluderTree::Triangle;
    /// The part of the segment that a triangle hides, exactly.
    using PartOf = std::function<std::optional<RationalInterval>(const Triangle&)>;

    /// The triangles are borrowed; see MayLeaveHierarchy() for what they have to be. Corners that
    /// more distinct triangles than `hubDegree` share are hubs.
    CrowdedOccluders(const std::vector<Triangle>& triangles,
                     const ContactTolerance& tolerance,
                     std::uint32_t hubDegree,
                     ItemCounter& work);

    /// Whether the segment is one that append() takes.
    bool fits(const BakedVertex& a, const BakedVertex& b) const;

    /// Appends what partOf gives for the triangles, as far as the fused ranges need it; 0/1 .. 1/1
    /// alone when that is all of the segment. What it gives for some of them may be known.
    void append(const BakedVertex& a,
                const BakedVertex& b,
                const PartOf& partOf,
                const std::vector<RationalInterval>& known,
                std::vector<RationalInterval>& hidden);

    /// How many nodes and triangles have been looked at for segments.
    std::size_t looks() const { return looks_; }

private:
    /// Outlines of triangles, each from its longest side on, which is the first. A side's line is
    /// that of outward . (x - p) = 0 with a unit normal.
    struct Outlines {
        std::array<double, 2> outward[3]; ///< Of one of the triangles.
        double spread[3];                 ///< How far those of others are from these.
        double farthest[3];               ///< No corner is farther along the normal.
        double nearest[3];                ///< No side begins nearer.
    };
    /// What is known of the triangles around a hub in a node.
    struct Rays {
        VectorBounds<3> normals; ///< Unit vectors.
        VectorBounds<2> firsts;  ///< Directions of the sides there, counter-clockwise from these
        VectorBounds<2> seconds; ///< to these.
        VectorBounds<2> across; ///< The opposite sides, seen from the hub, are the lines w . x = 1.
    };
    struct Anywhere {
        CrowdTree tree;
        std::vector<Outlines> outlines;   ///< One a node.
        std::vector<CornerBoxes> corners; ///< Likewise.
    };
    struct Around {
        CrowdTree tree;
        std::vector<Rays> rays;           ///< One a node.
        std::vector<CornerBoxes> corners; ///< Likewise.
    };
    /// A segment and what is asked of it.
    struct Question {
        const BakedVertex* ends[2];
        std::array<double, 3> from;
        std::array<double, 3> to;
        std::uint32_t hubs[2]; ///< kNoHub where an end is none.
        const PartOf* partOf;
        const std::vector<RationalInterval>* known;
        bool skipsPlainStarts;
        bool hasSkippedPlainStarts;
    };
    /// A part of the segment, empty when reversed.
    struct Reach {
        double enter;
        double leave;
    };

    /// Parameters between which a segment from a hub leaves triangles.
    struct Exits {
        double least;
        double most;
    };

    void layOutAnywhere(ItemCounter& work);
    void layOutHubs(std::uint32_t hubDegree, ItemCounter& work);
    std::size_t cornerAt(std::uint32_t triangle, std::uint32_t place) const;
    CrowdItem itemOf(std::uint32_t triangle) const;
    CrowdItem directionsOf(std::uint32_t triangle, std::uint32_t hub) const;
    Outlines outlinesOf(const CrowdTree& tree, const CrowdTree::Node& node) const;
    CornerBoxes cornersOf(const CrowdTree& tree, const CrowdTree::Node& node) const;
    bool areInContact(const CornerBoxes& triangles, const Question& question) const;
    Rays raysOf(const CrowdTree& tree, const CrowdTree::Node& node, std::uint32_t hub) const;

    void ask(Question& question);
    void askAnywhere(Question& question);
    bool isNeedless(std::uint32_t node, Question& question) const;
    Reach reachOf(std::uint32_t node, const Question& question) const;
    bool isCore(std::uint32_t node, const std::array<double, 3>& point) const;
    void askAround(const Around& around, int end, Question& question);
    void askAround(const Around& around,
                   int end,
                   Question& question,
                   const std::function<std::optional<double>(const Exits&)>& rankOf);
    std::optional<Exits>
    exitsOf(const Around& around, std::uint32_t node, int end, const Question& question) const;
    void askTriangle(std::uint32_t triangle, Question& question);

    ContactTolerance tolerance_;
    DistinctTriangles distinct_;
    std::vector<Hubs> hubsOf_;
    std::vector<std::uint32_t> aroundOf_; ///< By places; kNoHub for those that are no hubs.
    std::vector<Around> around_;
    std::optional<Anywhere> anywhere_;
    kx::kxBBox extent_;
    RangesOfCrowd ranges_;
    PendingNodes pending_;
    std::size_t looks_ = 0;
};

} // namespace ctr
