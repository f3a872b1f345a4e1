// Median splits along the longest side of the box around the directions.
#include "linesets/Directions.h"

namespace ctr {
namespace {

using Vector = Wm4::Vector3<float>;

constexpr std::uint32_t kLeafSize = 8;

/// More than rounding changes of a product of unit vectors.
constexpr float kCosineRounding = 1e-6F;

} // namespace

Directions::Directions(std::vector<Entry> entries)
    : entries_(std::move(entries)), isOut_(entries_.size(), false) {
    const auto count = static_cast<std::uint32_t>(entries_.size());
    nodes_.emplace_back(0, count);
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
        build(node);
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        placeOf_.emplace_back(entries_[i].number, i);
    }
    std::sort(placeOf_.begin(), placeOf_.end());
}

void Directions::build(std::uint32_t node) {
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
    if (built.end - built.begin <= kLeafSize) {
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

template <class VisitPlace, class VisitNode>
void Directions::forEachOf(std::uint32_t number, VisitPlace visitPlace, VisitNode visitNode) {
    auto found = std::lower_bound(placeOf_.begin(), placeOf_.end(), std::pair(number, 0U));
    for (; found != placeOf_.end() && found->first == number; ++found) {
        const std::uint32_t place = found->second;
        if (!visitPlace(place)) {
            continue;
        }
        std::uint32_t node = 0;
        visitNode(nodes_[node]);
        while (nodes_[node].child != 0) {
            const std::uint32_t child = nodes_[node].child;
            node = place < nodes_[child].end ? child : child + 1;
            visitNode(nodes_[node]);
        }
    }
}

void Directions::remove(std::uint32_t number) {
    forEachOf(
        number,
        [this](std::uint32_t place) {
            const bool wasIn = !isOut_[place];
            isOut_[place] = true;
            return wasIn;
        },
        [](Node& node) { --node.left; });
}

void Directions::setJoined(std::uint32_t number) {
    forEachOf(
        number,
        [this](std::uint32_t place) {
            entries_[place].alone = false;
            return true;
        },
        [](Node& node) { node.allAlone = false; });
}

void Directions::push(Items& items,
                      std::uint32_t node,
                      const Vector& sought,
                      const DirectionBounds& bounds) const {
    const Node& pushed = nodes_[node];
    float most = 0.0F;
    float least = 0.0F;
    for (int axis = 0; axis < 3; ++axis) {
        const auto [low, high] =
            std::minmax({sought[axis] * pushed.low[axis], sought[axis] * pushed.high[axis]});
        least += low;
        most += high;
    }
    if (pushed.left > 0 && most + kCosineRounding >= bounds.leastCosine &&
        (!pushed.allAlone || least - kCosineRounding <= bounds.mostCosineAlone)) {
        items.push({-(most + kCosineRounding), true, node});
    }
}

void Directions::expand(Items& items,
                        std::uint32_t node,
                        const Vector& sought,
                        const DirectionBounds& bounds) const {
    const Node& expanded = nodes_[node];
    if (expanded.child != 0) {
        push(items, expanded.child, sought, bounds);
        push(items, expanded.child + 1, sought, bounds);
        return;
    }
    for (std::uint32_t i = expanded.begin; i < expanded.end; ++i) {
        const Entry& entry = entries_[i];
        const float cosine = sought.Dot(entry.direction);
        if (!isOut_[i] && cosine >= bounds.leastCosine &&
            (!entry.alone || cosine <= bounds.mostCosineAlone)) {
            items.push({-cosine, false, entry.number});
        }
    }
}

} // namespace ctr
