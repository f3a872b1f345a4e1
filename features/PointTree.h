// A kd-tree over points for queries around segments (J. L. Bentley, Multidimensional binary search
// trees used for associative searching, Communications of the ACM 18(9), 1975).
#pragma once

#include <Wm4Foundation.h>

#include "features/Bounds.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// A kd-tree with bounding boxes, split at the median along the longest side of each box until few
/// points are left. Construction takes O(n log n).
class PointTree {
public:
    explicit PointTree(std::vector<Wm4::Vector3<double>> points);

    /// Appends to found the indices of all points within a distance of a segment, and of a few
    /// others. Stops once found has `most` entries or more.
    void findNear(const Wm4::Vector3<double>& start,
                  const Wm4::Vector3<double>& end,
                  double distance,
                  std::size_t most,
                  std::vector<std::uint32_t>& found) const;

private:
    struct Node {
        Bounds box;
        std::uint32_t first; ///< A range of order_.
        std::uint32_t end;
        std::uint32_t right; ///< The left child comes next; 0 for a leaf.
    };

    std::uint32_t build(std::uint32_t first, std::uint32_t end);

    std::vector<Wm4::Vector3<double>> points_;
    std::vector<std::uint32_t> order_;
    std::vector<Node> nodes_;
};

} // namespace ctr
