// Builds the two levels of the grid in two walks over the lines: one counts the lines of the cells,
// one those of the leaves, and notes which they are.
#include "paper/CellGrid.h"

#include "paper/Plane.h"

#include <algorithm>
#include <limits>

namespace kxcontour {
namespace {

using namespace plane;

/// Cells with more lines than this are cut; leaves aim at a few lines each.
constexpr std::size_t kCrowd = 16;
constexpr double kLinesPerLeaf = 2.0;
constexpr int kMostParts = 1024;

/// A cell is never smaller than so many reaches, so that few lines are in a cell only because they
/// come near it.
constexpr double kLeastReaches = 4.0;

/// Lines are in some four cells and their neighbours on average, and not in many more.
constexpr double kCellsPerLine = 4.0;

/// Keeps the array of cells no larger than a few numbers per line.
constexpr double kMostCellsPerLine = 4.0;

struct Extent {
    Point low{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    Point high{-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    double lengths = 0.0;

    void add(Point p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
};

Extent ExtentOf(const std::vector<PaperLine>& lines) {
    Extent extent;
    for (const PaperLine& line : lines) {
        extent.add(line.a);
        extent.add(line.b);
        extent.lengths += Distance(line.a, line.b);
    }
    return extent;
}

int CellsAlong(double length, double size) {
    return static_cast<int>(length / size) + 1;
}

CellRaster RasterOver(const std::vector<PaperLine>& lines, double reach) {
    if (lines.empty()) {
        return {};
    }
    const Extent extent = ExtentOf(lines);
    const auto count = static_cast<double>(lines.size());
    const double width = extent.high.x - extent.low.x;
    const double height = extent.high.y - extent.low.y;
    // The last term keeps a figure that is a mere line from being cut into too many cells.
    const double size =
        std::max({std::sqrt(width * height / count), extent.lengths / count / kCellsPerLine,
                  kLeastReaches * reach, (width + height) / (kMostCellsPerLine * count)});
    CellRaster raster;
    raster.origin = extent.low;
    raster.size = size > 0.0 ? size : 1.0;
    raster.columns = CellsAlong(width, raster.size);
    raster.rows = CellsAlong(height, raster.size);
    return raster;
}

/// Turns counts into places: element i becomes the sum of all up to i, and one more element is the
/// sum of all.
void SumUp(std::vector<std::uint32_t>& counts) {
    std::uint32_t sum = 0;
    for (std::uint32_t& count : counts) {
        sum += count;
        count = sum;
    }
    counts.push_back(sum);
}

} // namespace

CellGrid::CellGrid(const std::vector<PaperLine>& lines, double reach)
    : raster_(RasterOver(lines, reach)) {
    cutCrowdedCells(lines, reach);
    fillLeaves(lines, reach);
}

CellRaster CellGrid::partsOf(std::size_t cell) const {
    const auto columns = static_cast<std::size_t>(raster_.columns);
    const std::size_t row = cell / columns;
    const std::size_t column = cell % columns;
    const Point corner{static_cast<double>(column) * raster_.size,
                       static_cast<double>(row) * raster_.size};
    const int parts = parts_[cell];
    return {raster_.origin + corner, raster_.size / parts, parts, parts};
}

void CellGrid::cutCrowdedCells(const std::vector<PaperLine>& lines, double reach) {
    std::vector<std::uint32_t> counts(raster_.cellCount());
    for (const PaperLine& line : lines) {
        VisitCells(raster_, line, reach, [&](std::size_t cell) { ++counts[cell]; });
    }
    const double mostParts = raster_.size / (kLeastReaches * reach);
    parts_.assign(counts.size(), 1);
    firstLeaf_.assign(1, 0);
    firstLeaf_.reserve(counts.size() + 1);
    for (std::size_t cell = 0; cell < counts.size(); ++cell) {
        if (counts[cell] > kCrowd) {
            const double wanted = std::sqrt(static_cast<double>(counts[cell]) / kLinesPerLeaf);
            parts_[cell] = static_cast<std::uint16_t>(
                std::clamp(std::min(wanted, mostParts), 1.0, static_cast<double>(kMostParts)));
        }
        const std::uint32_t parts = parts_[cell];
        firstLeaf_.push_back(firstLeaf_.back() + parts * parts);
    }
}

void CellGrid::fillLeaves(const std::vector<PaperLine>& lines, double reach) {
    starts_.assign(firstLeaf_.back(), 0);
    std::vector<std::uint32_t> leaves; // Of all lines, one line after the other.
    std::vector<std::uint32_t> ends;   // By line: where its leaves end.
    leaves.reserve(4 * lines.size());
    ends.reserve(lines.size());
    for (const PaperLine& line : lines) {
        visitLeaves(line, reach, [&](std::size_t leaf) {
            ++starts_[leaf];
            leaves.push_back(static_cast<std::uint32_t>(leaf));
        });
        ends.push_back(static_cast<std::uint32_t>(leaves.size()));
    }
    SumUp(starts_);
    entries_.resize(leaves.size());
    // From the last line to the first, each leaf fills from its end to its start: the starts end up
    // where they belong and the lines in increasing order.
    std::size_t next = leaves.size();
    for (std::size_t i = lines.size(); i-- > 0;) {
        for (const std::size_t first = i > 0 ? ends[i - 1] : 0; next > first;) {
            entries_[--starts_[leaves[--next]]] = static_cast<std::uint32_t>(i);
        }
    }
}

} // namespace kxcontour
