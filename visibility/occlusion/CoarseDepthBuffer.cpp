// Filling cells and looking them up, in integers but for depths, which are rounded up.
#include "visibility/occlusion/CoarseDepthBuffer.h"

#include "visibility/bvh/BvhNode.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace ctr {
namespace {

/// The most cells along either axis: few triangles would not pay for clearing many.
std::int64_t MostCells(std::size_t triangles) {
    constexpr double kAnyway = 512.0;
    return static_cast<std::int64_t>(
        std::min(kAnyway, 8.0 * std::sqrt(static_cast<double>(triangles))));
}

/// Whether a box is on a screen of at most 2^30 steps, as all are whose bounds hold: products of
/// two differences, and sums of a few of them, fit in 64 bits.
bool FitsProducts(const kx::kxBBox& box) {
    constexpr float kFarthest = 0x1p29F;
    return box.min[0] >= -kFarthest && box.min[1] >= -kFarthest && box.max[0] <= kFarthest &&
           box.max[1] <= kFarthest && box.min[0] <= box.max[0];
}

/// A bound of a box in steps; a caller's box may reach farther than the grid.
std::int64_t StepsOf(float bound) {
    constexpr float kFar = 0x1p31F;
    return static_cast<std::int64_t>(std::clamp(bound, -kFar, kFar));
}

/// The columns of a row, from the first one of a triangle's box.
struct ColumnSpan {
    double from;
    double to;
};

/// One side of a triangle: how far the worst point of a cell is inside, which is linear along a row
/// of cells.
class CellSide {
public:
    /// The cells start with the one that has this lower left corner.
    CellSide(const BakedVertex& p,
             const BakedVertex& q,
             std::int64_t x,
             std::int64_t y,
             std::int64_t size) {
        // How far the triangle has to reach beyond the cell, as crossings of cuts are rounded.
        constexpr std::int64_t kRoundedSteps = 4;
        const GridVector edge = Difference(q, p);
        value_ = edge[0] * (y - p.y) - edge[1] * (x - p.x) +
                 std::min(std::int64_t{0}, edge[0] * size) +
                 std::min(std::int64_t{0}, -edge[1] * size) -
                 kRoundedSteps * (std::abs(edge[0]) + std::abs(edge[1]));
        perRow_ = edge[0] * size;
        perColumn_ = -edge[1] * size;
        columns_ = perColumn_ != 0 ? -1.0 / static_cast<double>(perColumn_) : 0.0;
    }

    /// Leaves the cells of the row that are wholly inside.
    void narrow(ColumnSpan& span) const {
        // The cell where the side is crossed is told to within this, if it is on the map.
        constexpr double kMargin = 1.0e-6;
        const double crossing = static_cast<double>(value_) * columns_ + 1.0;
        if (perColumn_ > 0) {
            span.from = std::max(span.from, crossing + kMargin);
        } else if (perColumn_ < 0) {
            span.to = std::min(span.to, crossing - kMargin);
        } else if (value_ < 0) {
            span.to = 0.0;
        }
    }
    void goUp() { value_ += perRow_; }

private:
    std::int64_t value_;
    std::int64_t perRow_;
    std::int64_t perColumn_;
    double columns_;
};

} // namespace

DepthMap::DepthMap(const BakedTriangles& baked, const OccluderTree& tree, ItemCounter& work) {
    const SlotTriangles triangles = tree.triangles();
    if (triangles.empty() || !tree.boxesHold() || !FitsProducts(tree.extent())) {
        return;
    }
    tolerance_ = ContactTolerance(baked);
    layCells(tree.extent(), triangles.size());
    OccluderTree::Triangle room;
    for (const std::uint32_t slot : chooseTriangles(baked, triangles, work)) {
        const BakedVertex* const corners = triangles.get(slot, room).corners;
        work.count(static_cast<std::size_t>(cellsWithin(corners).rows()));
        fill(corners);
    }
    constexpr std::ptrdiff_t kNearlyNone = 64;
    const auto empty = std::count(depths_.begin(), depths_.end(), kNothing);
    isNearlyEmpty_ = (columns_ * rows_ - empty) * kNearlyNone < columns_ * rows_;
}

/// As fine as the map may be. Floats hold large coordinates as well as they can.
void DepthMap::layCells(const kx::kxBBox& box, std::size_t triangles) {
    constexpr double kShare = 0x1p-23;
    const auto below = [](double value) {
        return static_cast<std::int64_t>(std::floor(value - std::abs(value) * kShare));
    };
    originX_ = below(box.min[0]);
    originY_ = below(box.min[1]);
    columns_ = 1 - below(-box.max[0]) - originX_;
    rows_ = 1 - below(-box.max[1]) - originY_;
    while (std::max(columns_, rows_) > MostCells(triangles)) {
        coarsen();
    }
}

void DepthMap::coarsen() {
    ++shift_;
    columns_ = (columns_ - 1) / 2 + 1;
    rows_ = (rows_ - 1) / 2 + 1;
}

/// The slots of triangles whose boxes hold cells. Large triangles over each other would make the
/// map slow to fill: it is made coarser for them.
std::vector<std::uint32_t> DepthMap::chooseTriangles(const BakedTriangles& baked,
                                                     const SlotTriangles& triangles,
                                                     ItemCounter& work) {
    constexpr std::size_t kCellsPerTriangle = 64;
    constexpr std::size_t kFreeCells = 1 << 20;
    Choice choice;
    choose(baked, 0, triangles, choice, work);
    while (choice.cells > kFreeCells + kCellsPerTriangle * triangles.size()) {
        coarsen();
        choice.cells /= 4;
    }
    depths_.assign(static_cast<std::size_t>(columns_ * rows_), kNothing);
    return choice.slots;
}

/// What is below a node that holds no cell holds none.
void DepthMap::choose(const BakedTriangles& baked,
                      unsigned int node,
                      const SlotTriangles& triangles,
                      Choice& choice,
                      ItemCounter& work) const {
    const HierarchyNode& here = baked.bvh.nodes[node];
    const auto along = [&box = here.box](int axis) {
        return Extent{StepsOf(box.min[axis]), StepsOf(box.max[axis])};
    };
    const bool isEmpty = here.box.min[0] > here.box.max[0];
    if (isEmpty || cellsWithin(along(0), along(1)).none()) {
        return;
    }
    if (!IsLeaf(here)) {
        choose(baked, FirstChild(here), triangles, choice, work);
        choose(baked, SecondChild(here), triangles, choice, work);
        return;
    }
    work.count(here.second);
    OccluderTree::Triangle room;
    for (unsigned int slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
        const Cells cells = cellsWithin(triangles.get(slot, room).corners);
        if (!cells.none()) {
            choice.slots.push_back(slot);
            choice.cells += static_cast<std::size_t>(cells.columns() * cells.rows());
        }
    }
}

/// The cells that lie wholly within a box.
DepthMap::Cells DepthMap::cellsWithin(Extent x, Extent y) const {
    const std::int64_t last = (std::int64_t{1} << shift_) - 1;
    return {std::max((x.min - originX_ + last) >> shift_, std::int64_t{0}),
            std::min((x.max - originX_) >> shift_, columns_),
            std::max((y.min - originY_ + last) >> shift_, std::int64_t{0}),
            std::min((y.max - originY_) >> shift_, rows_)};
}

DepthMap::Extent DepthMap::extentOf(const BakedVertex* corners, std::int32_t BakedVertex::*axis) {
    const auto [least, most] = std::minmax({corners[0].*axis, corners[1].*axis, corners[2].*axis});
    return {least, most};
}

DepthMap::Cells DepthMap::cellsWithin(const BakedVertex* corners) const {
    return cellsWithin(extentOf(corners, &BakedVertex::x), extentOf(corners, &BakedVertex::y));
}

void DepthMap::fill(const BakedVertex* corners) {
    const Cells cells = cellsWithin(corners);
    const GridVector normal = NormalOf(corners);
    if (cells.none() || normal[2] >= 0) {
        return;
    }
    const std::int64_t size = std::int64_t{1} << shift_;
    const std::int64_t x = originX_ + (cells.firstX << shift_);
    std::int64_t y = originY_ + (cells.firstY << shift_);
    CellSide sides[3] = {CellSide(corners[0], corners[1], x, y, size),
                         CellSide(corners[1], corners[2], x, y, size),
                         CellSide(corners[2], corners[0], x, y, size)};
    const double depthPerX = -static_cast<double>(normal[0]) / static_cast<double>(normal[2]);
    const double depthPerY = -static_cast<double>(normal[1]) / static_cast<double>(normal[2]);
    const auto cell = static_cast<double>(size);
    const double slack = OccluderTree::depthSlackOf(normal) + tolerance_.depthOf(normal);
    const double farthest = static_cast<double>(extentOf(corners, &BakedVertex::z).max) + slack;
    // The farthest corner of a cell, and two steps for what doubles lose.
    const double first = corners[0].z + depthPerX * static_cast<double>(x - corners[0].x) +
                         std::max(0.0, depthPerX * cell) + std::max(0.0, depthPerY * cell) + 2.0 +
                         slack;
    for (std::int64_t row = cells.firstY; row < cells.endY; ++row, y += size) {
        ColumnSpan span{0.0, static_cast<double>(cells.columns())};
        for (CellSide& side : sides) {
            side.narrow(span);
            side.goUp();
        }
        if (span.from < span.to) {
            const double depth = first + depthPerY * static_cast<double>(y - corners[0].y);
            fillRow(&depths_[static_cast<std::size_t>(row * columns_ + cells.firstX)],
                    static_cast<int>(span.from), static_cast<int>(span.to), depth, depthPerX * cell,
                    farthest);
        }
    }
}

/// Up to a depth that changes from cell to cell, or to the farthest one where that is nearer.
void DepthMap::fillRow(
    std::int32_t* row, int from, int to, double depth, double perCell, double farthest) {
    constexpr double kLeast = std::numeric_limits<std::int32_t>::min();
    const double most = std::min(farthest, kNothing - 1.0);
    for (int cell = from; cell < to; ++cell) {
        const double here = std::max(std::min(depth + perCell * cell, most), kLeast);
        const auto filled = static_cast<std::int32_t>(here) + 1;
        row[cell] = std::min(row[cell], filled);
    }
}

bool DepthMap::hidesAround(const BakedVertex* corners) const {
    constexpr std::int64_t kSteps = 4 + 2; // With what hides() takes in.
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

bool DepthMap::isFilledAlong(const BakedVertex& a, const BakedVertex& b) const {
    constexpr std::int64_t kSteps = 2; // One for rounded ends, one for the doubles here.
    const BakedVertex& low = a.y <= b.y ? a : b;
    const BakedVertex& high = a.y <= b.y ? b : a;
    const std::int32_t depth = std::min(a.z, b.z);
    const double slope = low.y == high.y ? 0.0
                                         : (static_cast<double>(high.x) - low.x) /
                                               (static_cast<double>(high.y) - low.y);
    const std::int64_t firstRow = (low.y - kSteps - originY_) >> shift_;
    const std::int64_t lastRow = (high.y + kSteps - originY_) >> shift_;
    for (std::int64_t row = firstRow; row <= lastRow; ++row) {
        // Where the segment is within the row, and a little beyond.
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
