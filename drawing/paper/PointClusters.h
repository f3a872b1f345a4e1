// Points that are so close that they are one.
#pragma once

#include <ctr/detail/HashedIndex.h>

#include "drawing/paper/Paper.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kxcontour {

/// Gathers points around representatives.
///
/// A point goes to the first representative that is not farther away than the tolerance, or becomes
/// one itself. So a row of near points does not melt into one: every point stays within tolerance
/// of the one that stands for it.
class PointClusters {
public:
    /// expected: about how many points will come. tolerance in millimetres, 0 or more.
    PointClusters(double tolerance, std::size_t expected);

    /// The number of the point's representative. Expected constant time, logarithmic whatever the
    /// points are, while few representatives are in a few tolerances' distance.
    std::uint32_t add(Point point);

    /// By number, in the order in which they came.
    const std::vector<Point>& representatives() const { return points_; }

private:
    using CellKey = std::pair<std::int64_t, std::int64_t>; ///< Column and row.
    using CellIndex = ctr::detail::HashedIndex<CellKey>;

    struct Cell {
        CellKey key;
        std::uint32_t newest; ///< The last of its representatives.
    };

    CellKey cellAt(double x, double y) const;
    std::uint32_t indexOf(const CellKey& key) const;
    std::uint32_t firstIn(const CellKey& key, Point point) const;
    std::uint32_t found(Point point) const;
    void insert(Point point);
    void grow();

    double tolerance_;
    double cellSize_;
    std::vector<Point> points_;
    std::vector<std::uint32_t> older_; ///< By representative: the one before it in its cell.
    std::vector<Cell> cells_;          ///< Those in use.
    std::size_t capacity_;             ///< Of the index.
    CellIndex index_;                  ///< Of cells by their key.
};

} // namespace kxcontour
