// A spatial grid of lines: finds the lines near a given line.
#pragma once

#include "drawing/paper/Paper.h"

#include <algorithm>
#include <cmath>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kxcontour {

/// A rectangle divided into equal square cells, numbered row by row.
struct Raster {
    Point origin;
    double size = 1.0; ///< Of a cell, millimetres.
    int columns = 1;
    int rows = 1;

    std::size_t cellCount() const {
        return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
    }
};

/// Rows or columns; none when first > last.
struct CellRange {
    int first = 0;
    int last = -1;
};

/// Those of the count cells of a size, from 0 on, that intersect the range from low to high.
inline CellRange CellsBetween(double low, double high, double size, int count) {
    const double first = std::floor(low / size);
    const double last = std::floor(high / size);
    if (!(last >= 0.0) || !(first < count)) {
        return {};
    }
    return {first > 0.0 ? static_cast<int>(first) : 0,
            last < count - 1 ? static_cast<int>(last) : count - 1};
}

/// Calls visit(cell number) once for every cell of the raster within reach of the line (measured
/// along the axes), and possibly for cells slightly farther away. Stops and returns false when
/// visit returns false.
template <class tVisit>
bool VisitCells(const Raster& raster, const PageLine& line, double reach, tVisit visit) {
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
            if (!visit(static_cast<std::size_t>(row) * static_cast<std::size_t>(raster.columns) +
                       static_cast<std::size_t>(column))) {
                return false;
            }
        }
    }
    return true;
}

/// A two-level uniform grid for lines that are inserted one after the other. The sheet is divided
/// into about as many cells as lines are expected, and a cell with many lines is divided again as
/// they come, so that a dense figure on a large sheet costs no more than one that fills it, and
/// lines that are never inserted cost nothing.
class SpatialGrid {
public:
    /// An empty grid for lines like the expected ones. Lines have to be finite.
    SpatialGrid(const std::vector<PageLine>& expected, double reach);

    /// Returns the line's number, counted from 0. The line lies within the bounding box of the
    /// expected ones.
    std::uint32_t insert(const PageLine& line);

    const PageLine& line(std::uint32_t number) const { return lines_[number]; }

    /// Calls visit(number) once for every line that shares a cell with this one: in particular for
    /// all lines within reach of it. Dense cells are deferred until as many cells have been
    /// visited, or to the end, the fuller the later. Stops and returns false when visit returns
    /// false.
    template <class tVisit> bool visit(const PageLine& line, tVisit visit);

    /// The number of cells, and of lines in them, that all visits have examined.
    std::size_t work() const { return work_; }

private:
    static constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

    /// Its lines are contiguous in entries_. When there is no more room, they move to its end.
    struct Leaf {
        std::size_t first = 0;
        std::uint32_t size = 0;
        std::uint32_t room = 0;
    };

    /// One leaf, or parts * parts of them.
    struct Cell {
        std::uint32_t firstLeaf = kNone; ///< None as long as the cell is empty.
        std::uint32_t size = 0;          ///< Lines in it.
        std::uint32_t divideAt = 0;      ///< The size at which it is divided next.
        std::uint32_t parts = 1;
    };

    struct FullLeaf {
        std::uint32_t size = 0;
        std::uint32_t leaf = 0;

        auto operator<=>(const FullLeaf& other) const = default;
    };

    /// Calls visit(leaf) for the leaves of all used cells, or until it returns false.
    template <class tVisit>
    bool visitLeaves(const PageLine& line, double reach, tVisit visit) const {
        return VisitCells(raster_, line, reach, [&](std::size_t cell) {
            return cells_[cell].firstLeaf == kNone || visitLeavesOf(cell, line, reach, visit);
        });
    }

    template <class tVisit>
    bool visitLeavesOf(std::size_t cell, const PageLine& line, double reach, tVisit visit) const {
        const std::uint32_t first = cells_[cell].firstLeaf;
        if (cells_[cell].parts == 1) {
            return visit(first);
        }
        return VisitCells(partsOf(cell), line, reach, [&](std::size_t part) {
            return visit(first + static_cast<std::uint32_t>(part));
        });
    }

    template <class tVisit> bool visitLines(std::uint32_t leaf, tVisit visit);

    Raster partsOf(std::size_t cell) const;
    void insertInto(std::size_t cell, std::uint32_t number);
    void insertIntoLeaves(std::size_t cell, std::uint32_t number);
    void addLeaves(Cell& cell);
    void makeRoom(Leaf& leaf);
    void divide(std::size_t cell);
    std::vector<std::uint32_t> linesOf(const Cell& cell) const;

    /// A leaf with more lines than this is deferred.
    static constexpr std::uint32_t kFull = 16;

    double reach_;
    Raster raster_;
    std::vector<Cell> cells_;
    // Abandoned ranges stay allocated: they are no more than those in use.
    std::vector<Leaf> leaves_;
    std::vector<std::uint32_t> entries_;
    std::vector<PageLine> lines_;
    // Of visits:
    std::vector<std::uint32_t> lastVisit_; ///< By line: the number of the last one it came in.
    std::uint32_t visits_ = 0;
    std::vector<FullLeaf> fullLeaves_;
    std::size_t work_ = 0;
};

template <class tVisit> bool SpatialGrid::visit(const PageLine& line, tVisit visit) {
    ++visits_;
    fullLeaves_.clear();
    std::size_t cells = 0;
    std::size_t taken = 0; // Of full leaves.
    const bool goesOn = visitLeaves(line, 0.0, [&](std::uint32_t leaf) {
        ++work_;
        ++cells;
        const std::uint32_t size = leaves_[leaf].size;
        if (size <= kFull) {
            return visitLines(leaf, visit);
        }
        fullLeaves_.push_back({size, leaf});
        return cells < fullLeaves_[taken].size || visitLines(fullLeaves_[taken++].leaf, visit);
    });
    const auto rest = fullLeaves_.begin() + static_cast<std::ptrdiff_t>(taken);
    std::sort(rest, fullLeaves_.end());
    return goesOn && std::all_of(rest, fullLeaves_.end(), [&](const FullLeaf& full) {
               return visitLines(full.leaf, visit);
           });
}

template <class tVisit> bool SpatialGrid::visitLines(std::uint32_t leaf, tVisit visit) {
    const std::uint32_t* const first = entries_.data() + leaves_[leaf].first;
    work_ += leaves_[leaf].size;
    return std::all_of(first, first + leaves_[leaf].size, [&](std::uint32_t number) {
        const bool isNew = lastVisit_[number] != visits_;
        lastVisit_[number] = visits_;
        return !isNew || visit(number);
    });
}

} // namespace kxcontour
