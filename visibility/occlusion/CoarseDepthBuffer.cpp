// Conservative rasterisation of triangles into the buffer, and lookups of segments.
//
// Edge functions are integers, stepped from row to row (J. Pineda, A parallel algorithm for polygon
// rasterization, SIGGRAPH 1988), and have to exceed kCellInset; depths are doubles, rounded up by
// kDepthError (ErrorBounds.h, section 5). O(c) for c cells rasterised; a lookup visits the cells
// that the segment crosses.
#include "visibility/occlusion/CoarseDepthBuffer.h"

#include "visibility/ErrorBounds.h"
#include "visibility/Tuning.h"
#include "visibility/baking/BvhNode.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace ctr {
namespace {

/// The largest number of cells per axis: for few triangles, clearing many would not pay.
std::int64_t MostCells(std::size_t triangles) {
    return static_cast<std::int64_t>(
        std::min(error_bounds::kMostCells,
                 Tuning::kCellsPerRoot * std::sqrt(static_cast<double>(triangles))));
}

/// Whether a box is within 2^29 steps of the origin on screen, as on all grids within bounds:
/// products of two differences, and sums of a few of them, fit in 64 bits.
bool FitsProducts(const kx::kxBBox& box) {
    constexpr float kFarthest = error_bounds::kFarthestProduct;
    return box.min[0] >= -kFarthest && box.min[1] >= -kFarthest && box.max[0] <= kFarthest &&
           box.max[1] <= kFarthest && box.min[0] <= box.max[0];
}

/// A face of a box in steps. A caller's box may extend beyond the grid.
std::int64_t StepsOf(float bound) {
    constexpr auto kFar = static_cast<float>(error_bounds::kGridExtent);
    return static_cast<std::int64_t>(std::clamp(bound, -kFar, kFar));
}

/// Columns of a row, relative to the first column of a triangle's box.
struct ColumnSpan {
    double from;
    double to;
};

/// The edge function of a triangle at the outermost corner of a cell, stepped from row to row.
class CellEdgeFunction {
public:
    /// x, y: the lower left corner of the first cell; size: the length of a cell.
    CellEdgeFunction(const BakedVertex& p,
                     const BakedVertex& q,
                     std::int64_t x,
                     std::int64_t y,
                     std::int64_t size) {
        const GridVector edge = Difference(q, p);
        value_ = edge[0] * (y - p.y) - edge[1] * (x - p.x) +
                 std::min(std::int64_t{0}, edge[0] * size) +
                 std::min(std::int64_t{0}, -edge[1] * size) -
                 error_bounds::kCellInset * (std::abs(edge[0]) + std::abs(edge[1]));
        perRow_ = edge[0] * size;
        perColumn_ = -edge[1] * size;
        columns_ = perColumn_ != 0 ? -1.0 / static_cast<double>(perColumn_) : 0.0;
    }

    /// Keeps the cells of the row that are wholly inside.
    void narrow(ColumnSpan& span) const {
        constexpr double kMargin = error_bounds::kColumnMargin;
        const double crossing = static_cast<double>(value_) * columns_ + 1.0;
        if (perColumn_ > 0) {
            span.from = std::max(span.from, crossing + kMargin);
        } else if (perColumn_ < 0) {
            span.to = std::min(span.to, crossing - kMargin);
        } else if (value_ < 0) {
            span.to = 0.0;
        }
    }
    void nextRow() { value_ += perRow_; }

private:
    std::int64_t value_;
    std::int64_t perRow_;
    std::int64_t perColumn_;
    double columns_;
};

} // namespace

CoarseDepthBuffer::CoarseDepthBuffer(const BakedTriangles& baked,
                                     const OccluderBvh& bvh,
                                     ItemCounter& work) {
    const SlotTriangles triangles = bvh.triangles();
    if (triangles.empty() || !bvh.boxesAreConservative() || !FitsProducts(bvh.extent())) {
        return;
    }
    tolerance_ = ContactTolerance(baked);
    layOutCells(bvh.extent(), triangles.size());
    SlotTriangle storage;
    for (const std::uint32_t slot : selectTriangles(baked, triangles, work)) {
        const BakedVertex* const corners = triangles.get(slot, storage).corners;
        work.count(static_cast<std::size_t>(cellsWithin(corners).rows()));
        fill(corners);
    }
    const auto empty = std::count(depths_.begin(), depths_.end(), kEmptyCell);
    isNearlyEmpty_ = (columns_ * rows_ - empty) * Tuning::kCellsPerFilledCell < columns_ * rows_;
}

/// Chooses the finest cells allowed. Faces of the box are rounded outwards, as floats round large
/// coordinates.
void CoarseDepthBuffer::layOutCells(const kx::kxBBox& box, std::size_t triangles) {
    const auto below = [](double value) {
        return static_cast<std::int64_t>(
            std::floor(value - std::abs(value) * error_bounds::kFaceShare));
    };
    originX_ = below(box.min[0]);
    originY_ = below(box.min[1]);
    columns_ = 1 - below(-box.max[0]) - originX_;
    rows_ = 1 - below(-box.max[1]) - originY_;
    while (std::max(columns_, rows_) > MostCells(triangles)) {
        coarsen();
    }
}

void CoarseDepthBuffer::coarsen() {
    ++shift_;
    columns_ = (columns_ - 1) / 2 + 1;
    rows_ = (rows_ - 1) / 2 + 1;
}

/// The slots of triangles whose boxes contain whole cells. Many large triangles over each other
/// would take long to rasterise: the buffer becomes coarser for them.
std::vector<std::uint32_t> CoarseDepthBuffer::selectTriangles(const BakedTriangles& baked,
                                                              const SlotTriangles& triangles,
                                                              ItemCounter& work) {
    Selection selection;
    select(baked, 0, triangles, selection, work);
    while (selection.cells > Tuning::kFreeCells + Tuning::kCellsPerTriangle * triangles.size()) {
        coarsen();
        selection.cells /= 4;
    }
    depths_.assign(static_cast<std::size_t>(columns_ * rows_), kEmptyCell);
    return selection.slots;
}

/// A subtree whose box contains no whole cell has no such triangle.
void CoarseDepthBuffer::select(const BakedTriangles& baked,
                               unsigned int node,
                               const SlotTriangles& triangles,
                               Selection& selection,
                               ItemCounter& work) const {
    const BvhNode& here = baked.bvh.nodes[node];
    const auto along = [&box = here.box](int axis) {
        return Extent{StepsOf(box.min[axis]), StepsOf(box.max[axis])};
    };
    const bool isEmpty = here.box.min[0] > here.box.max[0];
    if (isEmpty || cellsWithin(along(0), along(1)).none()) {
        return;
    }
    if (!IsLeaf(here)) {
        select(baked, FirstChild(here), triangles, selection, work);
        select(baked, SecondChild(here), triangles, selection, work);
        return;
    }
    work.count(here.second);
    SlotTriangle storage;
    for (unsigned int slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
        const Cells cells = cellsWithin(triangles.get(slot, storage).corners);
        if (!cells.none()) {
            selection.slots.push_back(slot);
            selection.cells += static_cast<std::size_t>(cells.columns() * cells.rows());
        }
    }
}

/// The cells wholly within a rectangle.
CoarseDepthBuffer::Cells CoarseDepthBuffer::cellsWithin(Extent x, Extent y) const {
    const std::int64_t last = (std::int64_t{1} << shift_) - 1;
    return {std::max((x.min - originX_ + last) >> shift_, std::int64_t{0}),
            std::min((x.max - originX_) >> shift_, columns_),
            std::max((y.min - originY_ + last) >> shift_, std::int64_t{0}),
            std::min((y.max - originY_) >> shift_, rows_)};
}

CoarseDepthBuffer::Extent CoarseDepthBuffer::extentOf(const BakedVertex* corners,
                                                      std::int32_t BakedVertex::*axis) {
    const auto [least, most] = std::minmax({corners[0].*axis, corners[1].*axis, corners[2].*axis});
    return {least, most};
}

CoarseDepthBuffer::Cells CoarseDepthBuffer::cellsWithin(const BakedVertex* corners) const {
    return cellsWithin(extentOf(corners, &BakedVertex::x), extentOf(corners, &BakedVertex::y));
}

void CoarseDepthBuffer::fill(const BakedVertex* corners) {
    const Cells cells = cellsWithin(corners);
    const GridVector normal = NormalOf(corners);
    if (cells.none() || normal[2] >= 0) {
        return;
    }
    const std::int64_t size = std::int64_t{1} << shift_;
    const std::int64_t x = originX_ + (cells.firstX << shift_);
    std::int64_t y = originY_ + (cells.firstY << shift_);
    CellEdgeFunction edges[3] = {CellEdgeFunction(corners[0], corners[1], x, y, size),
                                 CellEdgeFunction(corners[1], corners[2], x, y, size),
                                 CellEdgeFunction(corners[2], corners[0], x, y, size)};
    const double depthPerX = -static_cast<double>(normal[0]) / static_cast<double>(normal[2]);
    const double depthPerY = -static_cast<double>(normal[1]) / static_cast<double>(normal[2]);
    const auto cell = static_cast<double>(size);
    const double errorBound = OccluderBvh::depthErrorBound(normal) + tolerance_.depthOf(normal);
    const double farthest =
        static_cast<double>(extentOf(corners, &BakedVertex::z).max) + errorBound;
    // At the farthest corner of a cell, with the error bound of the doubles.
    const double first = corners[0].z + depthPerX * static_cast<double>(x - corners[0].x) +
                         std::max(0.0, depthPerX * cell) + std::max(0.0, depthPerY * cell) +
                         error_bounds::kDepthError + errorBound;
    for (std::int64_t row = cells.firstY; row < cells.endY; ++row, y += size) {
        ColumnSpan span{0.0, static_cast<double>(cells.columns())};
        for (CellEdgeFunction& edge : edges) {
            edge.narrow(span);
            edge.nextRow();
        }
        if (span.from < span.to) {
            const double depth = first + depthPerY * static_cast<double>(y - corners[0].y);
            fillRow(&depths_[static_cast<std::size_t>(row * columns_ + cells.firstX)],
                    static_cast<int>(span.from), static_cast<int>(span.to), depth, depthPerX * cell,
                    farthest);
        }
    }
}

/// Fills cells up to a depth that changes linearly, or up to the farthest depth where that is
/// nearer.
void CoarseDepthBuffer::fillRow(
    std::int32_t* row, int from, int to, double depth, double perCell, double farthest) {
    constexpr double kLeast = std::numeric_limits<std::int32_t>::min();
    const double most = std::min(farthest, kEmptyCell - 1.0);
    for (int cell = from; cell < to; ++cell) {
        const double here = std::max(std::min(depth + perCell * cell, most), kLeast);
        const auto filled = static_cast<std::int32_t>(here) + 1;
        row[cell] = std::min(row[cell], filled);
    }
}

bool CoarseDepthBuffer::occludesAround(const BakedVertex* corners) const {
    constexpr std::int64_t kSteps = error_bounds::kIntersectionReach + error_bounds::kSegmentReach;
    if (isNearlyEmpty_) {
        return false;
    }
    const Extent x = extentOf(corners, &BakedVertex::x);
    const Extent y = extentOf(corners, &BakedVertex::y);
    const auto depth = static_cast<std::int32_t>(extentOf(corners, &BakedVertex::z).min);
    const std::int64_t lastColumn = (x.max + kSteps - originX_) >> shift_;
    const std::int64_t lastRow = (y.max + kSteps - originY_) >> shift_;
    for (std::int64_t row = (y.min - kSteps - originY_) >> shift_; row <= lastRow; ++row) {
        for (std::int64_t column = (x.min - kSteps - originX_) >> shift_; column <= lastColumn;
             ++column) {
            if (!isFilled(column, row, depth)) {
                return false;
            }
        }
    }
    return true;
}

bool CoarseDepthBuffer::isFilledAlong(const BakedVertex& a, const BakedVertex& b) const {
    constexpr std::int64_t kSteps = error_bounds::kSegmentReach;
    const BakedVertex& low = a.y <= b.y ? a : b;
    const BakedVertex& high = a.y <= b.y ? b : a;
    const std::int32_t depth = std::min(a.z, b.z);
    const double slope = low.y == high.y ? 0.0
                                         : (static_cast<double>(high.x) - low.x) /
                                               (static_cast<double>(high.y) - low.y);
    const std::int64_t firstRow = (low.y - kSteps - originY_) >> shift_;
    const std::int64_t lastRow = (high.y + kSteps - originY_) >> shift_;
    for (std::int64_t row = firstRow; row <= lastRow; ++row) {
        // The part of the segment within the row, and a little beyond.
        const std::int64_t bottom =
            std::max<std::int64_t>(originY_ + (row << shift_) - kSteps, low.y);
        const std::int64_t top =
            std::min<std::int64_t>(originY_ + ((row + 1) << shift_) + kSteps, high.y);
        std::int64_t from = low.x;
        std::int64_t to = high.x;
        if (low.y != high.y) {
            from = low.x + static_cast<std::int64_t>(slope * static_cast<double>(bottom - low.y));
            to = low.x + static_cast<std::int64_t>(slope * static_cast<double>(top - low.y));
        }
        const std::int64_t firstColumn = (std::min(from, to) - kSteps - originX_) >> shift_;
        const std::int64_t lastColumn = (std::max(from, to) + kSteps - originX_) >> shift_;
        for (std::int64_t column = firstColumn; column <= lastColumn; ++column) {
            if (!isFilled(column, row, depth)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace ctr
