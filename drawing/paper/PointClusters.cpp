// A spatial hash of grid cells, each with the list of its representatives. Nothing iterates over
// the table, so its order reaches no result.
#include "drawing/paper/PointClusters.h"

#include "drawing/paper/Plane.h"

#include <algorithm>
#include <utility>

namespace kxcontour {
namespace {

using namespace plane;

constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

/// Wide enough that most points are away from all borders and need a look into one cell only.
constexpr double kTolerancesPerCell = 8.0;

/// For a tolerance of 0, where only equal points meet.
constexpr double kLeastCell = 1e-3;

/// A quotient near 2^53 would lose its fraction; paper is smaller. The floor without a call, which
/// it takes on processors of the oldest kind.
std::int64_t CellOf(double coordinate, double size) {
    const double quotient = coordinate / size;
    const auto cell = static_cast<std::int64_t>(quotient);
    return cell - (static_cast<double>(cell) > quotient ? 1 : 0);
}

std::uint64_t HashOfCell(const std::pair<std::int64_t, std::int64_t>& key) {
    std::uint64_t hash = static_cast<std::uint64_t>(key.first) * 0x9e3779b97f4a7c15U ^
                         static_cast<std::uint64_t>(key.second) * 0xc2b2ae3d27d4eb4fU;
    hash ^= hash >> 29U;
    hash *= 0xbf58476d1ce4e5b9U;
    return hash ^ hash >> 32U;
}

} // namespace

PointClusters::PointClusters(double tolerance, std::size_t expected)
    : tolerance_(tolerance), cellSize_(std::max(kTolerancesPerCell * tolerance, kLeastCell)),
      capacity_(std::max<std::size_t>(expected, 16)), index_(capacity_) {
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

PointClusters::CellKey PointClusters::cellAt(double x, double y) const {
    return {CellOf(x, cellSize_), CellOf(y, cellSize_)};
}

/// Of a cell; CellIndex::kNone if it is not in use.
std::uint32_t PointClusters::indexOf(const CellKey& key) const {
    return index_.find(HashOfCell(key), key,
                       [this](std::uint32_t cell) -> const CellKey& { return cells_[cell].key; });
}

std::uint32_t PointClusters::firstIn(const CellKey& key, Point point) const {
    std::uint32_t first = kNone;
    const std::uint32_t cell = indexOf(key);
    if (cell == CellIndex::kNone) {
        return first;
    }
    // From the newest to the oldest: the last one that is near is the first.
    for (std::uint32_t i = cells_[cell].newest; i != kNone; i = older_[i]) {
        if (SquaredLength(points_[i] - point) <= tolerance_ * tolerance_) {
            first = i;
        }
    }
    return first;
}

std::uint32_t PointClusters::found(Point point) const {
    std::uint32_t first = kNone;
    const CellKey low = cellAt(point.x - tolerance_, point.y - tolerance_);
    const CellKey high = cellAt(point.x + tolerance_, point.y + tolerance_);
    for (std::int64_t row = low.second; row <= high.second; ++row) {
        for (std::int64_t column = low.first; column <= high.first; ++column) {
            first = std::min(first, firstIn({column, row}, point));
        }
    }
    return first;
}

void PointClusters::insert(Point point) {
    const auto representative = static_cast<std::uint32_t>(points_.size());
    const CellKey key = cellAt(point.x, point.y);
    std::uint32_t cell = indexOf(key);
    if (cell == CellIndex::kNone) {
        if (cells_.size() == capacity_) {
            grow();
        }
        cell = static_cast<std::uint32_t>(cells_.size());
        cells_.push_back({key, kNone});
        index_.findOrAdd(HashOfCell(key), key, cell,
                         [this](std::uint32_t i) -> const CellKey& { return cells_[i].key; });
    }
    points_.push_back(point);
    older_.push_back(std::exchange(cells_[cell].newest, representative));
}

void PointClusters::grow() {
    capacity_ *= 2;
    index_ = CellIndex(capacity_);
    for (std::uint32_t cell = 0; cell < cells_.size(); ++cell) {
        index_.findOrAdd(HashOfCell(cells_[cell].key), cells_[cell].key, cell,
                         [this](std::uint32_t i) -> const CellKey& { return cells_[i].key; });
    }
}

} // namespace kxcontour
