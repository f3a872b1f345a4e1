// Filling cells and looking them up, in integers but for depths, which are rounded up.
#include "visibility/DepthMap.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace ctr {
namespace {

constexpr std::int32_t kNothing = std::numeric_limits<std::int32_t>::max();
/// The most cells along either axis: few triangles would not pay for clearing many.
long MostCells(std::size_t triangles) {
    constexpr double kAnyway = 512.0;
    return static_cast<long>(std::min(kAnyway, 8.0 * std::sqrt(static_cast<double>(triangles))));
}

struct Extent {
    long min = std::numeric_limits<long>::max();
    long max = std::numeric_limits<long>::min();

    void add(long value) {
        min = std::min(min, value);
        max = std::max(max, value);
    }
    long size() const { return max - min; }
};

Extent ExtentOf(const BakedVertex* corners, std::int32_t BakedVertex::*axis) {
    Extent extent;
    for (int k = 0; k < 3; ++k) {
        extent.add(corners[k].*axis);
    }
    return extent;
}

/// One side of a triangle as a function of cells: how far the worst point of a cell is inside.
class CellSide {
public:
    CellSide(const BakedVertex& p, const BakedVertex& q, long size, long steps)
        : origin_(p), edge_(Difference(q, p)),
          worst_(std::min(0L, edge_[0] * size) + std::min(0L, -edge_[1] * size) -
                 steps * (std::abs(edge_[0]) + std::abs(edge_[1]))) {}

    /// Of the cell with this lower left corner.
    long at(long x, long y) const {
        return edge_[0] * (y - origin_.y) - edge_[1] * (x - origin_.x) + worst_;
    }
    long perColumn(long size) const { return -edge_[1] * size; }

private:
    BakedVertex origin_;
    GridVector edge_;
    long worst_;
};

} // namespace

DepthMap::DepthMap(const BakedTriangles& baked,
                   const std::vector<OccluderTree::Triangle>& triangles,
                   OccluderTree::Room room) {
    if (triangles.empty()) {
        return;
    }
    chooseCells(triangles);
    depths_.assign(static_cast<std::size_t>(columns_ * rows_), kNothing);
    for (const OccluderTree::Triangle& triangle : triangles) {
        fill(triangle.corners, baked.trianglePlanes[triangle.number], room);
    }
}

/// As fine as the map may be, unless large triangles over each other would make it slow to fill.
void DepthMap::chooseCells(const std::vector<OccluderTree::Triangle>& triangles) {
    constexpr std::size_t kCellsPerTriangle = 64;
    constexpr std::size_t kFreeCells = 1 << 20;
    Extent x;
    Extent y;
    for (const OccluderTree::Triangle& triangle : triangles) {
        for (const BakedVertex& corner : triangle.corners) {
            x.add(corner.x);
            y.add(corner.y);
        }
    }
    originX_ = x.min;
    originY_ = y.min;
    while ((std::max(x.size(), y.size()) >> shift_) >= MostCells(triangles.size())) {
        ++shift_;
    }
    std::size_t cells = 0;
    for (const OccluderTree::Triangle& triangle : triangles) {
        const Cells within = cellsWithin(triangle.corners);
        cells += within.none() ? 0
                               : static_cast<std::size_t>((within.endX - within.firstX) *
                                                          (within.endY - within.firstY));
    }
    while (cells > kFreeCells + kCellsPerTriangle * triangles.size()) {
        ++shift_;
        cells /= 4;
    }
    columns_ = (x.size() >> shift_) + 1;
    rows_ = (y.size() >> shift_) + 1;
}

/// The cells that lie wholly within the box of a triangle.
DepthMap::Cells DepthMap::cellsWithin(const BakedVertex* corners) const {
    const Extent x = ExtentOf(corners, &BakedVertex::x);
    const Extent y = ExtentOf(corners, &BakedVertex::y);
    const long last = (1L << shift_) - 1;
    return {(x.min - originX_ + last) >> shift_, (x.max - originX_) >> shift_,
            (y.min - originY_ + last) >> shift_, (y.max - originY_) >> shift_};
}

void DepthMap::fill(const BakedVertex* corners, const GridVector& normal, OccluderTree::Room room) {
    const Cells cells = cellsWithin(corners);
    if (cells.none()) {
        return;
    }
    constexpr long kRoundedSteps = 4;
    const bool rounded = room == OccluderTree::Room::forRoundedCrossings;
    const long steps = rounded ? kRoundedSteps : 0;
    const long size = 1L << shift_;
    const CellSide sides[3] = {CellSide(corners[0], corners[1], size, steps),
                               CellSide(corners[1], corners[2], size, steps),
                               CellSide(corners[2], corners[0], size, steps)};
    const double depthPerX = -static_cast<double>(normal[0]) / static_cast<double>(normal[2]);
    const double depthPerY = -static_cast<double>(normal[1]) / static_cast<double>(normal[2]);
    const auto cell = static_cast<double>(size);
    // The farthest corner of a cell, and two steps for what doubles lose.
    const double beyond = std::max(0.0, depthPerX * cell) + std::max(0.0, depthPerY * cell) + 2.0;
    const double slack = rounded ? OccluderTree::depthSlackOf(normal) : 0.0;
    const auto farthest = static_cast<double>(ExtentOf(corners, &BakedVertex::z).max);
    for (long row = cells.firstY; row < cells.endY; ++row) {
        const long y = originY_ + (row << shift_);
        long x = originX_ + (cells.firstX << shift_);
        long inside[3] = {sides[0].at(x, y), sides[1].at(x, y), sides[2].at(x, y)};
        for (long column = cells.firstX; column < cells.endX; ++column, x += size) {
            if ((inside[0] | inside[1] | inside[2]) >= 0) {
                const double depth = corners[0].z +
                                     depthPerX * static_cast<double>(x - corners[0].x) +
                                     depthPerY * static_cast<double>(y - corners[0].y) + beyond;
                const double filled = std::min(depth, farthest) + slack;
                std::int32_t& here = depths_[static_cast<std::size_t>(row * columns_ + column)];
                if (filled < here) {
                    here = static_cast<std::int32_t>(std::ceil(filled));
                }
            }
            for (int k = 0; k < 3; ++k) {
                inside[k] += sides[k].perColumn(size);
            }
        }
    }
}

bool DepthMap::hides(const BakedVertex& a, const BakedVertex& b) const {
    constexpr long kSteps = 2; // One for rounded ends, one for the doubles here.
    const BakedVertex& low = a.y <= b.y ? a : b;
    const BakedVertex& high = a.y <= b.y ? b : a;
    const std::int32_t depth = std::min(a.z, b.z);
    const double slope = low.y == high.y ? 0.0
                                         : (static_cast<double>(high.x) - low.x) /
                                               (static_cast<double>(high.y) - low.y);
    const long firstRow = (low.y - kSteps - originY_) >> shift_;
    const long lastRow = (high.y + kSteps - originY_) >> shift_;
    for (long row = firstRow; row <= lastRow; ++row) {
        // Where the segment is within the row, and a little beyond.
        const long bottom = std::max<long>(originY_ + (row << shift_) - kSteps, low.y);
        const long top = std::min<long>(originY_ + ((row + 1) << shift_) + kSteps, high.y);
        long from = low.x;
        long to = high.x;
        if (low.y != high.y) {
            from = low.x + static_cast<long>(slope * static_cast<double>(bottom - low.y));
            to = low.x + static_cast<long>(slope * static_cast<double>(top - low.y));
        }
        const long firstColumn = (std::min(from, to) - kSteps - originX_) >> shift_;
        const long lastColumn = (std::max(from, to) + kSteps - originX_) >> shift_;
        for (long column = firstColumn; column <= lastColumn; ++column) {
            if (!isFilled(column, row, depth)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace ctr
