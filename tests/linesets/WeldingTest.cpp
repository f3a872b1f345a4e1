// Welding of equal keys, compared with a std::map.
#include <ctr/detail/Welding.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace {

std::vector<int> RandomKeys(std::size_t count, int range) {
    test_support::Random random(9);
    std::vector<int> keys(count);
    for (int& key : keys) {
        key = random.below(range);
    }
    return keys;
}

std::vector<std::uint32_t> Welded(const std::vector<int>& keys) {
    return ctr::detail::Weld<int>(
        keys.size(), [&keys](std::size_t i) { return keys[i]; },
        [](int key) { return static_cast<std::uint64_t>(key) * 0x9e3779b97f4a7c15U; });
}

TEST(Weld, GivesTheFirstOfEqualKeys) {
    for (const std::size_t count : {0U, 1U, 63U, 64U, 65U, 5000U}) {
        const std::vector<int> keys = RandomKeys(count, 1000);
        const std::vector<std::uint32_t> welded = Welded(keys);
        ASSERT_EQ(welded.size(), count);
        std::map<int, std::uint32_t> firsts;
        for (std::uint32_t i = 0; i < count; ++i) {
            ASSERT_EQ(welded[i], firsts.try_emplace(keys[i], i).first->second);
        }
    }
}

TEST(NumberInOrder, CountsTheFirstsAndNumbersThemInOrder) {
    const std::vector<int> keys = RandomKeys(5000, 1000);
    std::vector<std::uint32_t> numbers = Welded(keys);
    const std::uint32_t count = ctr::detail::NumberInOrder(numbers);
    std::map<int, std::uint32_t> expected;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const auto next = static_cast<std::uint32_t>(expected.size());
        ASSERT_EQ(numbers[i], expected.try_emplace(keys[i], next).first->second);
    }
    EXPECT_EQ(count, expected.size());
}

} // namespace
