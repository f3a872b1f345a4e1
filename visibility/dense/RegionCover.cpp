// What covers cells, and what may be seen in front of that.
#include "visibility/dense/RegionCover.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace ctr {
namespace {

/// What is counted as work: a row of cells by its length, and bits by so many words at a time.
constexpr std::size_t kWorkPerCell = 4;
constexpr std::size_t kWordsPerWork = 64;
constexpr std::int64_t kParts = CellsOnAxis::kParts;

/// A cell on screen, its ends in parts of a step.
struct CellOnScreen {
    CellsOnAxis::Interval x;
    CellsOnAxis::Interval y;
};

/// A side of a triangle on screen, negative inside. Values are multiplied by the parts of a step.
class SideOnScreen {
public:
    SideOnScreen(const BakedVertex& a, const BakedVertex& b)
        : from_(a), perX_(std::int64_t{b.y} - a.y), perY_(std::int64_t{a.x} - b.x) {}

    std::int64_t most(const CellOnScreen& cell) const {
        return valueAt(perX_ > 0 ? cell.x.max : cell.x.min, perY_ > 0 ? cell.y.max : cell.y.min);
    }
    std::int64_t least(const CellOnScreen& cell) const {
        return valueAt(perX_ > 0 ? cell.x.min : cell.x.max, perY_ > 0 ? cell.y.min : cell.y.max);
    }
    /// By how much it changes along so many steps on either axis at most.
    std::int64_t changeWithin(std::int64_t x, std::int64_t y) const {
        return kParts * (x * std::abs(perX_) + y * std::abs(perY_));
    }

private:
    std::int64_t valueAt(std::int64_t x, std::int64_t y) const {
        return perX_ * (x - kParts * from_.x) + perY_ * (y - kParts * from_.y);
    }

    const BakedVertex& from_;
    std::int64_t perX_;
    std::int64_t perY_;
};

/// Up to which value of a side in a cell the triangle surely hides there; see the top of
/// CrowdCover.h.
std::int64_t LimitOf(const SideOnScreen& side, const CellOnScreen& crowd) {
    constexpr std::int64_t kLossPerStep = 1024;
    constexpr std::int64_t kMargin = 2; // 1 for the rounding, the rest for what doubles lose
    return side.most(crowd) <= 0 ? 0 : -(kMargin * kParts + side.changeWithin(1, 1) / kLossPerStep);
}

/// Up to which value of a side in a cell a cut on the triangle's plane may go there.
std::int64_t ReachOf(const SideOnScreen& side) {
    return std::max(side.changeWithin(1, 3), side.changeWithin(3, 1));
}

CellsOnAxis::Interval Widened(const CellsOnAxis::Interval& steps) {
    constexpr std::int64_t kReach = 3;
    return {steps.min - kReach, steps.max + kReach};
}

} // namespace

struct CrowdCover::Corners {
    double x[2];
    double y[2];
    double z[2][2]; ///< By row and column.

    Corners(const CellOnScreen& cell, double depth)
        : x{inSteps(cell.x.min), inSteps(cell.x.max)}, y{inSteps(cell.y.min), inSteps(cell.y.max)},
          z{{depth, depth}, {depth, depth}} {}

    /// Of a triangle's plane.
    Corners(const CellOnScreen& cell, const SlotTriangle& triangle, const GridVector& normal)
        : Corners(cell, 0.0) {
        const BakedVertex& p = triangle.corners[0];
        const std::int64_t alongX[2] = {cell.x.min - kParts * p.x, cell.x.max - kParts * p.x};
        const std::int64_t alongY[2] = {cell.y.min - kParts * p.y, cell.y.max - kParts * p.y};
        const double scale = -1.0 / static_cast<double>(kParts * normal[2]);
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
        return static_cast<double>(parts) / static_cast<double>(kParts);
    }
};

CrowdCover::CrowdCover(const SlotTriangles& triangles,
                       const std::vector<std::uint32_t>& slots,
                       const ContactTolerance& tolerance,
                       ItemCounter& work)
    : tolerance_(tolerance), cells_(triangles, slots), covers_(cells_.count()) {
    for (const std::uint32_t slot : slots) {
        cover(triangles[slot], work);
    }
}

void CrowdCover::cover(const SlotTriangle& triangle, ItemCounter& work) {
    const auto& p = triangle.corners;
    const SideOnScreen sides[3] = {{p[0], p[1]}, {p[1], p[2]}, {p[2], p[0]}};
    const CellOnScreen crowd{cells_.columns.extent(), cells_.rows.extent()};
    const std::int64_t limits[3] = {LimitOf(sides[0], crowd), LimitOf(sides[1], crowd),
                                    LimitOf(sides[2], crowd)};
    const GridVector normal = NormalOf(p);
    const CellsOnAxis::Run columns = cells_.columns.within(StepsOf(triangle, &BakedVertex::x));
    const CellsOnAxis::Run rows = cells_.rows.within(StepsOf(triangle, &BakedVertex::y));
    bool isNeeded = false;
    work.count(kWorkPerCell);
    for (std::int64_t row = rows.first; row <= rows.last; ++row) {
        work.count(columns.length());
        for (std::int64_t column = columns.first; column <= columns.last; ++column) {
            const CellOnScreen cell{cells_.columns[column], cells_.rows[row]};
            if (sides[0].most(cell) <= limits[0] && sides[1].most(cell) <= limits[1] &&
                sides[2].most(cell) <= limits[2]) {
                isNeeded =
                    add(covers_[cells_.indexOf(column, row)], Corners(cell, triangle, normal)) ||
                    isNeeded;
            }
        }
    }
    if (!isNeeded) {
        return;
    }
    // Planes at places, and these, are off by 2^-20 of the size at most.
    constexpr double kLoss = 0x1p-16;
    const double loss = static_cast<double>(ChangePerStep(normal)) * kLoss;
    planes_.push_back(
        {{static_cast<double>(normal[0]), static_cast<double>(normal[1]),
          static_cast<double>(normal[2])},
         {static_cast<double>(p[0].x), static_cast<double>(p[0].y), static_cast<double>(p[0].z)},
         -(2.0 + loss + static_cast<double>(tolerance_.bandOf(normal)))});
}

/// Remembers the next plane of all in a cell if it is among the nearest there.
bool CrowdCover::add(Cell& cell, const Corners& corners) {
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

bool CrowdCover::hides(const Cell& cell, const Corners& corners) const {
    return std::any_of(cell.begin(), cell.end(), [&](const Cover& cover) {
        return cover.depth < Cover().depth && corners.areBehind(planes_[cover.plane]);
    });
}

std::size_t CrowdCover::blockOf(std::int64_t column, std::int64_t row) const {
    const auto along = [](std::int64_t cell, std::int64_t count) {
        return cell / ((count + kBlocksPerAxis - 1) / kBlocksPerAxis);
    };
    return static_cast<std::size_t>(along(row, cells_.rows.count()) * kBlocksPerAxis +
                                    along(column, cells_.columns.count()));
}

CrowdCover::InSight CrowdCover::inSight(const SlotTriangle& triangle, ItemCounter& work) const {
    const auto& p = triangle.corners;
    const SideOnScreen sides[3] = {{p[0], p[1]}, {p[1], p[2]}, {p[2], p[0]}};
    const std::int64_t reach[3] = {ReachOf(sides[0]), ReachOf(sides[1]), ReachOf(sides[2])};
    const GridVector normal = NormalOf(p);
    const double nearest = std::min({p[0].z, p[1].z, p[2].z});
    const auto x = cells_.columns.meeting(Widened(StepsOf(triangle, &BakedVertex::x)));
    const auto y = cells_.rows.meeting(Widened(StepsOf(triangle, &BakedVertex::y)));
    InSight inSight;
    for (std::int64_t row = y.first; row <= y.last; ++row) {
        work.count(kWorkPerCell * x.length());
        for (std::int64_t column = x.first; column <= x.last; ++column) {
            const std::size_t block = blockOf(column, row);
            const CellOnScreen on{cells_.columns[column], cells_.rows[row]};
            const std::int64_t least[3] = {sides[0].least(on), sides[1].least(on),
                                           sides[2].least(on)};
            if (inSight.own[block] || least[0] > reach[0] || least[1] > reach[1] ||
                least[2] > reach[2]) {
                continue;
            }
            const Cell& cell = covers_[cells_.indexOf(column, row)];
            if (hides(cell, Corners(on, triangle, normal))) {
                continue;
            }
            inSight.around.set(block);
            if (std::max({least[0], least[1], least[2]}) <= 0 &&
                !hides(cell, Corners(on, nearest))) {
                inSight.own.set(block);
            }
        }
    }
    return inSight;
}

PairsInSight::PairsInSight(const SlotTriangles& triangles,
                           const std::vector<std::uint32_t>& slots,
                           const ContactTolerance& tolerance,
                           ItemCounter& work)
    : work_(work), around_(CrowdCover::Blocks().size()) {
    const CrowdCover cover(triangles, slots, tolerance, work);
    for (const std::uint32_t slot : slots) {
        const CrowdCover::InSight inSight = cover.inSight(triangles[slot], work);
        if (inSight.around.any()) {
            slots_.push_back(slot);
            inSight_.push_back(inSight);
        }
    }
    partners_.resize(slots_.size() / kWordBits + 1);
    std::fill(around_.begin(), around_.end(), partners_);
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        work.count(around_.size() / kWordsPerWork);
        for (std::size_t block = 0; block < around_.size(); ++block) {
            const Word bit = inSight_[i].around[block] ? 1U : 0U;
            around_[block][i / kWordBits] |= bit << (i % kWordBits);
        }
    }
}

/// Who is around where a triangle is, itself among them.
const std::vector<PairsInSight::Word>& PairsInSight::partnersOf(std::size_t own) {
    std::fill(partners_.begin(), partners_.end(), 0);
    for (std::size_t block = 0; block < around_.size(); ++block) {
        if (inSight_[own].own[block]) {
            std::transform(partners_.begin(), partners_.end(), around_[block].begin(),
                           partners_.begin(), std::bit_or<>());
            work_.count(partners_.size() / kWordsPerWork + 1);
        }
    }
    work_.count(partners_.size() / kWordsPerWork + 1);
    return partners_;
}

double PairsInSight::estimate() {
    constexpr std::size_t kSamples = 1024;
    const std::size_t step = slots_.size() / kSamples + 1;
    std::size_t count = 0;
    for (std::size_t own = 0; own < slots_.size(); own += step) {
        for (const Word word : partnersOf(own)) {
            count += static_cast<std::size_t>(std::popcount(word));
        }
    }
    return static_cast<double>(count) * static_cast<double>(step);
}

bool PairsInSight::areMetFromBoth(std::size_t own, std::size_t around) const {
    return (inSight_[around].own & inSight_[own].around).any();
}

void PairsInSight::forEach(const std::function<void(std::uint32_t, std::uint32_t)>& visit) {
    for (std::size_t own = 0; own < slots_.size(); ++own) {
        std::size_t first = 0;
        for (Word word : partnersOf(own)) {
            work_.count(static_cast<std::size_t>(std::popcount(word)));
            for (; word != 0; word &= word - 1) {
                const std::size_t partner =
                    first + static_cast<std::size_t>(std::countr_zero(word));
                if (own < partner || (own > partner && !areMetFromBoth(own, partner))) {
                    visit(slots_[own], slots_[partner]);
                }
            }
            first += kWordBits;
        }
    }
}

} // namespace ctr
