// Long work in steps, after each of which somebody may stop it.
//
// goOn(n) is called after n units of work and says whether to go on. What is given up on the way is
// left unfinished.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ctr {

/// Some tenths of a millisecond.
constexpr std::size_t kUnitsPerStep = 4096;

struct GoOnAlways {
    constexpr bool operator()(std::size_t) const { return true; }
};

/// Calls work(begin, end) for one stretch of 0 to count after the other; false when given up.
template <class GoOn, class Work> bool InSteps(std::size_t count, GoOn&& goOn, Work work) {
    for (std::size_t begin = 0; begin < count; begin += kUnitsPerStep) {
        const std::size_t end = std::min(count, begin + kUnitsPerStep);
        work(begin, end);
        if (!goOn(end - begin)) {
            return false;
        }
    }
    return true;
}

/// Merges two sorted stretches of a list that follow each other; false when given up.
template <class T, class GoOn>
bool MergeInSteps(const std::vector<T>& from,
                  std::size_t begin,
                  std::size_t middle,
                  std::size_t end,
                  std::vector<T>& to,
                  GoOn&& goOn) {
    std::size_t first = begin;
    std::size_t second = middle;
    return InSteps(end - begin, goOn, [&](std::size_t out, std::size_t outEnd) {
        for (; out < outEnd; ++out) {
            const bool takesSecond =
                first == middle || (second != end && from[second] < from[first]);
            to[begin + out] = from[takesSecond ? second++ : first++];
        }
    });
}

template <class T> bool SortInSteps(std::vector<T>& elements, const GoOnAlways&) {
    std::sort(elements.begin(), elements.end());
    return true;
}

/// Sorts by pieces, which it merges; false when given up. The result is that of std::sort where
/// elements that neither is less than the other are the same. O(n log n).
template <class T, class GoOn> bool SortInSteps(std::vector<T>& elements, GoOn&& goOn) {
    constexpr std::size_t kPiece = 4 * kUnitsPerStep;
    const std::size_t count = elements.size();
    for (std::size_t begin = 0; begin < count; begin += kPiece) {
        const std::size_t end = std::min(count, begin + kPiece);
        std::sort(elements.begin() + static_cast<std::ptrdiff_t>(begin),
                  elements.begin() + static_cast<std::ptrdiff_t>(end));
        if (!goOn(4 * (end - begin))) {
            return false;
        }
    }
    std::vector<T> merged(count > kPiece ? count : 0);
    for (std::size_t length = kPiece; length < count; length *= 2) {
        for (std::size_t begin = 0; begin < count; begin += 2 * length) {
            if (!MergeInSteps(elements, begin, std::min(count, begin + length),
                              std::min(count, begin + 2 * length), merged, goOn)) {
                return false;
            }
        }
        elements.swap(merged);
    }
    return true;
}

} // namespace ctr
