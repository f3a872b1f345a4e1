// Rasterises the triangles of a region into the cells that they cover, and tests the others against
// the nearest covers of each cell: linear functions at the corners of cells.
//
// Edge functions are integers; planes are in doubles, with the margins of ErrorBounds.h, section 7.
// O(c) per triangle for the c cells of its box.
#include "visibility/dense/RegionCover.h"

#include "visibility/ErrorBounds.h"

#include <algorithm>
#include <cstdlib>

namespace ctr {
namespace {

constexpr std::int64_t kSubsteps = GridAxis::kSubsteps;

/// A cell on screen, with its ends in substeps.
struct CellOnScreen {
    GridAxis::Interval x;
    GridAxis::Interval y;
};

/// An edge function of a triangle on screen, negative inside. Values are in substeps.
class ScreenEdgeFunction {
public:
    ScreenEdgeFunction(const BakedVertex& a, const BakedVertex& b)
        : from_(a), perX_(std::int64_t{b.y} - a.y), perY_(std::int64_t{a.x} - b.x) {}

    std::int64_t most(const CellOnScreen& cell) const {
        return valueAt(perX_ > 0 ? cell.x.max : cell.x.min, perY_ > 0 ? cell.y.max : cell.y.min);
    }
    std::int64_t least(const CellOnScreen& cell) const {
        return valueAt(perX_ > 0 ? cell.x.min : cell.x.max, perY_ > 0 ? cell.y.min : cell.y.max);
    }
    /// The largest change within so many steps on either axis.
    std::int64_t changeWithin(std::int64_t x, std::int64_t y) const {
        return kSubsteps * (x * std::abs(perX_) + y * std::abs(perY_));
    }

private:
    std::int64_t valueAt(std::int64_t x, std::int64_t y) const {
        return perX_ * (x - kSubsteps * from_.x) + perY_ * (y - kSubsteps * from_.y);
    }

    const BakedVertex& from_;
    std::int64_t perX_;
    std::int64_t perY_;
};

/// The value up to which an edge function in a cell is certainly inside; see RegionCover.h.
std::int64_t LimitOf(const ScreenEdgeFunction& edge, const CellOnScreen& region) {
    constexpr auto kMargin = static_cast<std::int64_t>(error_bounds::kRoundedValueMargin);
    return edge.most(region) <= 0
               ? 0
               : -(kMargin * kSubsteps + edge.changeWithin(1, 1) / error_bounds::kCoverEdgeShare);
}

/// The value up to which an edge function in a cell allows an intersection on the triangle's plane
/// there.
std::int64_t ReachOf(const ScreenEdgeFunction& edge) {
    constexpr std::int64_t kShort = error_bounds::kShortExcess;
    constexpr std::int64_t kLong = error_bounds::kLongExcess;
    return std::max(edge.changeWithin(kShort, kLong), edge.changeWithin(kLong, kShort));
}

GridAxis::Interval Widened(const GridAxis::Interval& steps) {
    constexpr std::int64_t kReach = error_bounds::kLongExcess;
    return {steps.min - kReach, steps.max + kReach};
}

} // namespace

struct RegionCover::Corners {
    double x[2];
    double y[2];
    double z[2][2]; ///< By row and column.

    Corners(const CellOnScreen& cell, double depth)
        : x{inSteps(cell.x.min), inSteps(cell.x.max)}, y{inSteps(cell.y.min), inSteps(cell.y.max)},
          z{{depth, depth}, {depth, depth}} {}

    /// Points of a triangle's plane.
    Corners(const CellOnScreen& cell, const SlotTriangle& triangle, const GridVector& normal)
        : Corners(cell, 0.0) {
        const BakedVertex& p = triangle.corners[0];
        const std::int64_t alongX[2] = {cell.x.min - kSubsteps * p.x, cell.x.max - kSubsteps * p.x};
        const std::int64_t alongY[2] = {cell.y.min - kSubsteps * p.y, cell.y.max - kSubsteps * p.y};
        const double scale = -1.0 / static_cast<double>(kSubsteps * normal[2]);
        for (int row = 0; row < 2; ++row) {
            for (int column = 0; column < 2; ++column) {
                const std::int64_t change = normal[0] * alongX[column] + normal[1] * alongY[row];
                z[row][column] = p.z + static_cast<double>(change) * scale;
            }
        }
    }

    double depth() const { return 0.25 * (z[0][0] + z[0][1] + z[1][0] + z[1][1]); }
    bool areBehind(const Plane& plane) const {
        return plane.at(x[0], y[0], z[0][0]) < plane.limit &&
               plane.at(x[1], y[0], z[0][1]) < plane.limit &&
               plane.at(x[0], y[1], z[1][0]) < plane.limit &&
               plane.at(x[1], y[1], z[1][1]) < plane.limit;
    }

private:
    static double inSteps(std::int64_t parts) {
        return static_cast<double>(parts) / static_cast<double>(kSubsteps);
    }
};

RegionCover::RegionCover(const SlotTriangles& triangles,
                         const std::vector<std::uint32_t>& slots,
                         const ContactTolerance& tolerance,
                         ItemCounter& work)
    : tolerance_(tolerance), cells_(triangles, slots), covers_(cells_.count()) {
    for (const std::uint32_t slot : slots) {
        cover(triangles[slot], work);
    }
}

void RegionCover::cover(const SlotTriangle& triangle, ItemCounter& work) {
    const auto& p = triangle.corners;
    const ScreenEdgeFunction edges[3] = {{p[0], p[1]}, {p[1], p[2]}, {p[2], p[0]}};
    const CellOnScreen region{cells_.columns.extent(), cells_.rows.extent()};
    const std::int64_t limits[3] = {LimitOf(edges[0], region), LimitOf(edges[1], region),
                                    LimitOf(edges[2], region)};
    const GridVector normal = NormalOf(p);
    const GridAxis::Run columns = cells_.columns.within(StepsOf(triangle, &BakedVertex::x));
    const GridAxis::Run rows = cells_.rows.within(StepsOf(triangle, &BakedVertex::y));
    bool isUsed = false;
    work.count(Tuning::kWorkPerCell);
    for (std::int64_t row = rows.first; row <= rows.last; ++row) {
        work.count(columns.length());
        for (std::int64_t column = columns.first; column <= columns.last; ++column) {
            const CellOnScreen cell{cells_.columns[column], cells_.rows[row]};
            if (edges[0].most(cell) <= limits[0] && edges[1].most(cell) <= limits[1] &&
                edges[2].most(cell) <= limits[2]) {
                isUsed =
                    add(covers_[cells_.indexOf(column, row)], Corners(cell, triangle, normal)) ||
                    isUsed;
            }
        }
    }
    if (!isUsed) {
        return;
    }
    const double loss = static_cast<double>(ChangePerStep(normal)) * error_bounds::kCoverPlaneShare;
    planes_.push_back(
        {{static_cast<double>(normal[0]), static_cast<double>(normal[1]),
          static_cast<double>(normal[2])},
         {static_cast<double>(p[0].x), static_cast<double>(p[0].y), static_cast<double>(p[0].z)},
         -(error_bounds::kRoundedValueMargin + loss +
           static_cast<double>(tolerance_.bandOf(normal)))});
}

/// Adds the next plane to a cell if it is among the nearest there.
bool RegionCover::add(Cell& cell, const Corners& corners) {
    const auto depth = static_cast<float>(corners.depth());
    if (!(depth < cell.back().depth)) {
        return false;
    }
    const auto behind =
        std::upper_bound(cell.begin(), cell.end(), depth,
                         [](float value, const Cover& cover) { return value < cover.depth; });
    std::move_backward(behind, cell.end() - 1, cell.end());
    *behind = {depth, static_cast<std::uint32_t>(planes_.size())};
    return true;
}

bool RegionCover::occludes(const Cell& cell, const Corners& corners) const {
    return std::any_of(cell.begin(), cell.end(), [&](const Cover& cover) {
        return cover.depth < Cover().depth && corners.areBehind(planes_[cover.plane]);
    });
}

std::size_t RegionCover::blockOf(std::int64_t column, std::int64_t row) const {
    const auto along = [](std::int64_t cell, std::int64_t count) {
        return cell / ((count + kBlocksPerAxis - 1) / kBlocksPerAxis);
    };
    return static_cast<std::size_t>(along(row, cells_.rows.count()) * kBlocksPerAxis +
                                    along(column, cells_.columns.count()));
}

RegionCover::Visibility RegionCover::visibilityOf(const SlotTriangle& triangle,
                                                  ItemCounter& work) const {
    const auto& p = triangle.corners;
    const ScreenEdgeFunction edges[3] = {{p[0], p[1]}, {p[1], p[2]}, {p[2], p[0]}};
    const std::int64_t reach[3] = {ReachOf(edges[0]), ReachOf(edges[1]), ReachOf(edges[2])};
    const GridVector normal = NormalOf(p);
    const double nearest = std::min({p[0].z, p[1].z, p[2].z});
    const auto x = cells_.columns.overlapping(Widened(StepsOf(triangle, &BakedVertex::x)));
    const auto y = cells_.rows.overlapping(Widened(StepsOf(triangle, &BakedVertex::y)));
    Visibility visibility;
    for (std::int64_t row = y.first; row <= y.last; ++row) {
        work.count(Tuning::kWorkPerCell * x.length());
        for (std::int64_t column = x.first; column <= x.last; ++column) {
            const std::size_t block = blockOf(column, row);
            const CellOnScreen on{cells_.columns[column], cells_.rows[row]};
            const std::int64_t least[3] = {edges[0].least(on), edges[1].least(on),
                                           edges[2].least(on)};
            if (visibility.own[block] || least[0] > reach[0] || least[1] > reach[1] ||
                least[2] > reach[2]) {
                continue;
            }
            const Cell& cell = covers_[cells_.indexOf(column, row)];
            if (occludes(cell, Corners(on, triangle, normal))) {
                continue;
            }
            visibility.around.set(block);
            if (std::max({least[0], least[1], least[2]}) <= 0 &&
                !occludes(cell, Corners(on, nearest))) {
                visibility.own.set(block);
            }
        }
    }
    return visibility;
}

} // namespace ctr
