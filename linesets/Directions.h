// Directions from a crowded point, to be looked up by how near they are to another one.
#pragma once

#include <Wm4Foundation.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <queue>
#include <utility>
#include <vector>

namespace ctr {

/// Which directions a search shows. Cosines are between a direction and the one that is sought.
struct DirectionBounds {
    float leastCosine;     ///< None that is farther away.
    float mostCosineAlone; ///< Of those of one segment, none that is nearer.
};

/// A tree of boxes over unit vectors, each of which may be taken out.
///
/// (J. L. Bentley, Multidimensional binary search trees used for associative searching, 1975;
/// searched best first as G. R. Hjaltason and H. Samet do, Distance browsing in spatial databases,
/// 1999.) Building takes O(n log n), taking out O(log n).
class Directions {
public:
    struct Entry {
        Wm4::Vector3<float> direction;
        std::uint32_t number; ///< Of what goes there.
        bool alone;           ///< It is one segment and joined with nothing.
    };

    /// Every direction is of finite coordinates.
    explicit Directions(std::vector<Entry> entries);

    std::size_t count() const { return entries_.size(); }

    /// The number is in no result from now on.
    void remove(std::uint32_t number);

    /// The number is not alone from now on.
    void setJoined(std::uint32_t number);

    /// Calls visit(number), the nearest direction first and of equally near ones the least number
    /// first, until it returns true; returns whether it did.
    template <class Visit>
    bool
    search(const Wm4::Vector3<float>& sought, const DirectionBounds& bounds, Visit visit) const {
        // What is next: a node by the least that its entries can have, or an entry. The most
        // negative cosine is the nearest.
        std::priority_queue<Item, std::vector<Item>, FarFirst> items;
        push(items, 0, sought, bounds);
        while (!items.empty()) {
            const Item item = items.top();
            items.pop();
            if (!item.isNode) {
                if (visit(item.number)) {
                    return true;
                }
                continue;
            }
            expand(items, item.number, sought, bounds);
        }
        return false;
    }

private:
    struct Node {
        Node(std::uint32_t firstEntry, std::uint32_t endEntry)
            : begin(firstEntry), end(endEntry), left(endEntry - firstEntry) {}

        std::uint32_t begin;
        std::uint32_t end;
        std::uint32_t child = 0; ///< The first of two that follow each other; 0 in a leaf.
        std::uint32_t left;      ///< So many entries have not been taken out.
        bool allAlone = true;
        Wm4::Vector3<float> low{0.0F, 0.0F, 0.0F}; ///< Corners of the box around all entries.
        Wm4::Vector3<float> high{0.0F, 0.0F, 0.0F};
    };

    struct Item {
        float negativeCosine;
        bool isNode;
        std::uint32_t number;
    };

    /// Nodes come before entries as far away, which they may hold.
    struct FarFirst {
        bool operator()(const Item& a, const Item& b) const {
            if (a.negativeCosine != b.negativeCosine) {
                return a.negativeCosine > b.negativeCosine;
            }
            return a.isNode != b.isNode ? b.isNode : a.number > b.number;
        }
    };

    using Items = std::priority_queue<Item, std::vector<Item>, FarFirst>;

    void build(std::uint32_t node);

    /// Calls visitPlace(place) for each entry of a number and, where that returns true,
    /// visitNode(node) for all nodes that it is in.
    template <class VisitPlace, class VisitNode>
    void forEachOf(std::uint32_t number, VisitPlace visitPlace, VisitNode visitNode);
    void push(Items& items,
              std::uint32_t node,
              const Wm4::Vector3<float>& sought,
              const DirectionBounds& bounds) const;
    void expand(Items& items,
                std::uint32_t node,
                const Wm4::Vector3<float>& sought,
                const DirectionBounds& bounds) const;

    std::vector<Entry> entries_;
    std::vector<bool> isOut_;
    std::vector<Node> nodes_;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> placeOf_; ///< By number, sorted.
};

} // namespace ctr
