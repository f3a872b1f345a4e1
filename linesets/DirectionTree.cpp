// The tree is built by median splits along the longest side of the bounding box, in O(n log n) for
// n directions. Nodes are rejected with the margin kCosineRounding (fitting/Tolerances.h), so the
// search visits every direction within its bounds. Sources are in the header.
#include "linesets/DirectionTree.h"

#include "fitting/Tolerances.h"
#include "linesets/Tuning.h"

namespace ctr {
namespace {

using Vector = Wm4::Vector3<float>;

using fit_tolerances::kCosineRounding;

} // namespace

DirectionTree::DirectionTree(std::vector<Entry> entries)
    : entries_(std::move(entries)), isRemoved_(entries_.size(), false) {
    const auto count = static_cast<std::uint32_t>(entries_.size());
    nodes_.emplace_back(0, count);
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
        build(node);
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        entryOf_.emplace_back(entries_[i].number, i);
    }
    std::sort(entryOf_.begin(), entryOf_.end());
}

void DirectionTree::build(std::uint32_t node) {
    Node& built = nodes_[node];
    const auto begin = entries_.begin() + built.begin;
    const auto end = entries_.begin() + built.end;
    built.allAlone = std::all_of(begin, end, [](const Entry& entry) { return entry.alone; });
    if (begin != end) {
        built.low = built.high = begin->direction;
    }
    for (auto entry = begin; entry != end; ++entry) {
        for (int axis = 0; axis < 3; ++axis) {
            built.low[axis] = std::min(built.low[axis], entry->direction[axis]);
            built.high[axis] = std::max(built.high[axis], entry->direction[axis]);
        }
    }
    if (built.end - built.begin <= LineTuning::kDirectionsPerLeaf) {
        return;
    }
    const Vector size = built.high - built.low;
    const int axis = size[0] >= size[1] && size[0] >= size[2] ? 0 : size[1] >= size[2] ? 1 : 2;
    const std::uint32_t first = built.begin;
    const std::uint32_t last = built.end;
    const std::uint32_t middle = first + (last - first) / 2;
    std::nth_element(begin, entries_.begin() + middle, end, [axis](const Entry& a, const Entry& b) {
        return a.direction[axis] != b.direction[axis] ? a.direction[axis] < b.direction[axis]
                                                      : a.number < b.number;
    });
    built.child = static_cast<std::uint32_t>(nodes_.size());
    nodes_.emplace_back(first, middle);
    nodes_.emplace_back(middle, last);
}

template <class VisitEntry, class VisitNode>
void DirectionTree::forEachOf(std::uint32_t number, VisitEntry visitEntry, VisitNode visitNode) {
    auto found = std::lower_bound(entryOf_.begin(), entryOf_.end(), std::pair(number, 0U));
    for (; found != entryOf_.end() && found->first == number; ++found) {
        const std::uint32_t entry = found->second;
        if (!visitEntry(entry)) {
            continue;
        }
        std::uint32_t node = 0;
        visitNode(nodes_[node]);
        while (nodes_[node].child != 0) {
            const std::uint32_t child = nodes_[node].child;
            node = entry < nodes_[child].end ? child : child + 1;
            visitNode(nodes_[node]);
        }
    }
}

void DirectionTree::remove(std::uint32_t number) {
    forEachOf(
        number,
        [this](std::uint32_t entry) {
            const bool wasThere = !isRemoved_[entry];
            isRemoved_[entry] = true;
            return wasThere;
        },
        [](Node& node) { --node.left; });
}

void DirectionTree::setJoined(std::uint32_t number) {
    forEachOf(
        number,
        [this](std::uint32_t entry) {
            entries_[entry].alone = false;
            return true;
        },
        [](Node& node) { node.allAlone = false; });
}

void DirectionTree::push(Items& items,
                         std::uint32_t node,
                         const Vector& query,
                         const DirectionBounds& bounds) const {
    const Node& pushed = nodes_[node];
    float most = 0.0F;
    float least = 0.0F;
    for (int axis = 0; axis < 3; ++axis) {
        const auto [low, high] =
            std::minmax({query[axis] * pushed.low[axis], query[axis] * pushed.high[axis]});
        least += low;
        most += high;
    }
    if (pushed.left > 0 && most + kCosineRounding >= bounds.leastCosine &&
        (!pushed.allAlone || least - kCosineRounding <= bounds.mostCosineAlone)) {
        items.push({-(most + kCosineRounding), true, node});
    }
}

void DirectionTree::expand(Items& items,
                           std::uint32_t node,
                           const Vector& query,
                           const DirectionBounds& bounds) const {
    const Node& expanded = nodes_[node];
    if (expanded.child != 0) {
        push(items, expanded.child, query, bounds);
        push(items, expanded.child + 1, query, bounds);
        return;
    }
    for (std::uint32_t i = expanded.begin; i < expanded.end; ++i) {
        const Entry& entry = entries_[i];
        const float cosine = query.Dot(entry.direction);
        if (!isRemoved_[i] && cosine >= bounds.leastCosine &&
            (!entry.alone || cosine <= bounds.mostCosineAlone)) {
            items.push({-cosine, false, entry.number});
        }
    }
}

} // namespace ctr
