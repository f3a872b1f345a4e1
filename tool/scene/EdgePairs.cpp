// A spatial hash of the middles of edges. Edges are told apart by the binary order of their lengths
// as well, so that many short edges beside a long one are never compared with it, and each order
// has cells of twice the gap that its edges can have: those within the gap of a point are in eight.
#include "scene/EdgePairs.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>

namespace kxcontour {
namespace {

constexpr std::uint32_t kNoEdge = std::numeric_limits<std::uint32_t>::max();

/// Of a bucket no more edges than these are looked at, so that edges given a thousand times over
/// take linear time.
constexpr std::uint32_t kBucketReach = 64;

/// How near two edges are, in the way that fits better.
struct Match {
    double gap;
    bool sameWay;
};

double DistanceOf(const Wm4::Vector3<double>& a, const Wm4::Vector3<double>& b) {
    const Wm4::Vector3<double> difference = b - a;
    return std::sqrt(difference.Dot(difference));
}

Match MatchOf(const OpenEdge& a, const OpenEdge& b) {
    const double opposite = std::max(DistanceOf(a.start, b.end), DistanceOf(a.end, b.start));
    const double same = std::max(DistanceOf(a.start, b.start), DistanceOf(a.end, b.end));
    return same < opposite ? Match{same, true} : Match{opposite, false};
}

class PairFinder {
public:
    PairFinder(const std::vector<OpenEdge>& edges, const PairRule& rule)
        : edges_(edges), rule_(rule), nearest_(edges.size(), kNoEdge),
          matches_(edges.size(), Match{std::numeric_limits<double>::infinity(), false}) {
        fillBuckets();
    }

    std::vector<EdgePair> run() {
        for (std::uint32_t i = 0; i < edges_.size(); ++i) {
            findNearest(i);
        }
        std::vector<EdgePair> pairs;
        for (std::uint32_t i = 0; i < edges_.size(); ++i) {
            const std::uint32_t other = nearest_[i];
            if (other != kNoEdge && i < other && nearest_[other] == i) {
                pairs.push_back({i, other, matches_[i].sameWay, matches_[i].gap});
            }
        }
        std::sort(pairs.begin(), pairs.end(), [](const EdgePair& a, const EdgePair& b) {
            return a.gap != b.gap ? a.gap < b.gap : a.first < b.first;
        });
        return pairs;
    }

private:
    using Cell = std::array<std::int64_t, 3>;

    static int orderOf(double length) { return std::ilogb(length); }

    /// The largest gap of edges of an order of length.
    double reachOf(int order) const {
        return std::min(rule_.distance, rule_.shareOfLength * std::ldexp(2.0, order));
    }

    static Wm4::Vector3<double> middleOf(const OpenEdge& edge) {
        return 0.5 * edge.start + 0.5 * edge.end;
    }

    /// In cells of an order of length; clamped where they are too small to be counted.
    static double inCells(double coordinate, double reach) {
        constexpr double kMost = 9e15;
        return std::clamp(coordinate / (2.0 * reach), -kMost, kMost);
    }

    std::size_t bucketOf(int order, const Cell& cell) const {
        std::uint64_t hash = static_cast<std::uint64_t>(order) * 0xd6e8feb86659fd93U;
        for (const std::int64_t number : cell) {
            hash = (hash ^ static_cast<std::uint64_t>(number)) * 0x9e3779b97f4a7c15U;
            hash ^= hash >> 29U;
        }
        return hash & (bucketEnd_.size() - 2);
    }

    std::size_t bucketOf(const OpenEdge& edge) const {
        const int order = orderOf(edge.length);
        const Wm4::Vector3<double> middle = middleOf(edge);
        Cell cell;
        for (int axis = 0; axis < 3; ++axis) {
            cell[static_cast<std::size_t>(axis)] =
                static_cast<std::int64_t>(std::floor(inCells(middle[axis], reachOf(order))));
        }
        return bucketOf(order, cell);
    }

    /// A counting sort: a bucket holds its edges in their order.
    void fillBuckets() {
        bucketEnd_.assign(std::bit_ceil(edges_.size() + 1) + 1, 0);
        std::vector<std::size_t> buckets;
        buckets.reserve(edges_.size());
        for (const OpenEdge& edge : edges_) {
            buckets.push_back(bucketOf(edge));
            ++bucketEnd_[buckets.back() + 1];
        }
        std::partial_sum(bucketEnd_.begin(), bucketEnd_.end(), bucketEnd_.begin());
        members_.resize(edges_.size());
        for (std::uint32_t i = 0; i < edges_.size(); ++i) {
            members_[bucketEnd_[buckets[i]]++] = i;
        }
    }

    void findNearest(std::uint32_t number) {
        const double length = edges_[number].length;
        // Lengths differ by no more than twice the gap.
        const double slack = 2.0 * std::min(rule_.distance, rule_.shareOfLength * length);
        const int shortest = orderOf(std::max(0.5 * length, length - slack));
        const int longest = orderOf(length + 2.0 * slack);
        for (int order = shortest; order <= longest; ++order) {
            lookAround(number, order);
        }
    }

    /// Looks at the edges of an order in the eight cells around the middle of an edge.
    void lookAround(std::uint32_t number, int order) {
        const Wm4::Vector3<double> middle = middleOf(edges_[number]);
        std::array<std::array<std::int64_t, 2>, 3> cells;
        for (int axis = 0; axis < 3; ++axis) {
            const double at = inCells(middle[axis], reachOf(order));
            const auto nearest = static_cast<std::int64_t>(std::floor(at - 0.5));
            cells[static_cast<std::size_t>(axis)] = {nearest, nearest + 1};
        }
        for (unsigned int bits = 0; bits < 8; ++bits) {
            const std::size_t bucket = bucketOf(
                order, {cells[0][bits & 1U], cells[1][bits >> 1U & 1U], cells[2][bits >> 2U]});
            lookInto(bucket, number);
        }
    }

    void lookInto(std::size_t bucket, std::uint32_t number) {
        const std::uint32_t first = bucket == 0 ? 0 : bucketEnd_[bucket - 1];
        const std::uint32_t end = std::min(bucketEnd_[bucket], first + kBucketReach);
        for (std::uint32_t i = first; i < end; ++i) {
            consider(number, members_[i]);
        }
    }

    void consider(std::uint32_t number, std::uint32_t other) {
        const OpenEdge& a = edges_[number];
        const OpenEdge& b = edges_[other];
        if (a.triangle() == b.triangle()) {
            return;
        }
        const Match match = MatchOf(a, b);
        const double limit =
            std::min({rule_.distance, rule_.shareOfLength * std::min(a.length, b.length),
                      rule_.shareOfHeight * std::min(a.height, b.height)});
        const bool nearer = match.gap != matches_[number].gap ? match.gap < matches_[number].gap
                                                              : other < nearest_[number];
        if (match.gap <= limit && nearer && !FoldsBack(a, b)) {
            matches_[number] = match;
            nearest_[number] = other;
        }
    }

    const std::vector<OpenEdge>& edges_;
    const PairRule& rule_;
    std::vector<std::uint32_t> bucketEnd_; ///< Where the members of each bucket end.
    std::vector<std::uint32_t> members_;
    std::vector<std::uint32_t> nearest_; ///< Of each edge.
    std::vector<Match> matches_;         ///< With the nearest.
};

} // namespace

std::vector<EdgePair> FindEdgePairs(const std::vector<OpenEdge>& edges, const PairRule& rule) {
    return PairFinder(edges, rule).run();
}

} // namespace kxcontour
