// A hash table of numbers, for what they stand for to be found by exact comparison.
#pragma once

#include "linesets/PositionOrder.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

inline std::uint64_t HashOf(const PositionKey& key) {
    constexpr std::uint64_t kFirstFactor = 0x9e3779b97f4a7c15U;
    constexpr std::uint64_t kSecondFactor = 0xd6e8feb86659fd93U;
    std::uint64_t hash = (key.xy ^ (std::uint64_t{key.z} * kFirstFactor)) * kSecondFactor;
    hash ^= hash >> 32U;
    return hash * kFirstFactor;
}

/// Numbers below a given count, by the hashes of what they stand for; linear probing.
///
/// The high bits of a slot, which the number does not need, hold bits of the hash: numbers of other
/// things are mostly told apart without a look at them.
class HashedNumbers {
public:
    static constexpr std::uint32_t kNone = 0xffffffffU;

    /// Room for the numbers 0 to count - 1; count is below 2^31.
    explicit HashedNumbers(std::size_t count)
        : numberMask_(std::bit_ceil(static_cast<std::uint32_t>(count) + 1) - 1),
          slots_(std::bit_ceil(count + count / 2 + 2), kNone),
          shift_(64 - std::countr_zero(slots_.size())) {}

    /// Has the memory fetched that the hash will need.
    void prefetch(std::uint64_t hash) const { __builtin_prefetch(&slots_[hash >> shift_]); }

    /// The number with this hash for which isSame(number); kNone where there is none.
    template <class IsSame> std::uint32_t find(std::uint64_t hash, IsSame isSame) const {
        const std::uint32_t slot = slots_[slotOf(hash, isSame)];
        return slot == kNone ? kNone : slot & numberMask_;
    }

    /// The same, but a number that is not found is added.
    template <class IsSame>
    std::uint32_t findOrAdd(std::uint64_t hash, std::uint32_t number, IsSame isSame) {
        std::uint32_t& slot = slots_[slotOf(hash, isSame)];
        if (slot == kNone) {
            slot = tagOf(hash) | number;
        }
        return slot & numberMask_;
    }

private:
    std::uint32_t tagOf(std::uint64_t hash) const {
        return static_cast<std::uint32_t>(hash) & ~numberMask_;
    }

    /// The slot of the number that is the same, or the free one where it belongs. No number is all
    /// ones below the tag, so none looks like a free slot.
    template <class IsSame> std::size_t slotOf(std::uint64_t hash, IsSame isSame) const {
        const std::uint32_t tag = tagOf(hash);
        std::size_t at = hash >> shift_;
        while (slots_[at] != kNone &&
               ((slots_[at] & ~numberMask_) != tag || !isSame(slots_[at] & numberMask_))) {
            at = (at + 1) & (slots_.size() - 1);
        }
        return at;
    }

    std::uint32_t numberMask_;
    std::vector<std::uint32_t> slots_;
    int shift_;
};

} // namespace ctr
