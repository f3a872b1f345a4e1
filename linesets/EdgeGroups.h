// Triangle edges gathered by place, without sorting them all.
//
// The edges of a mesh are many and nearly all of them are dull: only which of them join the same
// two places matters, not in which order the places are. So equal positions get a number by
// hashing, a counting pass puts every edge into the bucket of its smaller place number, and the few
// edges of a bucket are told apart by the other one. Only what is found is put into the order of
// positions.
#pragma once

#include <ctr/detail/HashedIndex.h>

#include "linesets/PositionOrder.h"
#include "linesets/Work.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

namespace ctr {

/// The place of each of `count` points: the number of the first point with the same key.
///
/// Expected linear time, O(n log n) whatever the keys are; they are compared in full.
template <class KeyOfPoint>
std::vector<std::uint32_t> NumberPlaces(std::size_t count, KeyOfPoint keyOf) {
    constexpr std::size_t kBlock = 64;
    detail::HashedIndex<PositionKey> index(count);
    std::vector<std::uint32_t> places(count);
    PositionKey keys[kBlock];
    std::uint64_t hashes[kBlock];
    for (std::size_t begin = 0; begin < count; begin += kBlock) {
        const std::size_t end = std::min(begin + kBlock, count);
        for (std::size_t i = begin; i < end; ++i) {
            keys[i - begin] = keyOf(i);
            hashes[i - begin] = HashOf(keys[i - begin]);
            index.prefetch(hashes[i - begin]);
        }
        for (std::size_t i = begin; i < end; ++i) {
            places[i] = index.findOrAdd(hashes[i - begin], keys[i - begin],
                                        static_cast<std::uint32_t>(i), keyOf);
        }
    }
    return places;
}

/// Marks what stands in the order of positions and then ranks it.
///
/// Points are named by their places, so that equal positions have equal ranks.
class PlaceRanks {
public:
    explicit PlaceRanks(std::size_t placeCount) : ranks_(placeCount, 0) {}

    void use(std::uint32_t place) { ranks_[place] = 1; }

    /// Ranks from 0 for all places in use; O(p + n log n) for n of p places. The work counts
    /// comparisons; keyOf may count itself.
    template <class KeyOfPoint> void rank(KeyOfPoint keyOf, WorkCounter& work) {
        std::vector<KeyedVertex> order;
        order.reserve(static_cast<std::size_t>(std::count(ranks_.begin(), ranks_.end(), 1U)));
        for (std::size_t place = 0; place < ranks_.size(); ++place) {
            if (ranks_[place] != 0) {
                order.push_back({keyOf(place), static_cast<std::uint32_t>(place)});
            }
        }
        std::sort(order.begin(), order.end(), [&work](const auto& x, const auto& y) {
            work.count(1);
            return x < y;
        });
        for (const KeyedVertex& vertex : order) {
            ranks_[vertex.vertex] = count_++;
        }
    }

    std::uint32_t count() const { return count_; }
    std::uint32_t operator[](std::uint32_t place) const { return ranks_[place]; }

private:
    std::vector<std::uint32_t> ranks_;
    std::uint32_t count_ = 0;
};

/// One edge of a triangle in the bucket of the smaller place of its ends.
class BucketEdge {
public:
    BucketEdge() = default;
    BucketEdge(std::uint32_t key, std::uint32_t number)
        : bits_(std::uint64_t{key} << 32U | number) {}

    /// Twice the larger place, plus 1 for an edge that starts there.
    std::uint32_t key() const { return static_cast<std::uint32_t>(bits_ >> 32U); }
    std::uint32_t otherPlace() const { return key() >> 1U; }
    std::uint32_t number() const { return static_cast<std::uint32_t>(bits_); }
    bool operator<(const BucketEdge& other) const { return bits_ < other.bits_; }

private:
    std::uint64_t bits_;
};

/// Whether each of the edges, at most 4 kVectors, has just one that runs the other way.
///
/// As good as all buckets are such; so no branch depends on the keys. Reads 4 kVectors edges.
template <std::size_t kVectors> bool ArePairs(const BucketEdge* edges, std::size_t count) {
    using Lanes = std::uint32_t __attribute__((vector_size(16)));
    constexpr std::size_t kSize = 4 * kVectors;
    constexpr std::uint32_t kPadding = 0xffffff00U; // Pairs of their own, above all places.
    std::uint32_t keys[kSize];
    for (std::uint32_t i = 0; i < kSize; ++i) {
        keys[i] = i < count ? edges[i].key() : kPadding + i;
    }
    Lanes lanes[kVectors];
    std::memcpy(lanes, keys, sizeof lanes);
    Lanes partners[kVectors] = {};
    for (const std::uint32_t key : keys) {
        const std::uint32_t reversed = key ^ 1U;
        const Lanes partner = {reversed, reversed, reversed, reversed};
        for (std::size_t v = 0; v < kVectors; ++v) {
            partners[v] -= reinterpret_cast<Lanes>(lanes[v] == partner);
        }
    }
    Lanes wrong = {};
    for (const Lanes& number : partners) {
        wrong |= number ^ 1U;
    }
    return (wrong[0] | wrong[1] | wrong[2] | wrong[3]) == 0;
}

/// Edges by the smaller place of their ends. Count all of them first, then add the same.
///
/// Places are below 2^31 - 128, edges fewer than 2^32.
class EdgeBuckets {
public:
    explicit EdgeBuckets(std::size_t placeCount) : ends_(placeCount, 0) {}

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

    /// Shows the edges of each bucket that is not empty, as visit(place, begin, end).
    template <class Visit> void forEachBucket(Visit visit) {
        BucketEdge* begin = edges_.get();
        for (std::uint32_t place = 0; place < ends_.size(); ++place) {
            BucketEdge* const end = edges_.get() + ends_[place];
            if (begin != end) {
                visit(place, begin, end);
            }
            begin = end;
        }
    }

    /// Shows the edges between the same two places as visit(place, begin, end), sorted by key and
    /// number; returns how many such groups there are.
    ///
    /// Where mayBeDull(place, begin, end) says so for the edges of a bucket, groups of two that run
    /// opposite ways may be left out.
    template <class MayBeDull, class Visit>
    std::size_t forEachGroup(MayBeDull mayBeDull, Visit visit) {
        std::size_t groups = 0;
        forEachBucket([&](std::uint32_t place, BucketEdge* edge, BucketEdge* end) {
            if (mayBeDull(place, edge, end) && arePairs(edge, end)) {
                groups += static_cast<std::size_t>(end - edge) / 2;
                return;
            }
            std::sort(edge, end);
            while (edge != end) {
                const BucketEdge* const first = edge;
                while (++edge != end && edge->otherPlace() == first->otherPlace()) {
                }
                visit(place, first, static_cast<const BucketEdge*>(edge));
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
