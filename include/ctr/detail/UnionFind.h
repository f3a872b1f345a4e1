// Disjoint sets of indices that are merged (union-find with path halving; R. E. Tarjan and J. van
// Leeuwen, Worst-case analysis of set union algorithms, Journal of the ACM 31(2), 1984).
#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

namespace ctr::detail {

/// Each set is named by its root. Which of two roots remains is the caller's choice; any choice
/// gives an amortised O(log n) per operation.
class UnionFind {
public:
    UnionFind() = default;
    /// One set for each of the indices 0 to count - 1.
    explicit UnionFind(std::size_t count) : parents_(count) {
        std::iota(parents_.begin(), parents_.end(), 0U);
    }

    /// The root of the set that an index is in.
    std::uint32_t find(std::uint32_t index) {
        while (parents_[index] != index) {
            parents_[index] = parents_[parents_[index]];
            index = parents_[index];
        }
        return index;
    }

    /// Merges two sets, given by their roots; the first root is that of the merged set.
    void merge(std::uint32_t root, std::uint32_t absorbed) { parents_[absorbed] = root; }

private:
    std::vector<std::uint32_t> parents_;
};

} // namespace ctr::detail
