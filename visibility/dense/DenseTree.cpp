// Top-down median splits: first by hubs, so that nodes have common ones, then along the key by
// which items are spread the most relative to their size. O(n log n) for n items.
//
// Pairs of nodes are rejected by boxes, by shared hubs, and by planes with the margin
// kDistanceMargin (ErrorBounds.h, section 7), so no pair is lost by rounding.
#include "visibility/dense/DenseTree.h"

#include "visibility/ErrorBounds.h"
#include "visibility/Tuning.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <tuple>
#include <utility>

namespace ctr {
namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();

double AlongCorner(const Coordinates& direction, const BakedVertex& p) {
    return direction[0] * p.x + direction[1] * p.y + direction[2] * p.z;
}

struct Interval {
    double low = kInfinite;
    double high = -kInfinite;

    void extend(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    double length() const { return high - low; }
    double doubledMiddle() const { return low + high; }
};

/// The extent of the corners of an item along a direction.
Interval IntervalAlong(const Coordinates& direction, const DenseItem& item) {
    Interval interval;
    for (int k = 0; k < 3; ++k) {
        interval.extend(AlongCorner(direction, item.corners[k]));
    }
    return interval;
}

Hubs Common(const Hubs& a, const Hubs& b) {
    Hubs common = kNoHubs;
    auto next = common.begin();
    for (const std::uint32_t hub : a) {
        if (hub != kNoHub && std::find(b.begin(), b.end(), hub) != b.end()) {
            *next++ = hub;
        }
    }
    return common;
}

template <class Boxed> bool AreApart(const Boxed& a, const Boxed& b) {
    bool apart = false;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        apart = apart || a.max[axis] < b.min[axis] || b.max[axis] < a.min[axis];
    }
    return apart;
}

/// Whether all items of a node are strictly on one side of each plane of the other. Let x be a
/// point of the former and p a point of a plane with the normal n, d and e the axes of their plane
/// bounds, m any point, and r an upper bound of the distances of all these points. Then
///     n . (x - p) >= d . (x - m) - |d - e| r - e . (p - m) - |n - e| r,
/// and likewise from above. Coordinates are below 2^25, so doubles are off by less than 2^-20.
bool AreOnOneSide(const DenseTree::Node& beside, const DenseTree::Node& planes) {
    const DenseTree::PlaneBounds& d = beside.planes;
    const DenseTree::PlaneBounds& e = planes.planes;
    double reach = 0.0;
    double between = 0.0;
    Coordinates middle{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double low = std::min(beside.min[axis], planes.min[axis]);
        const double high = std::max(beside.max[axis], planes.max[axis]);
        middle[axis] = 0.5 * (low + high);
        reach += high - low;
        between += std::abs(d.direction[axis] - e.direction[axis]);
    }
    const double ofD = Along(d.direction, middle);
    const double ofE = Along(e.direction, middle);
    const double above = (d.low - ofD) - (e.high - ofE);
    const double below = (e.low - ofE) - (d.high - ofD);
    return std::max(above, below) > (between + e.spread) * reach + error_bounds::kDistanceMargin;
}

/// Traverses pairs of nodes.
class PairTraversal {
public:
    using Node = DenseTree::Node;

    PairTraversal(const DenseTree& tree,
                  const std::function<void(std::uint32_t, std::uint32_t)>& pair,
                  ItemCounter& work)
        : tree_(tree), pair_(pair), work_(work) {}

    std::size_t visits() const { return visits_; }

    void traverseSelf(std::uint32_t number) {
        const Node& node = tree_.nodes()[number];
        if (node.hubs[0] != kNoHub || node.isMarked) {
            return;
        }
        if (!node.isLeaf()) {
            traverseSelf(number + 1);
            traverseSelf(node.secondChild);
            traversePair(number + 1, node.secondChild);
            return;
        }
        for (std::uint32_t a = node.begin; a < node.end; ++a) {
            for (std::uint32_t b = a + 1; b < node.end; ++b) {
                pairItems(tree_.itemAt(a), tree_.itemAt(b));
            }
        }
    }

private:
    bool isRejected(const Node& a, const Node& b) {
        ++visits_;
        work_.count(1);
        return AreApart(a, b) || ShareHub(a.hubs, b.hubs) || (a.isMarked && b.isMarked) ||
               AreOnOneSide(a, b) || AreOnOneSide(b, a);
    }

    void traversePair(std::uint32_t a, std::uint32_t b) {
        const Node& nodeA = tree_.nodes()[a];
        const Node& nodeB = tree_.nodes()[b];
        if (isRejected(nodeA, nodeB)) {
            return;
        }
        if (!nodeA.isLeaf() && (nodeB.isLeaf() || nodeA.count() >= nodeB.count())) {
            traversePair(a + 1, b);
            traversePair(nodeA.secondChild, b);
        } else if (!nodeB.isLeaf()) {
            traversePair(a, b + 1);
            traversePair(a, nodeB.secondChild);
        } else {
            for (std::uint32_t i = nodeA.begin; i < nodeA.end; ++i) {
                for (std::uint32_t j = nodeB.begin; j < nodeB.end; ++j) {
                    pairItems(tree_.itemAt(i), tree_.itemAt(j));
                }
            }
        }
    }

    void pairItems(const DenseItem& a, const DenseItem& b) {
        ++visits_;
        work_.count(1);
        if (!AreApart(a, b) && !ShareHub(a.hubs, b.hubs) && !(a.isMarked && b.isMarked)) {
            pair_(a.number, b.number);
        }
    }

    const DenseTree& tree_;
    const std::function<void(std::uint32_t, std::uint32_t)>& pair_;
    ItemCounter& work_;
    std::size_t visits_ = 0;
};

} // namespace

DenseTree::DenseTree(std::vector<DenseItem> items, ItemCounter& work)
    : items_(std::move(items)), order_(items_.size()) {
    std::iota(order_.begin(), order_.end(), 0U);
    std::sort(order_.begin(), order_.end(), [&](std::uint32_t a, std::uint32_t b) {
        work.count(1);
        return std::tie(items_[a].hubs, a) < std::tie(items_[b].hubs, b);
    });
    nodes_.reserve(items_.size());
    if (!items_.empty()) {
        add(0, static_cast<std::uint32_t>(items_.size()), work);
    }
}

std::uint32_t DenseTree::add(std::uint32_t begin, std::uint32_t end, ItemCounter& work) {
    work.count(end - begin);
    const auto number = static_cast<std::uint32_t>(nodes_.size());
    nodes_.push_back(nodeOf(begin, end));
    if (end - begin > Tuning::kItemsInLeaf) {
        const Node node = nodes_[number];
        const std::uint32_t middle = split(node);
        add(begin, middle, work);
        const std::uint32_t second = add(middle, end, work);
        nodes_[number].secondChild = second;
    }
    return number;
}

DenseTree::Node DenseTree::nodeOf(std::uint32_t begin, std::uint32_t end) const {
    const DenseItem& first = itemAt(begin);
    Node node{first.min, first.max, planeBoundsOf(begin, end), first.hubs, begin, end, 0, true};
    for (std::uint32_t i = begin; i < end; ++i) {
        const DenseItem& item = itemAt(i);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            node.min[axis] = std::min(node.min[axis], item.min[axis]);
            node.max[axis] = std::max(node.max[axis], item.max[axis]);
        }
        node.hubs = Common(node.hubs, item.hubs);
        node.isMarked = node.isMarked && item.isMarked;
    }
    return node;
}

DenseTree::PlaneBounds DenseTree::planeBoundsOf(std::uint32_t begin, std::uint32_t end) const {
    // No bound: unit vectors differ by at most 2.
    const PlaneBounds none{{0.0, 0.0, 0.0}, 2.0, 0.0, 0.0};
    Coordinates sum{0.0, 0.0, 0.0};
    for (std::uint32_t i = begin; i < end; ++i) {
        const DenseItem& item = itemAt(i);
        if (item.corners == nullptr) {
            return none;
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            sum[axis] += item.normal[axis];
        }
    }
    const double length = std::sqrt(Along(sum, sum));
    if (length == 0.0) {
        return none;
    }
    PlaneBounds bounds{{sum[0] / length, sum[1] / length, sum[2] / length}, 0.0, 0.0, 0.0};
    Interval extent;
    for (std::uint32_t i = begin; i < end; ++i) {
        const DenseItem& item = itemAt(i);
        const auto& [x, y, z] = bounds.direction;
        const Coordinates off{item.normal[0] - x, item.normal[1] - y, item.normal[2] - z};
        bounds.spread = std::max(bounds.spread, std::sqrt(Along(off, off)));
        const Interval own = IntervalAlong(bounds.direction, item);
        extent.extend(own.low);
        extent.extend(own.high);
    }
    bounds.low = extent.low;
    bounds.high = extent.high;
    return bounds;
}

/// Partitions the items of a node; returns the position at which the second part begins.
std::uint32_t DenseTree::split(const Node& node) {
    if (itemAt(node.begin).hubs != itemAt(node.end - 1).hubs) {
        return splitByHubs(node);
    }
    splitInSpace(node);
    return node.begin + node.count() / 2;
}

/// The position nearest to the middle that keeps items with the same hubs together.
std::uint32_t DenseTree::splitByHubs(const Node& node) const {
    const std::uint32_t middle = node.begin + node.count() / 2;
    const Hubs& hubs = itemAt(middle).hubs;
    std::uint32_t first = middle;
    while (first > node.begin && itemAt(first - 1).hubs == hubs) {
        --first;
    }
    std::uint32_t end = middle;
    while (end < node.end && itemAt(end).hubs == hubs) {
        ++end;
    }
    const bool atFirst = first > node.begin && (end == node.end || middle - first < end - middle);
    return atFirst ? first : end;
}

void DenseTree::splitInSpace(const Node& node) {
    const std::function<double(std::uint32_t)> keyOf = bestKey(node);
    keys_.clear();
    for (std::uint32_t i = node.begin; i < node.end; ++i) {
        keys_.push_back({keyOf(i), order_[i]});
    }
    std::nth_element(keys_.begin(), keys_.begin() + node.count() / 2, keys_.end(),
                     [](const Keyed& a, const Keyed& b) {
                         return std::tie(a.key, a.item) < std::tie(b.key, b.item);
                     });
    for (std::uint32_t i = 0; i < node.count(); ++i) {
        order_[node.begin + i] = keys_[i].item;
    }
}

/// The key by which a node is split: the coordinate along which the centres of items are spread the
/// most relative to the lengths of items. Where items are longer than their spread, boxes separate
/// little: then the pseudo-angle or, for equal angles, the distance along the axis of the plane
/// bounds if that is spread more. Directions may be split by their normals as well, which count as
/// intervals of a fixed length.
std::function<double(std::uint32_t)> DenseTree::bestKey(const Node& node) const {
    constexpr std::size_t kPlanes = 3;
    constexpr std::size_t kNormal = 4;
    const auto intervalOf = [this, direction = node.planes.direction](std::uint32_t position,
                                                                      std::size_t axis) {
        const DenseItem& item = itemAt(position);
        if (axis == kPlanes) {
            return IntervalAlong(direction, item);
        }
        Interval interval;
        if (axis >= kNormal) {
            interval.extend(item.normal[axis - kNormal] - Tuning::kHalfNormalExtent);
            interval.extend(item.normal[axis - kNormal] + Tuning::kHalfNormalExtent);
            return interval;
        }
        interval.extend(item.min[axis]);
        interval.extend(item.max[axis]);
        return interval;
    };
    const auto spreadAlong = [&](std::size_t axis) {
        Interval middles;
        double lengths = Tuning::kShortestItems;
        for (std::uint32_t i = node.begin; i < node.end; ++i) {
            const Interval interval = intervalOf(i, axis);
            middles.extend(0.5 * interval.doubledMiddle());
            lengths += interval.length();
        }
        return middles.length() * node.count() / lengths;
    };
    std::size_t best = 0;
    double most = -1.0;
    const auto consider = [&](std::size_t axis) {
        if (const double spread = spreadAlong(axis); spread > most) {
            most = spread;
            best = axis;
        }
    };
    for (std::size_t axis = 0; axis < 3; ++axis) {
        consider(axis);
    }
    if (itemAt(node.begin).corners == nullptr) {
        consider(kNormal);
        consider(kNormal + 1);
    } else if (most < Tuning::kEnoughSpread) {
        Interval pseudoAngles;
        for (std::uint32_t i = node.begin; i < node.end; ++i) {
            pseudoAngles.extend(itemAt(i).pseudoAngle);
        }
        if (pseudoAngles.length() > Tuning::kAngleSpread) {
            return [this](std::uint32_t position) { return itemAt(position).pseudoAngle; };
        }
        consider(kPlanes);
    }
    return [intervalOf, best](std::uint32_t position) {
        return intervalOf(position, best).doubledMiddle();
    };
}

std::size_t DenseTree::forEachPair(const std::function<void(std::uint32_t, std::uint32_t)>& pair,
                                   ItemCounter& work) const {
    PairTraversal traversal(*this, pair, work);
    if (!nodes_.empty()) {
        traversal.traverseSelf(0);
    }
    return traversal.visits();
}

} // namespace ctr
