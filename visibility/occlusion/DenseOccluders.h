// The occluded intervals of segments where so many triangles overlap that a BVH separates few of
// them.
//
// Segments from a hub are tested against the triangles around it by directions from there, all
// others against a DenseTree with bounds of planes and of edges on screen. Both skip subtrees that
// certainly occlude nothing, and those that add nothing to the union of the intervals found before,
// down to which of equal fractions is kept when intervals are fused. Nearest planes come first
// (best-first search), so that a segment is fully occluded early. O(n) per segment at worst.
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

/// The intervals found so far, and which further ones are redundant. Intervals are fused by start,
/// equal starts by end; a fused interval keeps the ends of the first interval that has them.
class PrunedIntervals {
public:
    void clear();
    void add(const RationalInterval& interval);

    bool isFull() const { return isFull_; }
    const std::vector<RationalInterval>& all() const { return intervals_; }
    /// Whether some interval starts at 0 with another fraction than 0/1.
    bool startsUnusually() const { return startsUnusually_; }

    /// Whether intervals between two approximate parameters are redundant: they lie strictly within
    /// others, or start beyond the start of one that reaches 1.
    bool makeRedundant(double from, double to) const;
    /// Intervals that start at 0 determine both ends of a fused interval: of these, the interval
    /// that ends first determines its start. Whether intervals that end at or beyond a parameter
    /// are redundant for the start.
    bool makeRedundantBeyond(double leastEnd) const;
    /// Whether intervals that end at or before a parameter are redundant for the end.
    bool makeRedundantUpTo(double mostEnd) const;

private:
    void unite(const RationalInterval& interval);

    std::vector<RationalInterval> intervals_;
    std::vector<RationalInterval> united_; ///< Disjoint, in order.
    bool isFull_ = false;
    bool startsUnusually_ = false;
    double leastEndFromStart_ = 2.0; ///< Of intervals that start at 0.
    double leastStartToEnd_ = 2.0;   ///< Of intervals that end at 1.
};

/// Component-wise bounds of vectors.
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
    /// A lower bound of the scalar products with the vectors.
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
    /// An upper bound of the sum of the absolute terms of a product.
    double largestTerms(const std::array<double, dimensions>& factor) const {
        double sum = 0.0;
        for (std::size_t axis = 0; axis < dimensions; ++axis) {
            sum += std::abs(factor[axis]) * std::max(std::abs(most[axis]), std::abs(least[axis]));
        }
        return sum;
    }
};

/// A priority queue of nodes to be visited, least rank first.
class PendingNodes {
public:
    void start();
    bool isEmpty() const { return heap_.empty(); }
    void add(double rank, std::uint32_t node);
    std::uint32_t take();

private:
    std::vector<std::pair<double, std::uint32_t>> heap_;
};

class DenseOccluders {
public:
    using Triangle = SlotTriangle;
    /// The interval of the segment that a triangle occludes, exactly.
    using IntervalOf = std::function<std::optional<RationalInterval>(const Triangle&)>;

    /// The triangles are borrowed and have to satisfy MayBypassBvh(). Vertices of more than
    /// `hubDegree` distinct triangles are hubs.
    DenseOccluders(const std::vector<Triangle>& triangles,
                   const ContactTolerance& tolerance,
                   std::uint32_t hubDegree,
                   ItemCounter& work);

    /// Whether append() accepts the segment.
    bool fits(const BakedVertex& a, const BakedVertex& b) const;

    /// Appends the intervals that intervalOf gives for the triangles, as far as their union needs
    /// them; 0/1 .. 1/1 alone for a fully occluded segment. Some of them may be known.
    void append(const BakedVertex& a,
                const BakedVertex& b,
                const IntervalOf& intervalOf,
                const std::vector<RationalInterval>& known,
                std::vector<RationalInterval>& occluded);

    /// The number of nodes and triangles visited for segments.
    std::size_t visits() const { return visits_; }

private:
    /// Bounds of the edges of triangles on screen, each triangle starting with its longest edge.
    /// The line of an edge is outward . (x - p) = 0 with a unit normal.
    struct EdgeBounds {
        std::array<double, 2> outward[3]; ///< The normals of one of the triangles.
        double spread[3];                 ///< The largest distance of other normals from these.
        double farthest[3];               ///< No corner is farther along the normal.
        double nearest[3];                ///< No edge starts nearer.
    };
    /// Bounds of the triangles around a hub in a node.
    struct HubBounds {
        VectorBounds<3> normals; ///< Unit vectors.
        /// Directions of the two edges at the hub; triangles lie counter-clockwise from the first.
        VectorBounds<2> firsts;
        VectorBounds<2> seconds;
        /// The opposite edges, relative to the hub, are the lines w . x = 1.
        VectorBounds<2> across;
    };
    struct GlobalTree {
        DenseTree tree;
        std::vector<EdgeBounds> edgeBounds; ///< One per node.
        std::vector<CornerBoxes> corners;   ///< One per node.
    };
    struct HubTree {
        DenseTree tree;
        std::vector<HubBounds> hubBounds; ///< One per node.
        std::vector<CornerBoxes> corners; ///< One per node.
    };
    /// A segment and the state of its search.
    struct Query {
        const BakedVertex* ends[2];
        std::array<double, 3> from;
        std::array<double, 3> to;
        std::uint32_t hubs[2]; ///< kNoHub where an end is no hub.
        const IntervalOf* intervalOf;
        const std::vector<RationalInterval>* known;
        bool skipsPlainStarts;
        bool hasSkippedPlainStarts;
    };
    /// A part of the segment; empty when reversed.
    struct Span {
        double enter;
        double leave;
    };

    /// The parameters between which a segment from a hub leaves triangles.
    struct Exits {
        double least;
        double most;
    };

    void layOutGlobalTree(ItemCounter& work);
    void layOutHubs(std::uint32_t hubDegree, ItemCounter& work);
    std::size_t cornerAt(std::uint32_t triangle, std::uint32_t position) const;
    DenseItem itemOf(std::uint32_t triangle) const;
    DenseItem directionsOf(std::uint32_t triangle, std::uint32_t hub) const;
    EdgeBounds edgeBoundsOf(const DenseTree& tree, const DenseTree::Node& node) const;
    CornerBoxes cornersOf(const DenseTree& tree, const DenseTree::Node& node) const;
    bool areInContact(const CornerBoxes& triangles, const Query& query) const;
    HubBounds
    hubBoundsOf(const DenseTree& tree, const DenseTree::Node& node, std::uint32_t hub) const;

    void search(Query& query);
    void searchTree(Query& query);
    bool isRedundant(std::uint32_t node, Query& query) const;
    Span spanOf(std::uint32_t node, const Query& query) const;
    bool isInsideAllTriangles(std::uint32_t node, const std::array<double, 3>& point) const;
    void searchHub(const HubTree& around, int end, Query& query);
    void searchHub(const HubTree& around,
                   int end,
                   Query& query,
                   const std::function<std::optional<double>(const Exits&)>& rankOf);
    std::optional<Exits>
    exitsOf(const HubTree& around, std::uint32_t node, int end, const Query& query) const;
    void testTriangle(std::uint32_t triangle, Query& query);

    ContactTolerance tolerance_;
    DistinctTriangles distinct_;
    std::vector<Hubs> hubsOf_;
    /// The tree of each position; kNoHub for those that are no hubs.
    std::vector<std::uint32_t> aroundOf_;
    std::vector<HubTree> hubTrees_;
    std::optional<GlobalTree> global_;
    kx::kxBBox extent_;
    PrunedIntervals intervals_;
    PendingNodes pending_;
    std::size_t visits_ = 0;
};

} // namespace ctr
