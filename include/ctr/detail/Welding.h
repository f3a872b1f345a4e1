// Welding: which of many items are equal, by a hash table. Only exactly equal keys are welded;
// there is no tolerance. Expected linear time.
#pragma once

#include <ctr/detail/HashedIndex.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr::detail {

/// For each of `count` items, the index of the first item with the same key. keyOf(i) is the key of
/// an item; the upper bits of hashOf(key) must depend on all of the key.
///
/// A hash table over keys that are compared in full (for positions, a spatial hash): expected
/// linear time, O(n log n) for any keys. The table exceeds the cache, so the slots of a block of
/// items are prefetched together.
template <class Key, class KeyOf, class HashOf>
std::vector<std::uint32_t> Weld(std::size_t count, KeyOf keyOf, HashOf hashOf) {
    constexpr std::size_t kBlock = 64;
    HashedIndex<Key> index(count);
    std::vector<std::uint32_t> firsts(count);
    Key keys[kBlock];
    std::uint64_t hashes[kBlock];
    for (std::size_t begin = 0; begin < count; begin += kBlock) {
        const std::size_t end = std::min(begin + kBlock, count);
        for (std::size_t i = begin; i < end; ++i) {
            keys[i - begin] = keyOf(i);
            hashes[i - begin] = hashOf(keys[i - begin]);
            index.prefetch(hashes[i - begin]);
        }
        for (std::size_t i = begin; i < end; ++i) {
            firsts[i] = index.findOrAdd(hashes[i - begin], keys[i - begin],
                                        static_cast<std::uint32_t>(i), keyOf);
        }
    }
    return firsts;
}

/// Replaces the results of Weld() by consecutive numbers in the order of the first items; returns
/// how many there are.
inline std::uint32_t NumberInOrder(std::vector<std::uint32_t>& welded) {
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < welded.size(); ++i) {
        welded[i] = welded[i] == i ? count++ : welded[welded[i]];
    }
    return count;
}

} // namespace ctr::detail
