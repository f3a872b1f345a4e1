// Clusters of nearby points.
#pragma once

#include <ctr/detail/HashedIndex.h>

#include "drawing/paper/Paper.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kxcontour {

/// A hash of two numbers. All bits of the result depend on those of both.
inline std::uint64_t PairHash(std::uint64_t first, std::uint64_t second) {
    const std::uint64_t hash = first * 0x9e3779b97f4a7c15U ^ second * 0xc2b2ae3d27d4eb4fU;
    return (hash ^ hash >> 32U) * 0xbf58476d1ce4e5b9U;
}

/// Assigns points to representatives.
///
/// A point is represented by the first representative within tolerance, or becomes a representative
/// itself. So every point is within tolerance of its representative, and a row of close points is
/// not merged into one.
class PointClusters {
public:
    /// most: no more points than this are added. tolerance in millimetres, 0 or more.
    PointClusters(double tolerance, std::size_t most);

    /// The number of the point's representative. Expected constant time, and O(log n) for any
    /// points, while few representatives are within a few tolerances.
    std::uint32_t add(Point point);

    /// By number, in the order in which they were added.
    const std::vector<Point>& representatives() const { return points_; }

private:
    using CellKey = std::pair<std::int64_t, std::int64_t>; ///< Column and row.

    struct Cell {
        CellKey key;
        std::uint32_t newest; ///< The last representative in it.
    };

    std::uint32_t firstIn(const CellKey& key, Point point) const;
    std::uint32_t found(Point point) const;
    void insert(Point point);

    double tolerance_;
    double cellSize_;
    std::vector<Point> points_;
    std::vector<std::uint32_t> older_; ///< By representative: the one before it in its cell.
    std::vector<Cell> cells_;          ///< Those in use.
    ctr::detail::HashedIndex<CellKey> cellIndex_;
};

} // namespace kxcontour
