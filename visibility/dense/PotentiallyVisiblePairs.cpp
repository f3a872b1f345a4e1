// Sets of triangles per block as bit vectors, united block by block. O(n^2 / 64) for n triangles,
// plus the pairs. Conservative: RegionCover decides about visibility by margins.
#include "visibility/dense/PotentiallyVisiblePairs.h"

#include "visibility/Tuning.h"

#include <algorithm>
#include <bit>

namespace ctr {

PotentiallyVisiblePairs::PotentiallyVisiblePairs(const SlotTriangles& triangles,
                                                 const std::vector<std::uint32_t>& slots,
                                                 const ContactTolerance& tolerance,
                                                 ItemCounter& work)
    : work_(work), around_(RegionCover::Blocks().size()) {
    const RegionCover cover(triangles, slots, tolerance, work);
    for (const std::uint32_t slot : slots) {
        const RegionCover::Visibility visibility = cover.visibilityOf(triangles[slot], work);
        if (visibility.around.any()) {
            slots_.push_back(slot);
            visibility_.push_back(visibility);
        }
    }
    partners_.resize(slots_.size() / kWordBits + 1);
    std::fill(around_.begin(), around_.end(), partners_);
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        work.count(around_.size() / Tuning::kWordsPerWork);
        for (std::size_t block = 0; block < around_.size(); ++block) {
            const Word bit = visibility_[i].around[block] ? 1U : 0U;
            around_[block][i / kWordBits] |= bit << (i % kWordBits);
        }
    }
}

/// The triangles around the blocks in which a triangle may be visible, itself among them.
const std::vector<PotentiallyVisiblePairs::Word>&
PotentiallyVisiblePairs::partnersOf(std::size_t own) {
    std::fill(partners_.begin(), partners_.end(), 0);
    for (std::size_t block = 0; block < around_.size(); ++block) {
        if (visibility_[own].own[block]) {
            std::transform(partners_.begin(), partners_.end(), around_[block].begin(),
                           partners_.begin(), std::bit_or<>());
            work_.count(partners_.size() / Tuning::kWordsPerWork + 1);
        }
    }
    work_.count(partners_.size() / Tuning::kWordsPerWork + 1);
    return partners_;
}

double PotentiallyVisiblePairs::estimate() {
    const std::size_t step = slots_.size() / Tuning::kSampledTriangles + 1;
    std::size_t count = 0;
    for (std::size_t own = 0; own < slots_.size(); own += step) {
        for (const Word word : partnersOf(own)) {
            count += static_cast<std::size_t>(std::popcount(word));
        }
    }
    return static_cast<double>(count) * static_cast<double>(step);
}

bool PotentiallyVisiblePairs::areVisitedTwice(std::size_t own, std::size_t around) const {
    return (visibility_[around].own & visibility_[own].around).any();
}

void PotentiallyVisiblePairs::forEach(
    const std::function<void(std::uint32_t, std::uint32_t)>& visit) {
    for (std::size_t own = 0; own < slots_.size(); ++own) {
        std::size_t first = 0;
        for (Word word : partnersOf(own)) {
            work_.count(static_cast<std::size_t>(std::popcount(word)));
            for (; word != 0; word &= word - 1) {
                const std::size_t partner =
                    first + static_cast<std::size_t>(std::countr_zero(word));
                if (own < partner || (own > partner && !areVisitedTwice(own, partner))) {
                    visit(slots_[own], slots_[partner]);
                }
            }
            first += kWordBits;
        }
    }
}

} // namespace ctr
