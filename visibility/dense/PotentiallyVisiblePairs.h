// Pairs of triangles of a dense region whose intersection may be visible.
//
// Two triangles are a potentially visible pair if a block of cells in which one of them may be
// visible is a block around which the other one may be (RegionCover). Sets of triangles per block
// are bit vectors, so candidates of a triangle are found by a bitwise or: O(n^2 / 64) for n
// triangles plus the pairs, which in such regions is far less than all intersecting pairs.
#pragma once

#include "visibility/dense/RegionCover.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace ctr {

/// The pairs of one region whose intersection may be visible.
class PotentiallyVisiblePairs {
public:
    /// Only the counter is borrowed; see RegionCover for the conditions.
    PotentiallyVisiblePairs(const SlotTriangles& triangles,
                            const std::vector<std::uint32_t>& slots,
                            const ContactTolerance& tolerance,
                            ItemCounter& work);

    /// An estimate, from samples, of the number of pairs that forEach() visits, most of them twice.
    double estimate();
    /// Calls visit(slot, slot) for each pair once.
    void forEach(const std::function<void(std::uint32_t, std::uint32_t)>& visit);

private:
    using Word = std::uint64_t;
    static constexpr std::size_t kWordBits = 64;

    const std::vector<Word>& partnersOf(std::size_t own);
    bool areVisitedTwice(std::size_t own, std::size_t around) const;

    ItemCounter& work_;
    std::vector<std::uint32_t> slots_; ///< Of the triangles that are around any block.
    std::vector<RegionCover::Visibility> visibility_;
    std::vector<std::vector<Word>> around_; ///< By block: a bit per triangle around it.
    std::vector<Word> partners_;
};

} // namespace ctr
