// A hash table from keys to indices. It stores indices only; keys stay where the caller has them.
// Open addressing with linear probing (D. E. Knuth, The Art of Computer Programming 3, 1973).
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace ctr::detail {

/// Finds the index of a key among the indices 0 to capacity - 1. Keys have an order and equality.
///
/// Probing ends after kLongestProbe slots. A key for which all of them are taken is stored in a
/// balanced tree, which hardly ever happens to ordinary keys, but a file may contain keys that were
/// chosen to collide. Expected constant time per operation, O(log n) for any keys. No slot is ever
/// freed, so a key stays in its slot. Nothing iterates over the table, so its order affects no
/// result.
///
/// The high bits of a slot, which the index does not need, hold bits of the hash, so that different
/// keys are mostly distinguished without reading either of them.
template <class Key> class HashedIndex {
public:
    static constexpr std::uint32_t kNone = 0xffffffffU;

    /// For the indices 0 to capacity - 1; capacity is below 2^31.
    explicit HashedIndex(std::size_t capacity)
        : indexMask_(std::bit_ceil(static_cast<std::uint32_t>(capacity) + 1) - 1),
          slots_(std::bit_ceil(capacity + capacity / 2 + 2), kNone),
          shift_(64 - std::countr_zero(slots_.size())) {}

    /// Prefetches the memory that an operation with this hash reads.
    void prefetch(std::uint64_t hash) const { __builtin_prefetch(&slots_[hash >> shift_]); }

    /// The index of a key, kNone if it was not added. The slot is chosen by the upper bits of the
    /// hash; keyOf(index) returns the key that an index was added with.
    template <class KeyOf>
    std::uint32_t find(std::uint64_t hash, const Key& key, KeyOf keyOf) const {
        const std::size_t at = slotOf(hash, key, keyOf);
        if (at == kNoSlot) {
            const auto found = overflow_.find(key);
            return found == overflow_.end() ? kNone : found->second;
        }
        return slots_[at] == kNone ? kNone : slots_[at] & indexMask_;
    }

    /// As find(), but a key that is not found is added with the given index.
    template <class KeyOf>
    std::uint32_t findOrAdd(std::uint64_t hash, const Key& key, std::uint32_t index, KeyOf keyOf) {
        const std::size_t at = slotOf(hash, key, keyOf);
        if (at == kNoSlot) {
            return overflow_.try_emplace(key, index).first->second;
        }
        if (slots_[at] == kNone) {
            slots_[at] = tagOf(hash) | index;
        }
        return slots_[at] & indexMask_;
    }

private:
    static constexpr int kLongestProbe = 64;
    static constexpr std::size_t kNoSlot = static_cast<std::size_t>(-1);

    std::uint32_t tagOf(std::uint64_t hash) const {
        return static_cast<std::uint32_t>(hash) & ~indexMask_;
    }

    /// The slot of the key, or the free one where it belongs; kNoSlot if other keys have taken all
    /// of them. No index has all bits below the tag set, so none equals the mark of a free slot.
    template <class KeyOf>
    std::size_t slotOf(std::uint64_t hash, const Key& key, const KeyOf& keyOf) const {
        const std::uint32_t tag = tagOf(hash);
        std::size_t at = hash >> shift_;
        for (int probe = 0; probe < kLongestProbe; ++probe) {
            const std::uint32_t slot = slots_[at];
            if (slot == kNone || ((slot & ~indexMask_) == tag && keyOf(slot & indexMask_) == key)) {
                return at;
            }
            at = (at + 1) & (slots_.size() - 1);
        }
        return kNoSlot;
    }

    std::uint32_t indexMask_;
    std::vector<std::uint32_t> slots_;
    int shift_;
    std::map<Key, std::uint32_t> overflow_;
};

} // namespace ctr::detail
