// Merging of disjoint sets, compared with relabelling all members.
#include <ctr/detail/UnionFind.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

namespace {

using ctr::detail::UnionFind;

TEST(UnionFind, EveryIndexIsASetAtFirst) {
    UnionFind sets(5);
    for (std::uint32_t i = 0; i < 5; ++i) {
        EXPECT_EQ(sets.find(i), i);
    }
}

TEST(UnionFind, TheFirstRootRemains) {
    UnionFind sets(4);
    sets.merge(3, 0);
    sets.merge(1, 3);
    EXPECT_EQ(sets.find(0), 1U);
    EXPECT_EQ(sets.find(3), 1U);
    EXPECT_EQ(sets.find(2), 2U);
}

TEST(UnionFind, MergesAsRelabellingDoes) {
    constexpr std::uint32_t kCount = 300;
    test_support::Random random(5);
    UnionFind sets(kCount);
    std::vector<std::uint32_t> labels(kCount);
    std::iota(labels.begin(), labels.end(), 0U);
    for (int merge = 0; merge < 250; ++merge) {
        const auto root = sets.find(static_cast<std::uint32_t>(random.below(kCount)));
        const auto absorbed = sets.find(static_cast<std::uint32_t>(random.below(kCount)));
        sets.merge(root, absorbed);
        std::replace(labels.begin(), labels.end(), absorbed, root);
        for (std::uint32_t i = 0; i < kCount; ++i) {
            ASSERT_EQ(sets.find(i), labels[i]) << "after " << merge + 1 << " merges";
        }
    }
    std::sort(labels.begin(), labels.end());
    const auto roots = std::unique(labels.begin(), labels.end()) - labels.begin();
    EXPECT_GT(roots, 30);
    EXPECT_LT(roots, 200);
}

} // namespace
