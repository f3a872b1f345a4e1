// A 64-bit mask of the parts of a segment that are known to be occluded.
//
// Bit k stands for the parameters from k/64 to (k+1)/64. A traversal skips a subtree when all bits
// that the segment-box slab test reaches are set: it could add nothing. O(1) per operation. Bits
// are only set for parts strictly within an occluded interval, so the mask is conservative.
#pragma once

#include <ctr/IntervalTools.h>

#include "visibility/bvh/SegmentSlabClipper.h"

#include <array>
#include <cstdint>

namespace ctr {

class SegmentCoverage {
public:
    /// The bits of the parts in which the segment is in either child's box; 0 where it is not.
    static std::array<std::uint64_t, 2> bitsIn(const SegmentSlabClipper::Range& range) {
        const Int4 first = bitAt(range.enter);
        const Int4 last = bitAt(range.leave);
        const Int4 isIn = range.enter <= range.leave;
        const auto bits = [&](int k) {
            return isIn[k] == 0
                       ? std::uint64_t{0}
                       : (~std::uint64_t{0} >> (kBits - 1 - (last[k] - first[k]))) << first[k];
        };
        return {bits(0), bits(1)};
    }

    bool covers(std::uint64_t bits) const { return (bits & ~covered_) == 0; }
    void clear() { covered_ = 0; }
    /// Sets the bits of parts that lie strictly within an occluded interval.
    void add(const RationalInterval& interval);

private:
    static constexpr int kBits = 64;

    static Int4 bitAt(Float4 parameter) {
        const Float4 bits = Max(Min(parameter * kBits, Broadcast(kBits - 1)), Broadcast(0.0F));
        return __builtin_convertvector(bits, Int4);
    }

    std::uint64_t covered_ = 0;
};

} // namespace ctr
