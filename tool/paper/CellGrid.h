// A grid over the sheet that knows which lines come near each of its cells.
#pragma once

#include "paper/Paper.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace kxcontour {

/// A rectangle cut into equal square cells, numbered row by row.
struct CellRaster {
    Point origin;
    double size = 1.0; ///< Of a cell, millimetres.
    int columns = 1;
    int rows = 1;

    std::size_t cellCount() const {
        return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
    }
};

/// The rows or columns that a range touches; none when first > last.
struct CellRange {
    int first = 0;
    int last = -1;
};

/// Of count cells of that size from 0 on, those that the range from low to high touches.
inline CellRange CellsBetween(double low, double high, double size, int count) {
    const double first = std::floor(low / size);
    const double last = std::floor(high / size);
    if (!(last >= 0.0) || !(first < count)) {
        return {};
    }
    return {first > 0.0 ? static_cast<int>(first) : 0,
            last < count - 1 ? static_cast<int>(last) : count - 1};
}

/// Calls visit(cell number) once for every cell of the raster that comes within reach of the line
/// (measured along the axes), and possibly for cells that come a little less near.
template <class tVisit>
void VisitCells(const CellRaster& raster, const PaperLine& line, double reach, tVisit visit) {
    Point low{line.a.x - raster.origin.x, line.a.y - raster.origin.y};
    Point high{line.b.x - raster.origin.x, line.b.y - raster.origin.y};
    if (high.y < low.y) {
        std::swap(low, high);
    }
    const double rise = high.y - low.y;
    const CellRange rows = CellsBetween(low.y - reach, high.y + reach, raster.size, raster.rows);
    for (int row = rows.first; row <= rows.last; ++row) {
        // The piece of the line that is within reach of this row. Where it ends inside the line,
        // the line rises, so the quotient is between 0 and 1.
        const double bottom = row * raster.size - reach;
        const double top = (row + 1) * raster.size + reach;
        const double enters =
            bottom > low.y ? low.x + (high.x - low.x) * ((bottom - low.y) / rise) : low.x;
        const double leaves =
            top < high.y ? low.x + (high.x - low.x) * ((top - low.y) / rise) : high.x;
        const CellRange columns =
            CellsBetween(std::min(enters, leaves) - reach, std::max(enters, leaves) + reach,
                         raster.size, raster.columns);
        for (int column = columns.first; column <= columns.last; ++column) {
            visit(static_cast<std::size_t>(row) * static_cast<std::size_t>(raster.columns) +
                  static_cast<std::size_t>(column));
        }
    }
}

/// Which lines are near a place. Two levels: the sheet is cut into about as many cells as there are
/// lines, and every cell in which many lines meet is cut again, so that a dense figure on a large
/// sheet costs no more than one that fills it.
class CellGrid {
public:
    /// Numbers the lines as they come. Two lines that come within reach of each other share a cell
    /// that the thin one of visit() enters. Lines have to be finite; together they may be in 2^32 -
    /// 1 cells. O(n) time and memory for n lines that are short or few.
    CellGrid(const std::vector<PaperLine>& lines, double reach);

    /// Calls visit(numbers of lines in increasing order) for every cell that the line enters.
    /// A line that is in several of these cells comes several times.
    template <class tVisit> void visit(const PaperLine& line, tVisit visit) const {
        visitLeaves(line, 0.0, [&](std::size_t leaf) {
            visit(std::span<const std::uint32_t>(entries_.data() + starts_[leaf],
                                                 starts_[leaf + 1] - starts_[leaf]));
        });
    }

private:
    template <class tVisit>
    void visitLeaves(const PaperLine& line, double reach, tVisit visit) const {
        VisitCells(raster_, line, reach, [&](std::size_t cell) {
            const std::size_t first = firstLeaf_[cell];
            if (parts_[cell] == 1) {
                visit(first);
                return;
            }
            VisitCells(partsOf(cell), line, reach, [&](std::size_t part) { visit(first + part); });
        });
    }

    CellRaster partsOf(std::size_t cell) const;
    void cutCrowdedCells(const std::vector<PaperLine>& lines, double reach);
    void fillLeaves(const std::vector<PaperLine>& lines, double reach);

    CellRaster raster_;
    std::vector<std::uint16_t> parts_; ///< A cell is cut into so many columns and rows.
    // Half the size of std::size_t is twice the cells in the processor's cache.
    std::vector<std::uint32_t> firstLeaf_; ///< Of a cell; one more at the end: their number.
    std::vector<std::uint32_t> starts_;    ///< Of a leaf's lines in entries_; one more at the end.
    std::vector<std::uint32_t> entries_;
};

} // namespace kxcontour
