// Top-down construction of a bounding-volume hierarchy by binned surface-area splits.
//
// The method is that of I. Wald, "On fast construction of SAH-based bounding volume hierarchies"
// (IEEE Symposium on Interactive Ray Tracing, 2007): the centroids of a node's primitives are
// sorted into equal bins along each axis, and the plane between two bins with the smallest expected
// cost of a query splits the node. The primitives are copied once into a flat array and partitioned
// in place, so both passes over a node, binning and partitioning, access memory in order, and a
// node's range of that array is its range of slots in the tree. O(n log n) for usual input.
//
// Two differences: The depth is bounded: a split that would leave its larger side too many
// primitives for the remaining levels is replaced by a split at the median, so any input takes at
// most O(80 n). And any box is accepted: a centroid that is not finite is clamped to the nearest
// usable value.
#include <kxCommonAddOns/kxLinearGenericBVHBuilder.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace kx {

namespace {

constexpr unsigned int kLeafMark = 0xC0000000u;
constexpr unsigned int kMaxPrimitives = 1u << 30;
constexpr std::size_t kMaxNodes = (std::size_t{1} << 28) - 1;
constexpr unsigned int kNoNode = 0xFFFFFFFFu;

// Invariant of every node: depth + ceil(log2(count)) <= kMaxDepth. At the root the sum is at most
// 30; a split at the median does not change it, and any other split is only taken if the sum stays
// within the bound for its larger side. A single primitive is a leaf, so no node is deeper.
constexpr unsigned int kMaxDepth = 80;

// The number of primitives processed between two polls of the cancel interface.
constexpr unsigned int kPollInterval = 4096;

constexpr unsigned int kMinBins = 4;
constexpr unsigned int kMaxBins = 32;

// Centroids lie within +-kFarthest, so the distance of two of them is finite.
constexpr float kFarthest = std::numeric_limits<float>::max() / 2;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Box sides are limited to twice the largest float, so that products of two of them and a count do
// not overflow a double even for infinite boxes, and costs can always be compared.
constexpr double kLongestSide = 2.0 * std::numeric_limits<float>::max();

// Expected costs of testing the two children of a node, and one primitive of a leaf. On closed
// meshes this gives leaves of about three primitives. A higher node cost gives fewer nodes and less
// memory, but queries test more primitives; a lower one does the opposite.
constexpr double kNodeCost = 2.0;
constexpr double kPrimitiveCost = 1.0;

// Up to this number of items, their areas are summed in floats to avoid searching for a split; a
// sum far above underflow; and a factor beyond the rounding: for each of three areas, a side takes
// one, a product one, and the sum over items and axes one per term.
constexpr unsigned int kMaxSummed = 6;
constexpr double kSumMargin = 1.0001;
static_assert(1.0 + (3 + kMaxSummed + 2) * 0x1p-24 < kSumMargin);
constexpr float kSmallestArea = 1e-30f;

constexpr double kNoCost = std::numeric_limits<double>::infinity();

// x, y, z and one spare lane, processed in one instruction. Arithmetic on lanes is the same IEEE
// arithmetic as on floats; a comparison gives a lane mask.
using Float4 = float __attribute__((vector_size(16)));
using Int4 = int __attribute__((vector_size(16)));

Float4 All(float value) {
    return Float4{value, value, value, value};
}

// Two numbers in double precision.
using Pair = double __attribute__((vector_size(16)));

// All return `b` where `a` is NaN, so a NaN never enters a box `b`. The compilers provide the
// instructions only under these names.
#ifdef __SSE2__
Float4 Min(Float4 a, Float4 b) {
    return _mm_min_ps(a, b);
}
Float4 Max(Float4 a, Float4 b) {
    return _mm_max_ps(a, b);
}
Pair Min(Pair a, Pair b) {
    return _mm_min_pd(a, b);
}
Pair Max(Pair a, Pair b) {
    return _mm_max_pd(a, b);
}
Pair FirstTwo(Float4 lanes) {
    return _mm_cvtps_pd(lanes);
}
#else
template <class Vector> Vector Min(Vector a, Vector b) {
    return a < b ? a : b;
}
template <class Vector> Vector Max(Vector a, Vector b) {
    return a > b ? a : b;
}
Pair FirstTwo(Float4 lanes) {
    return {lanes[0], lanes[1]};
}
#endif

Pair LastTwo(Float4 lanes) {
    return FirstTwo(__builtin_shufflevector(lanes, lanes, 2, 3, 2, 3));
}

struct Box {
    Float4 min;
    Float4 max;

    void Extend(const Box& other) {
        min = Min(other.min, min);
        max = Max(other.max, max);
    }
    void Extend(Float4 point) {
        min = Min(point, min);
        max = Max(point, max);
    }
};

Box EmptyBox() {
    return {All(kInfinity), All(-kInfinity)};
}

// A primitive's box, with the primitive's index in the spare lanes: its upper and its lower 15
// bits, two small integers, which are exact in floats. Their values in boxes computed from items
// are meaningless and unused.
using Item = Box;

Item MakeItem(const kxBBox& box, unsigned int number) {
    const auto upper = static_cast<float>(number >> 15);
    const auto lower = static_cast<float>(number & 0x7FFFu);
    return {Float4{box.min[0], box.min[1], box.min[2], upper},
            Float4{box.max[0], box.max[1], box.max[2], lower}};
}

unsigned int NumberOf(const Item& item) {
    return (static_cast<unsigned int>(item.min[3]) << 15) | static_cast<unsigned int>(item.max[3]);
}

kxBBox ToBBox(const Box& box) {
    return {{box.min[0], box.min[1], box.min[2]}, {box.max[0], box.max[1], box.max[2]}};
}

// Halved before the sum, so that it cannot overflow. The centre of a NaN, infinite or empty box is
// clamped to one of the farthest centroids.
Float4 Centroid(const Box& box) {
    const Float4 middle = 0.5f * box.min + 0.5f * box.max;
    return Min(Max(middle, All(-kFarthest)), All(kFarthest));
}

// The bounds of a set of items, and of their centroids.
struct Bounds {
    Box box = EmptyBox();
    Box centroids = EmptyBox();

    void Extend(const Item& item) {
        box.Extend(item);
        centroids.Extend(Centroid(item));
    }
};

struct Range {
    unsigned int begin;
    unsigned int end;

    unsigned int Count() const { return end - begin; }
};

// A node still to be built. A second child does not follow its parent, so it has the parent's index
// in order to be entered there.
struct Task {
    Range range;
    Bounds bounds;
    unsigned int depth;
    unsigned int secondChildOf;
};

// 0 for the empty box, whose sides are negative or (for equal infinities) NaN.
double Side(const Box& box, int axis) {
    const double side = static_cast<double>(box.max[axis]) - static_cast<double>(box.min[axis]);
    const double positive = side > 0.0 ? side : 0.0;
    return positive < kLongestSide ? positive : kLongestSide;
}

double HalfArea(const Box& box) {
    const double x = Side(box, 0);
    const double y = Side(box, 1);
    const double z = Side(box, 2);
    return x * y + y * z + z * x;
}

// The sides of two boxes along an axis.
Pair Sides(Pair min, Pair max) {
    return Min(Max(max - min, Pair{}), Pair{kLongestSide, kLongestSide});
}

// HalfArea of two boxes at once.
Pair HalfAreas(const Box& a, const Box& b) {
    const Float4 minXY = __builtin_shufflevector(a.min, b.min, 0, 4, 1, 5);
    const Float4 maxXY = __builtin_shufflevector(a.max, b.max, 0, 4, 1, 5);
    const Float4 minZ = __builtin_shufflevector(a.min, b.min, 2, 6, 3, 7);
    const Float4 maxZ = __builtin_shufflevector(a.max, b.max, 2, 6, 3, 7);
    const Pair x = Sides(FirstTwo(minXY), FirstTwo(maxXY));
    const Pair y = Sides(LastTwo(minXY), LastTwo(maxXY));
    const Pair z = Sides(FirstTwo(minZ), FirstTwo(maxZ));
    return x * y + y * z + z * x;
}

// The largest number of primitives that a child of a node at this depth may have.
unsigned int SideLimit(unsigned int depth) {
    const unsigned int levelsLeft = kMaxDepth - std::min(depth + 1, kMaxDepth);
    return 1u << std::min(levelsLeft, 30u);
}

// Divides the centroids of a node into equal bins along each axis.
class Binning {
public:
    Binning(const Box& centroids, unsigned int count)
        : bins_(std::min(kMaxBins, kMinBins + count / 8)),
          last_(All(static_cast<float>(bins_ - 1))), low_(centroids.min) {
        const Float4 extent = centroids.max - centroids.min;
        const Float4 scale = All(static_cast<float>(bins_)) / extent;
        const Int4 usable = (extent > Float4{}) & (scale < All(kInfinity)) & kAxes;
        scale_ = usable ? scale : Float4{};
    }

    unsigned int Bins() const { return bins_; }

    // False if all centroids are equal, or so close that the scale overflows.
    bool IsUsable(int axis) const { return scale_[axis] > 0.0f; }

    // The position of a centroid in bins: from 0 for the lowest, limited to the last bin. So a
    // usable axis has at least two bins in use; on an unusable axis all positions are 0.
    Float4 Position(Float4 centroid) const { return Min(Unlimited(centroid), last_); }

    // As above, but not limited to the last bin, which makes no difference below it.
    Float4 Unlimited(Float4 centroid) const { return (centroid - low_) * scale_; }

private:
    static constexpr Int4 kAxes{-1, -1, -1, 0};

    unsigned int bins_;
    Float4 last_;
    Float4 low_;
    Float4 scale_;
};

// The items in each bin of an axis. They are counted in the spare lane of a box's minimum, as an
// integer, starting from the bits of the smallest normal float.
class AxisBins {
public:
    void Clear(unsigned int bins) {
        for (unsigned int bin = 0; bin < bins; ++bin) {
            boxes_[bin] = {Float4{kInfinity, kInfinity, kInfinity, std::bit_cast<float>(kNoItems)},
                           All(-kInfinity)};
        }
    }

    // The item with NaN for its index, which does not change the count.
    static Item Countable(const Item& item) {
        constexpr Int4 kSpare{0, 0, 0, -1};
        return {std::bit_cast<Float4>(std::bit_cast<Int4>(item.min) | kSpare), item.max};
    }
    void Add(int number, const Item& countable) {
        constexpr Int4 kOneItem{0, 0, 0, 1};
        Box& box = boxes_[static_cast<unsigned int>(number)];
        const auto min = std::bit_cast<Int4>(Min(countable.min, box.min));
        box.max = Max(countable.max, box.max);
        box.min = std::bit_cast<Float4>(min + kOneItem);
    }

    const Box& BoxOf(unsigned int bin) const { return boxes_[bin]; }
    int CountOf(unsigned int bin) const {
        return std::bit_cast<int>(boxes_[bin].min[3]) - kNoItems;
    }
    Box Union(unsigned int begin, unsigned int end) const {
        Box box = boxes_[begin];
        for (unsigned int bin = begin + 1; bin < end; ++bin) {
            box.Extend(boxes_[bin]);
        }
        return box;
    }

private:
    static constexpr int kNoItems = 0x00800000;

    std::array<Box, kMaxBins> boxes_;
};

// A plane in front of bin `bin` of an axis.
struct Split {
    double cost = kNoCost;
    unsigned int largerSide = 0;
    int axis = 0;
    unsigned int bin = 0;

    // On a tie, prefer the more even split: on a line or in a point every box has area 0.
    bool IsBetterThan(const Split& other) const {
        return cost < other.cost || (cost == other.cost && largerSide < other.largerSide);
    }
};

// Tries every plane between two bins of an axis and stores the best one in `best`, except planes
// with more than `sideLimit` items on one side.
//
// The boxes below a plane are accumulated from the left, those above from the right, and the costs
// of one box of either kind are computed together.
template <class Number>
void FindBest(
    const AxisBins& bins, Number binCount, int axis, unsigned int sideLimit, Split& best) {
    std::array<double, kMaxBins> costBelow;
    std::array<double, kMaxBins> costAbove;
    std::array<int, kMaxBins> countBelow;
    Box below = EmptyBox();
    Box above = EmptyBox();
    int belowCount = 0;
    int aboveCount = 0;
    for (unsigned int bin = 1; bin < binCount; ++bin) {
        const unsigned int mirrored = binCount - bin;
        below.Extend(bins.BoxOf(bin - 1));
        above.Extend(bins.BoxOf(mirrored));
        belowCount += bins.CountOf(bin - 1);
        aboveCount += bins.CountOf(mirrored);
        const Pair counts{static_cast<double>(belowCount), static_cast<double>(aboveCount)};
        const Pair costs = kPrimitiveCost * counts * HalfAreas(below, above);
        countBelow[bin] = belowCount;
        costBelow[bin] = costs[0];
        costAbove[mirrored] = costs[1];
    }
    const int total = aboveCount + bins.CountOf(0);
    for (unsigned int bin = 1; bin < binCount; ++bin) {
        const auto largerSide =
            static_cast<unsigned int>(std::max(countBelow[bin], total - countBelow[bin]));
        if (largerSide == static_cast<unsigned int>(total) || largerSide > sideLimit) {
            continue;
        }
        const Split split{costBelow[bin] + costAbove[bin], largerSide, axis, bin};
        if (split.IsBetterThan(best)) {
            best = split;
        }
    }
}

// A unique key that orders a node's items along an axis: the centroid in the upper half, mapped so
// that unsigned integers compare as the floats do, and the item's index in the lower half.
std::uint64_t OrderKey(const Item& item, int axis) {
    const float centroid = Centroid(item)[axis] + 0.0f; // -0 becomes 0
    const auto bits = std::bit_cast<std::uint32_t>(centroid);
    const std::uint32_t ordered = bits ^ ((bits >> 31) != 0 ? 0xFFFFFFFFu : 0x80000000u);
    return (std::uint64_t{ordered} << 32) | NumberOf(item);
}

int WidestAxis(const Box& centroids) {
    int widest = 0;
    for (int axis = 1; axis < 3; ++axis) {
        widest = Side(centroids, axis) > Side(centroids, widest) ? axis : widest;
    }
    return widest;
}

class Builder {
public:
    Builder(kxGenericBVH& tree, const kxCancelInterfaceReadOnly* cancel, unsigned int leafSize)
        : tree_(tree), cancel_(cancel), leafSize_(std::max(leafSize, 1u)) {}

    // False if cancelled or if there are too many nodes.
    bool Build(const kxGenericBVHPrimitives& primitives);

private:
    struct Halves {
        unsigned int middle;
        std::array<Bounds, 2> bounds;
    };

    bool Load(const kxGenericBVHPrimitives& primitives, Bounds& bounds);
    bool Make(const Task& task);
    void MakeLeaf(kxGenericBVH::Node& node, Range range);
    bool IsSurelyLeaf(const Task& task) const;
    bool IsLeafCheaper(const Task& task, const Split& split) const;

    Split FindSplit(const Task& task, const Binning& binning);
    template <class Number> Split FindSplit(const Task& task, const Binning& binning, Number bins);
    template <class Number> bool FillBins(Range range, const Binning& binning, Number bins);

    template <int Axis>
    bool DivideAt(Range range, const Binning& binning, unsigned int plane, Halves& halves);
    bool Divide(const Task& task, const Split& split, const Binning& binning, Halves& halves);
    bool DivideByCount(Range range, const Box& centroids, Halves& halves);
    bool DivideInPlace(Range range, Halves& halves);
    bool SelectKey(Range range, int axis, std::uint64_t& key);
    template <class IsFirst> bool Partition(Range range, const IsFirst& isFirst, Halves& halves);

    template <class Visit> bool ForEachItem(Range range, const Visit& visit);
    bool ShouldContinue(unsigned int handled);

    kxGenericBVH& tree_;
    const kxCancelInterfaceReadOnly* cancel_;
    const unsigned int leafSize_;
    unsigned int handledSincePoll_ = kPollInterval; // so that the first primitive causes a poll
    bool cancelled_ = false;
    std::unique_ptr<Item[]> items_;
    std::vector<Task> pending_; // the second children on the way to the root: at most kMaxDepth + 1
    std::array<AxisBins, 3> bins_;
};

bool Builder::Build(const kxGenericBVHPrimitives& primitives) {
    const unsigned int count = primitives.getPrimitiveQuantity();
    if (count == 0) {
        return true;
    }
    if (count > kMaxPrimitives) {
        return false;
    }
    Bounds bounds;
    if (!Load(primitives, bounds)) {
        return false;
    }
    tree_.primitives.resize(count);
    // Leaves, if allowed to be that large, have nearly three primitives on average, rarely less
    // than two and a half; if there are more nodes, the vector grows.
    const std::size_t leaves = leafSize_ < 3 ? count / leafSize_ : std::size_t{2} * count / 5;
    tree_.nodes.reserve(2 * leaves + 1);
    pending_.reserve(kMaxDepth + 1);
    pending_.push_back({{0, count}, bounds, 0, kNoNode});
    while (!pending_.empty()) {
        const Task task = pending_.back();
        pending_.pop_back();
        if (!Make(task)) {
            return false;
        }
    }
    return true;
}

bool Builder::Load(const kxGenericBVHPrimitives& primitives, Bounds& bounds) {
    const unsigned int count = primitives.getPrimitiveQuantity();
    items_ = std::make_unique_for_overwrite<Item[]>(count);
    Bounds all;
    for (unsigned int i = 0; i < count; ++i) {
        if (!ShouldContinue(1)) {
            return false;
        }
        const Item item = MakeItem(primitives.getPrimitiveBox(i), i);
        all.Extend(item);
        items_[i] = item;
    }
    bounds = all;
    return true;
}

// Builds one node. Its first child is on top of the pending ones, so it becomes the next node.
bool Builder::Make(const Task& task) {
    if (tree_.nodes.size() == kMaxNodes) {
        return false;
    }
    const auto number = static_cast<unsigned int>(tree_.nodes.size());
    tree_.nodes.push_back({ToBBox(task.bounds.box), 0, 0});
    if (task.secondChildOf != kNoNode) {
        tree_.nodes[task.secondChildOf].second = number;
    }
    if (IsSurelyLeaf(task)) {
        // As many polls of the cancel interface as with a search for a split.
        MakeLeaf(tree_.nodes.back(), task.range);
        const unsigned int binned = task.range.Count() == 1 ? 0 : task.range.Count();
        return ShouldContinue(binned) && ShouldContinue(task.range.Count());
    }
    const Binning binning(task.bounds.centroids, task.range.Count());
    const Split split = FindSplit(task, binning);
    if (IsLeafCheaper(task, split)) {
        MakeLeaf(tree_.nodes.back(), task.range);
        return ShouldContinue(task.range.Count());
    }
    Halves halves;
    if (!Divide(task, split, binning, halves)) {
        return false;
    }
    tree_.nodes.back().first = number + 1;
    const unsigned int depth = task.depth + 1;
    pending_.push_back({{halves.middle, task.range.end}, halves.bounds[1], depth, number});
    pending_.push_back({{task.range.begin, halves.middle}, halves.bounds[0], depth, kNoNode});
    return true;
}

void Builder::MakeLeaf(kxGenericBVH::Node& node, Range range) {
    node.first = kLeafMark | range.begin;
    node.second = range.Count();
    for (unsigned int slot = range.begin; slot < range.end; ++slot) {
        tree_.primitives[slot] = NumberOf(items_[slot]);
    }
}

// Whether a leaf is cheaper than any split, by a conservative test.
//
// A side of a split costs its count times its area, so at least the sum of its items' areas; the
// sum over all items is a lower bound of the cost of every split. It is computed in floats, with a
// margin above their rounding, and only used if nothing can have over- or underflowed.
bool Builder::IsSurelyLeaf(const Task& task) const {
    const unsigned int count = task.range.Count();
    if (count > leafSize_ || count > kMaxSummed) {
        return false;
    }
    if (count <= kNodeCost / kPrimitiveCost) {
        return true;
    }
    Float4 areas{};
    for (unsigned int i = task.range.begin; i < task.range.end; ++i) {
        const Float4 sides = Max(items_[i].max - items_[i].min, Float4{});
        areas += sides * __builtin_shufflevector(sides, sides, 1, 2, 0, 3);
    }
    const float sum = areas[0] + areas[1] + areas[2];
    const double needed = (kPrimitiveCost * count - kNodeCost) * HalfArea(task.bounds.box);
    return sum < kInfinity && sum > kSmallestArea && kPrimitiveCost * sum > kSumMargin * needed;
}

// Without a split the cost is infinite, so a node that fits a leaf becomes one.
bool Builder::IsLeafCheaper(const Task& task, const Split& split) const {
    const double area = HalfArea(task.bounds.box);
    return task.range.Count() <= leafSize_ &&
           kPrimitiveCost * task.range.Count() * area <= kNodeCost * area + split.cost;
}

// The cheapest plane, or one of cost kNoCost if there is none or the tree would become too deep. If
// cancelled, the result is meaningless, and the next step stops at its first item.
Split Builder::FindSplit(const Task& task, const Binning& binning) {
    if (task.range.Count() == 1) {
        return Split();
    }
    // Most nodes have few items and the fewest bins, for which the compiler unrolls all loops.
    return binning.Bins() == kMinBins
               ? FindSplit(task, binning, std::integral_constant<unsigned int, kMinBins>())
               : FindSplit(task, binning, binning.Bins());
}

template <class Number>
Split Builder::FindSplit(const Task& task, const Binning& binning, Number bins) {
    Split best;
    const unsigned int limit = SideLimit(task.depth);
    if (!FillBins(task.range, binning, bins)) {
        return best;
    }
    for (int axis = 0; axis < 3; ++axis) {
        if (binning.IsUsable(axis)) {
            FindBest(bins_[static_cast<std::size_t>(axis)], bins, axis, limit, best);
        }
    }
    return best;
}

template <class Number> bool Builder::FillBins(Range range, const Binning& binning, Number bins) {
    for (AxisBins& axisBins : bins_) {
        axisBins.Clear(bins);
    }
    return ForEachItem(range, [&, binning](const Item& item) {
        const auto bin = __builtin_convertvector(binning.Position(Centroid(item)), Int4);
        const Item countable = AxisBins::Countable(item);
        bins_[0].Add(bin[0], countable);
        bins_[1].Add(bin[1], countable);
        bins_[2].Add(bin[2], countable);
    });
}

bool Builder::Divide(const Task& task, const Split& split, const Binning& binning, Halves& halves) {
    if (split.cost == kNoCost) {
        return DivideByCount(task.range, task.bounds.centroids, halves);
    }
    const AxisBins& bins = bins_[static_cast<std::size_t>(split.axis)];
    halves.bounds[0].box = bins.Union(0, split.bin);
    halves.bounds[1].box = bins.Union(split.bin, binning.Bins());
    switch (split.axis) {
    case 0:
        return DivideAt<0>(task.range, binning, split.bin, halves);
    case 1:
        return DivideAt<1>(task.range, binning, split.bin, halves);
    default:
        return DivideAt<2>(task.range, binning, split.bin, halves);
    }
}

// An item is in a lower bin if its position, rounded down, is below the integer.
template <int Axis>
bool Builder::DivideAt(Range range, const Binning& binning, unsigned int plane, Halves& halves) {
    const Float4 limit = All(static_cast<float>(plane));
    return Partition(
        range,
        [binning, limit](const Item&, Float4 centroid) {
            const Int4 below = binning.Unlimited(centroid) < limit;
            return __builtin_shufflevector(below, below, Axis, Axis, Axis, Axis);
        },
        halves);
}

// Splits a range at the median along the axis on which its centroids are farthest apart.
bool Builder::DivideByCount(Range range, const Box& centroids, Halves& halves) {
    const int axis = WidestAxis(centroids);
    if (!(Side(centroids, axis) > 0.0)) {
        return DivideInPlace(range, halves);
    }
    std::uint64_t median = 0;
    if (!SelectKey(range, axis, median)) {
        return false;
    }
    return Partition(
        range,
        [&](const Item& item, Float4) {
            const bool isFirst = OrderKey(item, axis) < median;
            halves.bounds[isFirst ? 0 : 1].box.Extend(item);
            const int mask = isFirst ? -1 : 0;
            return Int4{mask, mask, mask, mask};
        },
        halves);
}

// Splits a range with equal centroids in half; any half is as good as another.
bool Builder::DivideInPlace(Range range, Halves& halves) {
    halves.middle = range.begin + range.Count() / 2;
    return ForEachItem({range.begin, halves.middle},
                       [&](const Item& item) { halves.bounds[0].Extend(item); }) &&
           ForEachItem({halves.middle, range.end},
                       [&](const Item& item) { halves.bounds[1].Extend(item); });
}

// Finds the median key of a range by radix selection, from the highest byte to the lowest: each
// pass counts the next byte of the keys that agree with the bytes found so far.
bool Builder::SelectKey(Range range, int axis, std::uint64_t& key) {
    key = 0;
    std::uint64_t settled = 0;
    unsigned int rank = range.Count() / 2;
    for (int shift = 56; shift >= 0; shift -= 8) {
        std::array<unsigned int, 256> histogram{};
        if (!ForEachItem(range, [&](const Item& item) {
                const std::uint64_t itemKey = OrderKey(item, axis);
                histogram[(itemKey >> shift) & 0xFF] += (itemKey & settled) == key ? 1u : 0u;
            })) {
            return false;
        }
        std::uint64_t byte = 0;
        for (; rank >= histogram[byte]; ++byte) {
            rank -= histogram[byte];
        }
        key |= byte << shift;
        settled |= std::uint64_t{0xFF} << shift;
    }
    return true;
}

// Moves the items of the first half before those of the second, and computes the bounds of the
// centroids of both. `isFirst` returns all ones or all zeros in every lane.
//
// The half of an item is unpredictable, so there is no branch on it: each item is swapped with the
// first one of the second half so far, which then stays part of it or not, and both bounds are
// extended, one by the centroid and the other by NaN.
template <class IsFirst>
bool Builder::Partition(Range range, const IsFirst& isFirst, Halves& halves) {
    unsigned int middle = range.begin;
    Box lower = EmptyBox();
    Box upper = EmptyBox();
    Item* const items = items_.get();
    const bool isComplete = ForEachItem(range, [&](Item& current) {
        const Item item = current;
        const Float4 centroid = Centroid(item);
        const Int4 first = isFirst(item, centroid);
        const auto bits = std::bit_cast<Int4>(centroid);
        lower.Extend(std::bit_cast<Float4>(bits | ~first));
        upper.Extend(std::bit_cast<Float4>(bits | first));
        current = items[middle];
        items[middle] = item;
        middle -= static_cast<unsigned int>(first[0]);
    });
    halves.middle = middle;
    halves.bounds[0].centroids = lower;
    halves.bounds[1].centroids = upper;
    return isComplete;
}

// Visits a range in order; false if cancelled.
template <class Visit> bool Builder::ForEachItem(Range range, const Visit& visit) {
    for (unsigned int begin = range.begin; begin < range.end;) {
        const unsigned int end = begin + std::min(kPollInterval, range.end - begin);
        if (!ShouldContinue(end - begin)) {
            return false;
        }
        for (unsigned int i = begin; i < end; ++i) {
            visit(items_[i]);
        }
        begin = end;
    }
    return true;
}

// Cancellation is final, even if the interface returns false later.
bool Builder::ShouldContinue(unsigned int handled) {
    handledSincePoll_ += handled;
    if (handledSincePoll_ >= kPollInterval) {
        handledSincePoll_ = 0;
        cancelled_ = cancelled_ || (cancel_ && cancel_->isCanceled());
    }
    return !cancelled_;
}

} // namespace

bool kxLinearGenericBVHBuilder::build(kxGenericBVH& out,
                                      const kxGenericBVHPrimitives& primitives,
                                      const kxCancelInterfaceReadOnly* cancel,
                                      unsigned int leafSize) {
    // The memory of `out` is reused for the new tree, which is stored there when complete.
    kxGenericBVH tree = std::exchange(out, kxGenericBVH());
    tree.nodes.clear();
    tree.primitives.clear();
    tree.bookkeeping = 0;
    if (!Builder(tree, cancel, leafSize).Build(primitives)) {
        return false;
    }
    out = std::move(tree);
    return true;
}

} // namespace kx
