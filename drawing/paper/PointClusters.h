// Points that are so close that they are one.
#pragma once

#include "drawing/paper/Paper.h"

#include <cstddef>
#include <cstdint>
#include <map>
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
    struct Cell {
        std::int64_t column = 0;
        std::int64_t row = 0;
        std::uint32_t newest = 0; ///< Representative in it; kNone marks a free place.
    };

    std::size_t placeOf(std::int64_t column, std::int64_t row) const;
    std::uint32_t newestIn(std::int64_t column, std::int64_t row) const;
    std::uint32_t& newestOf(std::int64_t column, std::int64_t row);
    std::uint32_t firstIn(std::int64_t column, std::int64_t row, Point point) const;
    std::uint32_t found(Point point) const;
    void insert(Point point);
    void grow();

    double tolerance_;
    double cellSize_;
    std::vector<Point> points_;
    std::vector<std::uint32_t> older_; ///< By representative: the one before it in its cell.
    std::vector<Cell> cells_;          ///< Open addressing; a power of two of them.
    /// The newest of cells that found a long row of places taken, as a file can choose them.
    std::map<std::pair<std::int64_t, std::int64_t>, std::uint32_t> crowd_;
    std::size_t usedCells_ = 0;
};

} // namespace kxcontour
