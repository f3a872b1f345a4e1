// A bounding volume hierarchy for triangles whose boxes overlap too much to be separated by them.
//
// Besides its box, a node stores bounds of the planes of its triangles, a cone of normals and an
// interval along its axis, and the hubs that all its triangles share: vertices of many triangles.
// The plane bounds separate stacked sheets, the hubs triangles around one vertex. (Cones of
// normals: L. A. Shirman and S. S. Abi-Ezzi, The cone of normals technique for fast processing of
// curved patches, Eurographics 1993.) Median splits, O(n log n) for n items.
#pragma once

#include "linesets/Progress.h"
#include "visibility/exact/GridArithmetic.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace ctr {

/// Numbers of hubs in increasing order, then kNoHub.
using Hubs = std::array<std::uint32_t, 3>;
constexpr std::uint32_t kNoHub = 0xFFFFFFFFU;
constexpr Hubs kNoHubs{kNoHub, kNoHub, kNoHub};

using Coordinates = std::array<double, 3>;

struct DenseItem {
    Coordinates min;
    Coordinates max;
    Hubs hubs;
    std::uint32_t number; ///< Assigned by the caller.
    bool isMarked;
    const BakedVertex* corners; ///< The three corners of a triangle, borrowed; null for directions.
    Coordinates normal;         ///< A unit vector. For directions it only guides the splits.
    double pseudoAngle;         ///< Of the longest edge on screen; it guides the splits.
};

class DenseTree {
public:
    /// Planes whose unit normals n differ from one direction by at most `spread`, and whose
    /// triangles have all points x at low <= direction . x <= high.
    struct PlaneBounds {
        Coordinates direction;
        double spread;
        double low;
        double high;
    };
    /// The first child of an inner node is the next node.
    struct Node {
        Coordinates min;
        Coordinates max;
        PlaneBounds planes;
        Hubs hubs;
        std::uint32_t begin;
        std::uint32_t end;
        std::uint32_t secondChild; ///< 0 for a leaf.
        bool isMarked;
        bool isLeaf() const { return secondChild == 0; }
        std::uint32_t count() const { return end - begin; }
    };

    explicit DenseTree(std::vector<DenseItem> items, ItemCounter& work);

    /// Calls pair(a, b) once with the numbers of any two items, except for pairs
    /// - whose boxes share no point,
    /// - that share a hub,
    /// - that are both marked, or
    /// - of which one is strictly on one side of the plane of the other.
    /// Some pairs of the last kind are not excluded. Returns the number of pairs of nodes or items
    /// visited.
    std::size_t forEachPair(const std::function<void(std::uint32_t, std::uint32_t)>& pair,
                            ItemCounter& work) const;

    /// The root comes first; empty without items.
    const std::vector<Node>& nodes() const { return nodes_; }
    /// The item at a position from `begin` to `end` of a node.
    const DenseItem& itemAt(std::uint32_t position) const { return items_[order_[position]]; }

private:
    struct Keyed {
        double key;
        std::uint32_t item;
    };

    std::uint32_t add(std::uint32_t begin, std::uint32_t end, ItemCounter& work);
    Node nodeOf(std::uint32_t begin, std::uint32_t end) const;
    PlaneBounds planeBoundsOf(std::uint32_t begin, std::uint32_t end) const;
    std::uint32_t split(const Node& node);
    std::uint32_t splitByHubs(const Node& node) const;
    void splitInSpace(const Node& node);
    std::function<double(std::uint32_t)> bestKey(const Node& node) const;

    std::vector<DenseItem> items_;
    std::vector<std::uint32_t> order_; ///< Items, node by node.
    std::vector<Node> nodes_;
    std::vector<Keyed> keys_;
};

/// Whether two lists have a hub in common.
inline bool ShareHub(const Hubs& a, const Hubs& b) {
    return std::any_of(a.begin(), a.end(), [&b](std::uint32_t hub) {
        return hub != kNoHub && std::find(b.begin(), b.end(), hub) != b.end();
    });
}

inline double Along(const Coordinates& direction, const Coordinates& p) {
    return direction[0] * p[0] + direction[1] * p[1] + direction[2] * p[2];
}

} // namespace ctr
