// Nearest-neighbour search among directions.
#pragma once

#include <Wm4Foundation.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <queue>
#include <utility>
#include <vector>

namespace ctr {

/// Limits of a search. Cosines are between a direction and the query.
struct DirectionBounds {
    float leastCosine;     ///< Farther directions are left out.
    float mostCosineAlone; ///< Nearer directions of single segments are left out.
};

/// A kd-tree with bounding boxes over unit vectors, from which entries can be removed (J. L.
/// Bentley, Multidimensional binary search trees used for associative searching, Communications of
/// the ACM 18(9), 1975), with best-first search (G. R. Hjaltason and H. Samet, Distance browsing in
/// spatial databases, ACM Transactions on Database Systems 24(2), 1999). Construction takes O(n log
/// n), removal O(log n).
class DirectionTree {
public:
    struct Entry {
        Wm4::Vector3<float> direction;
        std::uint32_t number; ///< Given by the caller.
        bool alone;           ///< A single segment that is not joined to another.
    };

    /// All coordinates are finite.
    explicit DirectionTree(std::vector<Entry> entries);

    std::size_t count() const { return entries_.size(); }

    /// Removes all entries of a number.
    void remove(std::uint32_t number);

    /// Clears `alone` of all entries of a number.
    void setJoined(std::uint32_t number);

    /// Calls visit(number) in the order of distance from the query, ties by number, until it
    /// returns true; returns whether it did.
    template <class Visit>
    bool
    search(const Wm4::Vector3<float>& query, const DirectionBounds& bounds, Visit visit) const {
        // A node is queued by a lower bound for its entries, an entry by its own distance, which is
        // the negative cosine.
        std::priority_queue<Item, std::vector<Item>, FarFirst> items;
        push(items, 0, query, bounds);
        while (!items.empty()) {
            const Item item = items.top();
            items.pop();
            if (!item.isNode) {
                if (visit(item.number)) {
                    return true;
                }
                continue;
            }
            expand(items, item.number, query, bounds);
        }
        return false;
    }

private:
    struct Node {
        Node(std::uint32_t firstEntry, std::uint32_t endEntry)
            : begin(firstEntry), end(endEntry), left(endEntry - firstEntry) {}

        std::uint32_t begin;
        std::uint32_t end;
        std::uint32_t child = 0; ///< The first of two consecutive children; 0 in a leaf.
        std::uint32_t left;      ///< Entries that have not been removed.
        bool allAlone = true;
        Wm4::Vector3<float> low{0.0F, 0.0F, 0.0F}; ///< The bounding box of all entries.
        Wm4::Vector3<float> high{0.0F, 0.0F, 0.0F};
    };

    struct Item {
        float negativeCosine;
        bool isNode;
        std::uint32_t number;
    };

    /// Nodes come before entries at the same distance, since they may contain such entries.
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

    /// Calls visitEntry(i) for the index of each entry of a number and, if it returns true,
    /// visitNode(node) for all nodes that contain it.
    template <class VisitEntry, class VisitNode>
    void forEachOf(std::uint32_t number, VisitEntry visitEntry, VisitNode visitNode);
    void push(Items& items,
              std::uint32_t node,
              const Wm4::Vector3<float>& query,
              const DirectionBounds& bounds) const;
    void expand(Items& items,
                std::uint32_t node,
                const Wm4::Vector3<float>& query,
                const DirectionBounds& bounds) const;

    std::vector<Entry> entries_;
    std::vector<bool> isRemoved_;
    std::vector<Node> nodes_;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> entryOf_; ///< Number and index, sorted.
};

} // namespace ctr
