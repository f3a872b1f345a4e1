// Keys and their indices, compared with a balanced tree.
#include <ctr/detail/HashedIndex.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace {

using test_support::Random;

using Index = ctr::detail::HashedIndex<int>;

std::uint64_t SpreadHash(int key) {
    return static_cast<std::uint64_t>(key) * 0x9e3779b97f4a7c15U;
}

std::uint64_t SameHash(int) {
    return 0x123456789abcdef0U;
}

// Numbers keys in the order in which they come and compares with a tree.
void ExpectNumbersKeys(std::uint64_t (*hashOf)(int), std::size_t count, int range) {
    Random random(3);
    Index index(count);
    std::vector<int> keys;
    std::map<int, std::uint32_t> expected;
    const auto keyOf = [&keys](std::uint32_t number) { return keys[number]; };
    for (std::size_t i = 0; i < count; ++i) {
        const int key = random.below(range);
        const auto next = static_cast<std::uint32_t>(keys.size());
        const auto [known, isNew] = expected.try_emplace(key, next);
        ASSERT_EQ(index.find(hashOf(key), key, keyOf), isNew ? Index::kNone : known->second);
        ASSERT_EQ(index.findOrAdd(hashOf(key), key, next, keyOf), known->second);
        if (isNew) {
            keys.push_back(key);
        }
        ASSERT_EQ(index.find(hashOf(key), key, keyOf), known->second);
    }
    EXPECT_GT(keys.size(), count / 4);
    EXPECT_LT(keys.size(), count);
}

TEST(HashedIndex, NumbersKeysAsATreeDoes) {
    ExpectNumbersKeys(SpreadHash, 20000, 20000);
}

TEST(HashedIndex, NumbersKeysThatAllCollide) {
    ExpectNumbersKeys(SameHash, 2000, 2000);
}

TEST(HashedIndex, FindsNothingBeforeItIsAdded) {
    const Index index(4);
    EXPECT_EQ(index.find(SpreadHash(7), 7, [](std::uint32_t) { return 7; }), Index::kNone);
}

} // namespace
