// Leader clustering (J. A. Hartigan, Clustering Algorithms, 1975, the leader algorithm) on a
// spatial hash: the cells of a uniform grid that hold representatives, each with a list of them. A
// point is compared with the representatives of its cell and, near a border of it, of up to three
// others.
#include "drawing/paper/PointClusters.h"

#include "drawing/paper/Plane.h"

#include <algorithm>

namespace kxcontour {
namespace {

using namespace plane;

constexpr std::uint32_t kNone = ctr::detail::HashedIndex<int>::kNone;

/// Wide enough that most points are away from all borders, so that one cell is searched.
constexpr double kTolerancesPerCell = 8.0;

/// For a tolerance of 0, which merges equal points only.
constexpr double kLeastCell = 1e-3;

/// Coordinates near 2^53 cells would lose their fraction; paper is smaller. Rounds down without
/// std::floor, which is a function call on old processors.
std::int64_t CellAt(double coordinate, double size) {
    const double position = coordinate / size;
    const auto cell = static_cast<std::int64_t>(position);
    return cell - (static_cast<double>(cell) > position ? 1 : 0);
}

std::uint64_t HashOf(const std::pair<std::int64_t, std::int64_t>& cell) {
    return PairHash(static_cast<std::uint64_t>(cell.first),
                    static_cast<std::uint64_t>(cell.second));
}

} // namespace

PointClusters::PointClusters(double tolerance, std::size_t most)
    : tolerance_(tolerance), cellSize_(std::max(kTolerancesPerCell * tolerance, kLeastCell)),
      cellIndex_(most) {}

std::uint32_t PointClusters::add(Point point) {
    const std::uint32_t known = found(point);
    if (known != kNone) {
        return known;
    }
    insert(point);
    return static_cast<std::uint32_t>(points_.size() - 1);
}

std::uint32_t PointClusters::firstIn(const CellKey& key, Point point) const {
    const std::uint32_t cell =
        cellIndex_.find(HashOf(key), key, [&](std::uint32_t i) { return cells_[i].key; });
    std::uint32_t first = kNone;
    // From the newest to the oldest: the last one that is near is the first.
    for (std::uint32_t i = cell == kNone ? kNone : cells_[cell].newest; i != kNone; i = older_[i]) {
        if (SquaredLength(points_[i] - point) <= tolerance_ * tolerance_) {
            first = i;
        }
    }
    return first;
}

std::uint32_t PointClusters::found(Point point) const {
    std::uint32_t first = kNone;
    const std::int64_t lastColumn = CellAt(point.x + tolerance_, cellSize_);
    const std::int64_t lastRow = CellAt(point.y + tolerance_, cellSize_);
    for (std::int64_t row = CellAt(point.y - tolerance_, cellSize_); row <= lastRow; ++row) {
        std::int64_t column = CellAt(point.x - tolerance_, cellSize_);
        for (; column <= lastColumn; ++column) {
            first = std::min(first, firstIn({column, row}, point));
        }
    }
    return first;
}

void PointClusters::insert(Point point) {
    const CellKey key{CellAt(point.x, cellSize_), CellAt(point.y, cellSize_)};
    const auto next = static_cast<std::uint32_t>(cells_.size());
    const std::uint32_t cell = cellIndex_.findOrAdd(HashOf(key), key, next,
                                                    [&](std::uint32_t i) { return cells_[i].key; });
    if (cell == next) {
        cells_.push_back({key, kNone});
    }
    older_.push_back(cells_[cell].newest);
    cells_[cell].newest = static_cast<std::uint32_t>(points_.size());
    points_.push_back(point);
}

} // namespace kxcontour
