// A hash table of numbers, for what they stand for to be found by exact comparison.
#pragma once

#include "linesets/PositionOrder.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace ctr {

inline std::uint64_t HashOf(const PositionKey& key) {
    constexpr std::uint64_t kFirstFactor = 0x9e3779b97f4a7c15U;
    constexpr std::uint64_t kSecondFactor = 0xd6e8feb86659fd93U;
    std::uint64_t hash = (key.xy ^ (std::uint64_t{key.z} * kFirstFactor)) * kSecondFactor;
    hash ^= hash >> 32U;
    return hash * kFirstFactor;
}

/// Numbers below a given count, by keys with an order that they stand for.
///
/// Linear probing that ends after kLongestProbe slots: keys that find all of these taken go into a
/// sorted tree. As no slot is ever freed, a key is looked for where it was put. Ordinary keys as
/// good as never get there, but anyone who knows the hash can choose keys that do; n operations
/// take O(n log n) for them, too.
///
/// The high bits of a slot, which the number does not need, hold bits of the hash: numbers of other
/// things are mostly told apart without a look at them.
template <class Key> class HashedNumbers {
public:
    static constexpr std::uint32_t kNone = 0xffffffffU;

    /// Room for the numbers 0 to count - 1; count is below 2^31.
    explicit HashedNumbers(std::size_t count)
        : numberMask_(std::bit_ceil(static_cast<std::uint32_t>(count) + 1) - 1),
          slots_(std::bit_ceil(count + count / 2 + 2), kNone),
          shift_(64 - std::countr_zero(slots_.size())) {}

    /// Has the memory fetched that the hash will need.
    void prefetch(std::uint64_t hash) const { __builtin_prefetch(&slots_[hash >> shift_]); }

    /// The number of a key with this hash, kNone where there is none. keyOf(number) is the key that
    /// a number was added with.
    template <class KeyOf>
    std::uint32_t find(std::uint64_t hash, const Key& key, KeyOf keyOf) const {
        const std::size_t at = slotOf(hash, key, keyOf);
        if (at == kNoSlot) {
            const auto found = crowd_.find(key);
            return found == crowd_.end() ? kNone : found->second;
        }
        return slots_[at] == kNone ? kNone : slots_[at] & numberMask_;
    }

    /// The same, but a key that is not found is added with the number.
    template <class KeyOf>
    std::uint32_t findOrAdd(std::uint64_t hash, const Key& key, std::uint32_t number, KeyOf keyOf) {
        const std::size_t at = slotOf(hash, key, keyOf);
        if (at == kNoSlot) {
            return crowd_.try_emplace(key, number).first->second;
        }
        if (slots_[at] == kNone) {
            slots_[at] = tagOf(hash) | number;
        }
        return slots_[at] & numberMask_;
    }

private:
    static constexpr int kLongestProbe = 64;
    static constexpr std::size_t kNoSlot = static_cast<std::size_t>(-1);

    std::uint32_t tagOf(std::uint64_t hash) const {
        return static_cast<std::uint32_t>(hash) & ~numberMask_;
    }

    /// The slot of the number with the key, or the free one where it belongs; kNoSlot where others
    /// have taken all of them. No number is all ones below the tag, so none looks like a free slot.
    template <class KeyOf>
    std::size_t slotOf(std::uint64_t hash, const Key& key, const KeyOf& keyOf) const {
        const std::uint32_t tag = tagOf(hash);
        std::size_t at = hash >> shift_;
        for (int probe = 0; probe < kLongestProbe; ++probe) {
            const std::uint32_t slot = slots_[at];
            if (slot == kNone ||
                ((slot & ~numberMask_) == tag && keyOf(slot & numberMask_) == key)) {
                return at;
            }
            at = (at + 1) & (slots_.size() - 1);
        }
        return kNoSlot;
    }

    std::uint32_t numberMask_;
    std::vector<std::uint32_t> slots_;
    int shift_;
    std::map<Key, std::uint32_t> crowd_;
};

} // namespace ctr
