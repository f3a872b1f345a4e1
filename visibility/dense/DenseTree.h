// Pairs among many triangles in one place, where boxes alone tell too few of them apart.
//
// A node knows, beside its box, the planes of its triangles as far as they have one direction in
// common, and the crowded corners that all of its triangles share. Sheets above each other are told
// apart by the former, triangles around one corner by the latter.
#pragma once

#include "linesets/Work.h"
#include "visibility/exact/GridArithmetic.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace ctr {

/// Numbers of crowded corners, in increasing order and then kNoHub.
using Hubs = std::array<std::uint32_t, 3>;
constexpr std::uint32_t kNoHub = 0xFFFFFFFFU;
constexpr Hubs kNoHubs{kNoHub, kNoHub, kNoHub};

using Coordinates = std::array<double, 3>;

struct CrowdItem {
    Coordinates min;
    Coordinates max;
    Hubs hubs;
    std::uint32_t number; ///< The caller's.
    bool isMarked;
    const BakedVertex* corners; ///< Three, borrowed, of a triangle; null for directions.
    Coordinates normal;         ///< A unit vector; of directions only to keep them apart by it.
    double turn;                ///< Triangles that are turned by much are kept apart.
};

class CrowdTree {
public:
    /// Planes whose unit normals n differ from one direction by at most `spread`, and whose
    /// triangles have all points x at low <= direction . x <= high.
    struct Bundle {
        Coordinates direction;
        double spread;
        double low;
        double high;
    };
    /// An inner node's first child follows it.
    struct Node {
        Coordinates min;
        Coordinates max;
        Bundle planes;
        Hubs hubs;
        std::uint32_t begin;
        std::uint32_t end;
        std::uint32_t secondChild; ///< 0 for a leaf.
        bool isMarked;
        bool isLeaf() const { return secondChild == 0; }
        std::uint32_t count() const { return end - begin; }
    };

    explicit CrowdTree(std::vector<CrowdItem> items, WorkCounter& work);

    /// Calls pair(a, b) once with the numbers of any two items, but for those that
    /// - have boxes that share no point,
    /// - share a hub,
    /// - are marked both, or
    /// - have planes of which one has all of the other item strictly on one side.
    /// Pairs of the last kind may be among them. Returns how many pairs of nodes or items it has
    /// looked at.
    std::size_t forEachPair(const std::function<void(std::uint32_t, std::uint32_t)>& pair,
                            WorkCounter& work) const;

    /// The root is the first; none without items.
    const std::vector<Node>& nodes() const { return nodes_; }
    /// Of the positions of a node.
    const CrowdItem& itemAt(std::uint32_t position) const { return items_[order_[position]]; }

private:
    struct Keyed {
        double key;
        std::uint32_t item;
    };

    std::uint32_t add(std::uint32_t begin, std::uint32_t end, WorkCounter& work);
    Node nodeOf(std::uint32_t begin, std::uint32_t end) const;
    Bundle bundleOf(std::uint32_t begin, std::uint32_t end) const;
    std::uint32_t split(const Node& node);
    std::uint32_t splitByHubs(const Node& node) const;
    void splitInSpace(const Node& node);
    std::function<double(std::uint32_t)> bestKey(const Node& node) const;

    std::vector<CrowdItem> items_;
    std::vector<std::uint32_t> order_; ///< By nodes.
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
