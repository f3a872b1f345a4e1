// A two-level uniform grid (J. L. Bentley and J. H. Friedman, Data structures for range searching,
// ACM Computing Surveys 11, 1979, the cell method). Insertion and search follow a line through the
// rows of the grid. A cell is divided when it has become dense, and again each time that its
// lines have quadrupled, so that at most a third of all entries is moved.
#include "drawing/paper/SpatialGrid.h"

#include "drawing/paper/Plane.h"

#include <algorithm>

namespace kxcontour {
namespace {

using namespace plane;

/// A cell with this many lines is divided so that a leaf has about one line, and again when it has
/// about four.
constexpr std::uint32_t kDenseCell = 16;
constexpr std::uint32_t kGrowthToDivide = 4;
constexpr double kMostParts = 1024.0;

/// The initial room of a leaf.
constexpr std::uint32_t kFirstRoom = 4;

/// The least size of a cell in reaches, so that few lines are in a cell only because they pass near
/// it.
constexpr double kLeastReaches = 4.0;

/// The average number of cells that a line crosses.
constexpr double kCellsPerLine = 4.0;

/// Bounds the memory of the array of cells.
constexpr double kMostCellsPerLine = 4.0;

int CellsAlong(double length, double size) {
    return static_cast<int>(length / size) + 1;
}

Raster RasterOver(const std::vector<PageLine>& lines, double reach) {
    if (lines.empty()) {
        return {};
    }
    Bounds bounds;
    double lengths = 0.0;
    for (const PageLine& line : lines) {
        bounds.add(line.a);
        bounds.add(line.b);
        lengths += Distance(line.a, line.b);
    }
    const auto count = static_cast<double>(lines.size());
    const auto [width, height] = bounds.size();
    // The last term bounds the number of cells of a figure that is nearly a line.
    const double size =
        std::max({std::sqrt(width * height / count), lengths / count / kCellsPerLine,
                  kLeastReaches * reach, (width + height) / (kMostCellsPerLine * count)});
    Raster raster;
    raster.origin = bounds.low;
    raster.size = size > 0.0 ? size : 1.0;
    raster.columns = CellsAlong(width, raster.size);
    raster.rows = CellsAlong(height, raster.size);
    return raster;
}

} // namespace

SpatialGrid::SpatialGrid(const std::vector<PageLine>& expected, double reach)
    : reach_(reach), raster_(RasterOver(expected, reach)), cells_(raster_.cellCount()) {
    lines_.reserve(expected.size());
    lastVisit_.reserve(expected.size());
}

std::uint32_t SpatialGrid::insert(const PageLine& line) {
    const auto number = static_cast<std::uint32_t>(lines_.size());
    lines_.push_back(line);
    lastVisit_.push_back(visits_);
    VisitCells(raster_, line, reach_, [&](std::size_t cell) {
        insertInto(cell, number);
        return true;
    });
    return number;
}

Raster SpatialGrid::partsOf(std::size_t cell) const {
    const auto columns = static_cast<std::size_t>(raster_.columns);
    const std::size_t row = cell / columns;
    const std::size_t column = cell % columns;
    const Point corner{static_cast<double>(column) * raster_.size,
                       static_cast<double>(row) * raster_.size};
    const auto parts = static_cast<int>(cells_[cell].parts);
    return {raster_.origin + corner, raster_.size / parts, parts, parts};
}

void SpatialGrid::insertInto(std::size_t cell, std::uint32_t number) {
    Cell& at = cells_[cell];
    if (at.firstLeaf == kNone) {
        at.divideAt = kDenseCell;
        addLeaves(at);
    }
    insertIntoLeaves(cell, number);
    if (++at.size == at.divideAt) {
        divide(cell);
    }
}

void SpatialGrid::addLeaves(Cell& cell) {
    cell.firstLeaf = static_cast<std::uint32_t>(leaves_.size());
    leaves_.resize(leaves_.size() + std::size_t{cell.parts} * cell.parts);
}

void SpatialGrid::insertIntoLeaves(std::size_t cell, std::uint32_t number) {
    visitLeavesOf(cell, lines_[number], reach_, [&](std::uint32_t at) {
        Leaf& leaf = leaves_[at];
        if (leaf.size == leaf.room) {
            makeRoom(leaf);
        }
        entries_[leaf.first + leaf.size++] = number;
        return true;
    });
}

void SpatialGrid::makeRoom(Leaf& leaf) {
    const std::size_t first = entries_.size();
    leaf.room = leaf.room == 0 ? kFirstRoom : 2 * leaf.room;
    entries_.resize(entries_.size() + leaf.room);
    std::copy_n(entries_.data() + leaf.first, leaf.size, entries_.data() + first);
    leaf.first = first;
}

void SpatialGrid::divide(std::size_t cell) {
    Cell& at = cells_[cell];
    at.divideAt *= kGrowthToDivide;
    const double most = std::min(raster_.size / (kLeastReaches * reach_), kMostParts);
    const double wanted = std::sqrt(static_cast<double>(at.size));
    const auto parts = static_cast<std::uint32_t>(std::max(std::min(wanted, most), 1.0));
    if (parts <= at.parts) {
        return;
    }
    const std::vector<std::uint32_t> numbers = linesOf(at);
    at.parts = parts;
    addLeaves(at);
    for (const std::uint32_t number : numbers) {
        insertIntoLeaves(cell, number);
    }
}

/// In increasing order.
std::vector<std::uint32_t> SpatialGrid::linesOf(const Cell& cell) const {
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t part = 0; part < cell.parts * cell.parts; ++part) {
        const Leaf& leaf = leaves_[cell.firstLeaf + part];
        const std::uint32_t* const first = entries_.data() + leaf.first;
        numbers.insert(numbers.end(), first, first + leaf.size);
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

} // namespace kxcontour
