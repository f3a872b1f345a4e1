// A hash table of grid cells, each with the list of its representatives. Nothing ever walks over
// the table, so the order of the cells in it reaches no result.
#include "drawing/paper/PointClusters.h"

#include "drawing/paper/Plane.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace kxcontour {
namespace {

using namespace plane;

constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);
constexpr std::size_t kCrowded = static_cast<std::size_t>(-1);

/// At half full, ordinary cells are hardly ever farther from their place.
constexpr int kLongestProbe = 64;

/// Wide enough that most points are away from all borders and need a look into one cell only.
constexpr double kTolerancesPerCell = 8.0;

/// For a tolerance of 0, where only equal points meet.
constexpr double kLeastCell = 1e-3;

/// A place near 2^53 cells from zero would lose its fraction; paper is smaller. The floor without
/// a call, which it takes on processors of the oldest kind.
std::int64_t CellOf(double coordinate, double size) {
    const double place = coordinate / size;
    const auto cell = static_cast<std::int64_t>(place);
    return cell - (static_cast<double>(cell) > place ? 1 : 0);
}

} // namespace

PointClusters::PointClusters(double tolerance, std::size_t expected)
    : tolerance_(tolerance), cellSize_(std::max(kTolerancesPerCell * tolerance, kLeastCell)),
      cells_(std::bit_ceil(std::max<std::size_t>(expected, 16)), Cell{0, 0, kNone}) {
    points_.reserve(expected);
    older_.reserve(expected);
}

std::uint32_t PointClusters::add(Point point) {
    const std::uint32_t known = found(point);
    if (known != kNone) {
        return known;
    }
    insert(point);
    return static_cast<std::uint32_t>(points_.size() - 1);
}

/// The cell's place in the table, or the free place where it would go; kCrowded where others have
/// taken the row. No place is ever freed, so a cell stays where it was put until the table grows.
std::size_t PointClusters::placeOf(std::int64_t column, std::int64_t row) const {
    std::uint64_t hash = static_cast<std::uint64_t>(column) * 0x9e3779b97f4a7c15U ^
                         static_cast<std::uint64_t>(row) * 0xc2b2ae3d27d4eb4fU;
    hash ^= hash >> 29U;
    hash *= 0xbf58476d1ce4e5b9U;
    hash ^= hash >> 32U;
    const std::size_t mask = cells_.size() - 1;
    std::size_t place = hash & mask;
    for (int probe = 0; probe < kLongestProbe; ++probe) {
        const Cell& cell = cells_[place];
        if (cell.newest == kNone || (cell.column == column && cell.row == row)) {
            return place;
        }
        place = (place + 1) & mask;
    }
    return kCrowded;
}

std::uint32_t PointClusters::newestIn(std::int64_t column, std::int64_t row) const {
    const std::size_t place = placeOf(column, row);
    if (place != kCrowded) {
        return cells_[place].newest;
    }
    const auto found = crowd_.find({column, row});
    return found == crowd_.end() ? kNone : found->second;
}

/// Of a cell that is in use from now on; kNone in a new one.
std::uint32_t& PointClusters::newestOf(std::int64_t column, std::int64_t row) {
    const std::size_t place = placeOf(column, row);
    if (place == kCrowded) {
        return crowd_.try_emplace({column, row}, kNone).first->second;
    }
    Cell& cell = cells_[place];
    if (cell.newest == kNone) {
        cell.column = column;
        cell.row = row;
        ++usedCells_;
    }
    return cell.newest;
}

std::uint32_t PointClusters::firstIn(std::int64_t column, std::int64_t row, Point point) const {
    std::uint32_t first = kNone;
    // From the newest to the oldest: the last one that is near is the first.
    for (std::uint32_t i = newestIn(column, row); i != kNone; i = older_[i]) {
        if (SquaredLength(points_[i] - point) <= tolerance_ * tolerance_) {
            first = i;
        }
    }
    return first;
}

std::uint32_t PointClusters::found(Point point) const {
    std::uint32_t first = kNone;
    const std::int64_t lastColumn = CellOf(point.x + tolerance_, cellSize_);
    const std::int64_t lastRow = CellOf(point.y + tolerance_, cellSize_);
    for (std::int64_t row = CellOf(point.y - tolerance_, cellSize_); row <= lastRow; ++row) {
        std::int64_t column = CellOf(point.x - tolerance_, cellSize_);
        for (; column <= lastColumn; ++column) {
            first = std::min(first, firstIn(column, row, point));
        }
    }
    return first;
}

void PointClusters::insert(Point point) {
    if (2 * (usedCells_ + 1) > cells_.size()) {
        grow();
    }
    std::uint32_t& newest = newestOf(CellOf(point.x, cellSize_), CellOf(point.y, cellSize_));
    older_.push_back(newest);
    newest = static_cast<std::uint32_t>(points_.size());
    points_.push_back(point);
}

void PointClusters::grow() {
    std::vector<Cell> before(2 * cells_.size(), Cell{0, 0, kNone});
    before.swap(cells_);
    const auto crowdBefore = std::exchange(crowd_, {});
    usedCells_ = 0;
    for (const Cell& cell : before) {
        if (cell.newest != kNone) {
            newestOf(cell.column, cell.row) = cell.newest;
        }
    }
    for (const auto& [cell, newest] : crowdBefore) {
        newestOf(cell.first, cell.second) = newest;
    }
}

} // namespace kxcontour
