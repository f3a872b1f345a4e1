// Groups triangle edges by their end points, without sorting all of them.
//
// The order of the groups does not matter, so a counting pass (counting sort; D. E. Knuth, The Art
// of Computer Programming 3, 1973) puts every edge into the bucket of its smaller point, and the
// few edges of a bucket are distinguished by the other one. Buckets that contain only matched pairs
// (nearly all) are skipped. Expected linear time for meshes, whose points have few edges each.
// Exact: points are compared by index.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

namespace ctr {

/// A triangle edge in the bucket of its smaller point.
class BucketEdge {
public:
    BucketEdge() = default;
    BucketEdge(std::uint32_t key, std::uint32_t number)
        : bits_(std::uint64_t{key} << 32U | number) {}

    /// Twice the larger point, plus 1 for an edge that starts there.
    std::uint32_t key() const { return static_cast<std::uint32_t>(bits_ >> 32U); }
    std::uint32_t otherPoint() const { return key() >> 1U; }
    std::uint32_t number() const { return static_cast<std::uint32_t>(bits_); }
    bool operator<(const BucketEdge& other) const { return bits_ < other.bits_; }

private:
    std::uint64_t bits_;
};

/// Whether each of at most 4 kVectors edges has exactly one that runs the opposite way.
///
/// True of nearly all buckets, so no branch depends on the keys. Reads 4 kVectors edges.
template <std::size_t kVectors> bool ArePairs(const BucketEdge* edges, std::size_t count) {
    using Uint4 = std::uint32_t __attribute__((vector_size(16)));
    constexpr std::size_t kSize = 4 * kVectors;
    constexpr std::uint32_t kPadding = 0xffffff00U; // Pairs of their own, above all points.
    std::uint32_t keys[kSize];
    for (std::uint32_t i = 0; i < kSize; ++i) {
        keys[i] = i < count ? edges[i].key() : kPadding + i;
    }
    Uint4 packed[kVectors];
    std::memcpy(packed, keys, sizeof packed);
    Uint4 partners[kVectors] = {};
    for (const std::uint32_t key : keys) {
        const std::uint32_t reversed = key ^ 1U;
        const Uint4 partner = {reversed, reversed, reversed, reversed};
        for (std::size_t v = 0; v < kVectors; ++v) {
            partners[v] -= reinterpret_cast<Uint4>(packed[v] == partner);
        }
    }
    Uint4 wrong = {};
    for (const Uint4& number : partners) {
        wrong |= number ^ 1U;
    }
    return (wrong[0] | wrong[1] | wrong[2] | wrong[3]) == 0;
}

/// Edges bucketed by the smaller point of their ends: first count() all edges, then add() the same
/// ones. The bucket ends are prefix sums of the counts (counting sort).
///
/// Points are below 2^31 - 128, edges fewer than 2^32.
class EdgeBuckets {
public:
    explicit EdgeBuckets(std::size_t pointCount) : ends_(pointCount, 0) {}

    void count(std::uint32_t from, std::uint32_t to) { ++ends_[std::min(from, to)]; }

    void startAdding(std::size_t edgeCount) {
        std::exclusive_scan(ends_.begin(), ends_.end(), ends_.begin(), 0U);
        edges_ = std::make_unique_for_overwrite<BucketEdge[]>(edgeCount + kMostPaired);
        std::fill_n(edges_.get() + edgeCount, kMostPaired, BucketEdge(0, 0));
    }

    void add(std::uint32_t from, std::uint32_t to, std::uint32_t number) {
        const std::uint32_t key = std::max(from, to) << 1U | static_cast<std::uint32_t>(to < from);
        edges_[ends_[std::min(from, to)]++] = {key, number};
    }

    /// Calls visit(point, begin, end) with the edges of each bucket that is not empty.
    template <class Visit> void forEachBucket(Visit visit) {
        BucketEdge* begin = edges_.get();
        for (std::uint32_t point = 0; point < ends_.size(); ++point) {
            BucketEdge* const end = edges_.get() + ends_[point];
            if (begin != end) {
                visit(point, begin, end);
            }
            begin = end;
        }
    }

    /// Calls visit(point, begin, end) with the edges between each two points, sorted by key and
    /// number; returns the number of such groups.
    ///
    /// A bucket for which maySkipPairs(point, begin, end) is true is skipped if it consists of
    /// groups of two edges that run opposite ways.
    template <class MaySkipPairs, class Visit>
    std::size_t forEachGroup(MaySkipPairs maySkipPairs, Visit visit) {
        std::size_t groups = 0;
        forEachBucket([&](std::uint32_t point, BucketEdge* edge, BucketEdge* end) {
            if (maySkipPairs(point, edge, end) && arePairs(edge, end)) {
                groups += static_cast<std::size_t>(end - edge) / 2;
                return;
            }
            std::sort(edge, end);
            while (edge != end) {
                const BucketEdge* const first = edge;
                while (++edge != end && edge->otherPoint() == first->otherPoint()) {
                }
                visit(point, first, static_cast<const BucketEdge*>(edge));
                ++groups;
            }
        });
        return groups;
    }

private:
    static constexpr std::size_t kMostPaired = 16;

    static bool arePairs(const BucketEdge* begin, const BucketEdge* end) {
        const auto count = static_cast<std::size_t>(end - begin);
        if (count % 2 != 0 || count > kMostPaired) {
            return false;
        }
        return count <= 8 ? ArePairs<2>(begin, count) : ArePairs<4>(begin, count);
    }

    std::vector<std::uint32_t> ends_;
    std::unique_ptr<BucketEdge[]> edges_;
};

} // namespace ctr
