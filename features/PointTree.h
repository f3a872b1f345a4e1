// A tree of boxes over points, asked for those beside a segment.
#pragma once

#include <Wm4Foundation.h>

#include "features/Bounds.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// Splits the points at the median of the longest side of their box until few are left.
class PointTree {
public:
    explicit PointTree(std::vector<Wm4::Vector3<double>> points);

    /// The points that may be within a distance of a segment, and a few others, by their indices;
    /// appended to found. Stops once found has so many entries.
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
