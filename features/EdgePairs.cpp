// Mutually nearest boundary edges by a spatial hash of edge midpoints (M. Teschner et al.,
// Optimized Spatial Hashing for Collision Detection of Deformable Objects, VMV 2003).
//
// There is one grid per power of two of edge length, so that the many short edges beside a long one
// are never compared with it. The cells of a grid are at least twice as large as the gaps allowed
// at its lengths, so a query visits at most eight cells. Buckets are filled by a counting sort.
// Expected linear time. In doubles; midpoints are compared with a margin for rounding
// (visibility/ErrorBounds.h).
#include "features/EdgePairs.h"

#include "features/Tuning.h"
#include "visibility/ErrorBounds.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>

namespace ctr {
namespace {

constexpr std::uint32_t kNoEdge = std::numeric_limits<std::uint32_t>::max();

/// The distance of two edges, for the better of the two ways to match their ends.
struct Match {
    double gap;
    bool sameWay;
};

double DistanceOf(const Wm4::Vector3<double>& a, const Wm4::Vector3<double>& b) {
    const Wm4::Vector3<double> difference = b - a;
    return std::sqrt(difference.Dot(difference));
}

Match MatchOf(const BoundaryEdge& a, const BoundaryEdge& b) {
    const double opposite = std::max(DistanceOf(a.start, b.end), DistanceOf(a.end, b.start));
    const double same = std::max(DistanceOf(a.start, b.start), DistanceOf(a.end, b.end));
    return same < opposite ? Match{same, true} : Match{opposite, false};
}

class PairFinder {
public:
    PairFinder(const std::vector<BoundaryEdge>& edges, const PairRule& rule)
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

    /// An edge in its bucket, with its midpoint for rejecting most edges early.
    struct Member {
        Wm4::Vector3<double> midpoint;
        std::uint32_t edge;
    };

    static int orderOf(double length) { return std::ilogb(length); }

    /// The largest gap allowed for edges of a binary order of length.
    double reachOf(int order) const {
        return std::min(rule_.distance, rule_.shareOfLength * std::ldexp(2.0, order));
    }

    /// The cell size of an order: the length of its edges, so that a cell holds few of them, but at
    /// least 2 and at most 16 times their gap, so that most queries visit one cell and none more
    /// than eight.
    double cellOf(int order) const {
        const double reach = reachOf(order);
        return std::max(SurfaceTuning::kLeastCellOfGap * reach,
                        std::min(SurfaceTuning::kMostCellOfGap * reach, std::ldexp(1.0, order)));
    }

    static Wm4::Vector3<double> midpointOf(const BoundaryEdge& edge) {
        return 0.5 * edge.start + 0.5 * edge.end;
    }

    /// The index of a cell along an axis, clamped where the quotient exceeds the integers of a
    /// double.
    static std::int64_t cellAt(double coordinate, double cell) {
        constexpr double kMost = error_bounds::kMostCellNumber;
        return static_cast<std::int64_t>(std::floor(std::clamp(coordinate / cell, -kMost, kMost)));
    }

    std::size_t bucketOf(int order, const Cell& cell) const {
        std::uint64_t hash = static_cast<std::uint64_t>(order) * 0xd6e8feb86659fd93U;
        for (const std::int64_t number : cell) {
            hash = (hash ^ static_cast<std::uint64_t>(number)) * 0x9e3779b97f4a7c15U;
            hash ^= hash >> 29U;
        }
        return hash & (bucketEnd_.size() - 2);
    }

    std::size_t bucketOf(const BoundaryEdge& edge) const {
        const int order = orderOf(edge.length);
        const Wm4::Vector3<double> midpoint = midpointOf(edge);
        const double size = cellOf(order);
        return bucketOf(order, {cellAt(midpoint[0], size), cellAt(midpoint[1], size),
                                cellAt(midpoint[2], size)});
    }

    /// Counting sort: each bucket holds its edges in order.
    void fillBuckets() {
        bucketEnd_.assign(std::bit_ceil(edges_.size() + 1) + 1, 0);
        std::vector<std::size_t> buckets;
        buckets.reserve(edges_.size());
        for (const BoundaryEdge& edge : edges_) {
            buckets.push_back(bucketOf(edge));
            ++bucketEnd_[buckets.back() + 1];
        }
        std::partial_sum(bucketEnd_.begin(), bucketEnd_.end(), bucketEnd_.begin());
        members_.resize(edges_.size());
        for (std::uint32_t i = 0; i < edges_.size(); ++i) {
            members_[bucketEnd_[buckets[i]]++] = {midpointOf(edges_[i]), i};
        }
    }

    void findNearest(std::uint32_t number) {
        const double length = edges_[number].length;
        // Lengths differ by no more than twice the gap.
        const double slack = 2.0 * std::min(rule_.distance, rule_.shareOfLength * length);
        const int shortest = orderOf(std::max(0.5 * length, length - slack));
        const int longest = orderOf(length + 2.0 * slack);
        for (int order = shortest; order <= longest; ++order) {
            searchAround(number, order);
        }
    }

    /// Searches the edges of an order in the cells around the midpoint of an edge.
    void searchAround(std::uint32_t number, int order) {
        const Wm4::Vector3<double> midpoint = midpointOf(edges_[number]);
        const double size = cellOf(order);
        const double reach = reachOf(order);
        Cell low;
        Cell high;
        for (int axis = 0; axis < 3; ++axis) {
            low[static_cast<std::size_t>(axis)] = cellAt(midpoint[axis] - reach, size);
            high[static_cast<std::size_t>(axis)] = cellAt(midpoint[axis] + reach, size);
        }
        for (std::int64_t x = low[0]; x <= high[0]; ++x) {
            for (std::int64_t y = low[1]; y <= high[1]; ++y) {
                for (std::int64_t z = low[2]; z <= high[2]; ++z) {
                    searchBucket(bucketOf(order, {x, y, z}), number, reach);
                }
            }
        }
    }

    /// Midpoints of edges are no farther apart than their ends.
    void searchBucket(std::size_t bucket, std::uint32_t number, double reach) {
        const Wm4::Vector3<double> midpoint = midpointOf(edges_[number]);
        const std::uint32_t first = bucket == 0 ? 0 : bucketEnd_[bucket - 1];
        const std::uint32_t end =
            std::min(bucketEnd_[bucket], first + SurfaceTuning::kMostPerBucket);
        for (std::uint32_t i = first; i < end; ++i) {
            const Wm4::Vector3<double> apart = members_[i].midpoint - midpoint;
            if (apart.Dot(apart) <= reach * reach * (1.0 + error_bounds::kSquareMargin)) {
                consider(number, members_[i].edge);
            }
        }
    }

    void consider(std::uint32_t number, std::uint32_t other) {
        const BoundaryEdge& a = edges_[number];
        const BoundaryEdge& b = edges_[other];
        if (a.triangle() == b.triangle()) {
            return;
        }
        const double limit = std::min({rule_.distance, rule_.shareOfLength * a.length,
                                       rule_.shareOfLength * b.length,
                                       rule_.shareOfHeight * std::min(a.height, b.height)});
        const Match match = MatchOf(a, b);
        const bool nearer = match.gap != matches_[number].gap ? match.gap < matches_[number].gap
                                                              : other < nearest_[number];
        if (match.gap <= limit && nearer && !FoldsBack(a, b)) {
            matches_[number] = match;
            nearest_[number] = other;
        }
    }

    const std::vector<BoundaryEdge>& edges_;
    const PairRule& rule_;
    std::vector<std::uint32_t> bucketEnd_; ///< Where the members of each bucket end.
    std::vector<Member> members_;
    std::vector<std::uint32_t> nearest_; ///< Of each edge.
    std::vector<Match> matches_;         ///< With the nearest.
};

} // namespace

std::vector<EdgePair> FindEdgePairs(const std::vector<BoundaryEdge>& edges, const PairRule& rule) {
    return PairFinder(edges, rule).run();
}

} // namespace ctr
