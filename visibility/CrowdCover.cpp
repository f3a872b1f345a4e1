// Crowds, what covers their cells, and cuts followed from cell to cell.
#include "visibility/CrowdCover.h"

#include "visibility/HierarchyNode.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace ctr {
namespace {

constexpr std::size_t kWorkPerTriangle = 64;

double ScreenAreaOf(const kx::kxBBox& box) {
    return (static_cast<double>(box.max[0]) - box.min[0] + 1.0) *
           (static_cast<double>(box.max[1]) - box.min[1] + 1.0);
}

CellsOnAxis::Steps StepsOnScreen(const OccluderTree::Triangle& triangle,
                                 std::int32_t BakedVertex::*axis) {
    const auto& [p, q, r] = triangle.corners;
    const auto [least, most] = std::minmax({p.*axis, q.*axis, r.*axis});
    return {least, most};
}

CellsOnAxis::Steps StepsOnScreen(const std::vector<OccluderTree::Triangle>& triangles,
                                 const std::vector<std::uint32_t>& slots,
                                 std::int32_t BakedVertex::*axis) {
    CellsOnAxis::Steps extent = StepsOnScreen(triangles[slots.front()], axis);
    for (const std::uint32_t slot : slots) {
        const CellsOnAxis::Steps own = StepsOnScreen(triangles[slot], axis);
        extent = {std::min(extent.min, own.min), std::max(extent.max, own.max)};
    }
    return extent;
}

/// A side of a triangle on screen, held against cells: negative inside.
class SideOfCrowd {
public:
    SideOfCrowd(const BakedVertex& a,
                const BakedVertex& b,
                const CellsOnAxis& columns,
                const CellsOnAxis& rows)
        : from_(a), perX_(std::int64_t{b.y} - a.y), perY_(std::int64_t{a.x} - b.x) {
        // The rounding of values takes 1; the rest is for what doubles lose, and for places that
        // are nearly in a cell.
        constexpr int kLossBits = 10;
        const std::int64_t margin = 3 + ((std::abs(perX_) + std::abs(perY_)) >> kLossBits);
        const bool hasAllInside = most(columns.extent(), rows.extent()) <= 0;
        limit_ = hasAllInside ? 0 : -margin;
    }

    bool hasInside(const CellsOnAxis::Steps& x, const CellsOnAxis::Steps& y) const {
        return most(x, y) <= limit_;
    }

private:
    /// The largest value in a rectangle; see FitValues().
    std::int64_t most(const CellsOnAxis::Steps& x, const CellsOnAxis::Steps& y) const {
        return perX_ * ((perX_ > 0 ? x.max : x.min) - from_.x) +
               perY_ * ((perY_ > 0 ? y.max : y.min) - from_.y);
    }

    const BakedVertex& from_;
    std::int64_t perX_;
    std::int64_t perY_;
    std::int64_t limit_ = 0;
};

/// Whether values of sides and planes are below 2^63 in the box of a crowd, as on all grids whose
/// bounds hold: elsewhere they wrap.
bool FitValues(const std::vector<OccluderTree::Triangle>& triangles,
               const std::vector<std::uint32_t>& slots) {
    constexpr double kLargest = 0x1p63;
    constexpr double kTerms = 6.0; // of two products each
    const auto along = [&](std::int32_t BakedVertex::*axis) {
        const CellsOnAxis::Steps extent = StepsOnScreen(triangles, slots, axis);
        return static_cast<double>(extent.max - extent.min) + 1.0;
    };
    const double x = along(&BakedVertex::x);
    const double y = along(&BakedVertex::y);
    return kTerms * x * y * along(&BakedVertex::z) < kLargest && kTerms * x * x < kLargest &&
           kTerms * y * y < kLargest;
}

/// A line on one axis, parameters from 0 to 1.
struct ValueAlong {
    double from;
    double to;

    double at(double t) const { return from + t * (to - from); }
    /// The parameters, from `first` to `last`, at which it is in a cell.
    std::pair<double, double>
    within(const CellsOnAxis::Steps& cell, double first, double last) const {
        if (from == to) {
            return {first, last};
        }
        const double p = (static_cast<double>(cell.min) - from) / (to - from);
        const double q = (static_cast<double>(cell.max) - from) / (to - from);
        return {std::max(std::min(p, q), first), std::min(std::max(p, q), last)};
    }
};

} // namespace

CrowdCover::CrowdCover(const std::vector<Triangle>& triangles,
                       const std::vector<std::uint32_t>& slots,
                       const ContactTolerance& tolerance,
                       WorkCounter& work)
    : tolerance_(tolerance), columns_(StepsOnScreen(triangles, slots, &BakedVertex::x)),
      rows_(StepsOnScreen(triangles, slots, &BakedVertex::y)),
      cells_(static_cast<std::size_t>(CellsOnAxis::kMost * CellsOnAxis::kMost)) {
    for (const std::uint32_t slot : slots) {
        work.count(kWorkPerTriangle);
        cover(triangles[slot], slot);
    }
}

CrowdCover::Plane CrowdCover::planeOf(const Triangle& triangle, std::uint32_t slot) const {
    const BakedVertex& corner = triangle.corners[0];
    const GridVector normal = NormalOf(triangle.corners);
    const auto size = static_cast<double>(ChangePerStep(normal));
    // As for sides. The ends of cuts, and values at them, are off by 2^-18 of the size.
    constexpr double kLoss = 0x1p-16;
    return {{static_cast<double>(normal[0]), static_cast<double>(normal[1]),
             static_cast<double>(normal[2])},
            {static_cast<double>(corner.x), static_cast<double>(corner.y),
             static_cast<double>(corner.z)},
            -(2.0 + size * kLoss + static_cast<double>(tolerance_.bandOf(normal))),
            slot};
}

void CrowdCover::cover(const Triangle& triangle, std::uint32_t slot) {
    const CellsOnAxis::Run columns = columns_.within(StepsOnScreen(triangle, &BakedVertex::x));
    const CellsOnAxis::Run rows = rows_.within(StepsOnScreen(triangle, &BakedVertex::y));
    const Plane plane = planeOf(triangle, slot);
    bool isNeeded = false;
    if (columns.first > columns.last || rows.first > rows.last || plane.normal[2] >= 0.0) {
        return;
    }
    const auto& p = triangle.corners;
    const SideOfCrowd sides[3] = {SideOfCrowd(p[0], p[1], columns_, rows_),
                                  SideOfCrowd(p[1], p[2], columns_, rows_),
                                  SideOfCrowd(p[2], p[0], columns_, rows_)};
    for (std::int64_t row = rows.first; row <= rows.last; ++row) {
        for (std::int64_t column = columns.first; column <= columns.last; ++column) {
            const auto x = columns_[column];
            const auto y = rows_[row];
            if (sides[0].hasInside(x, y) && sides[1].hasInside(x, y) && sides[2].hasInside(x, y)) {
                isNeeded = add(column, row, plane) || isNeeded;
            }
        }
    }
    if (isNeeded) {
        planes_.push_back(plane);
    }
}

/// Remembers a plane, the next of all, in a cell if it is among the nearest there.
bool CrowdCover::add(std::int64_t column, std::int64_t row, const Plane& plane) {
    const auto middle = [](const CellsOnAxis::Steps& steps) {
        return 0.5 * static_cast<double>(steps.min + steps.max);
    };
    const auto& [normal, offset, limit, slot] = plane;
    const double depth = offset[2] - (normal[0] * (middle(columns_[column]) - offset[0]) +
                                      normal[1] * (middle(rows_[row]) - offset[1])) /
                                         normal[2];
    Cell& cell = cellAt(column, row);
    if (!(depth < cell.back().depth)) {
        return false;
    }
    std::size_t place = kNearest - 1;
    for (; place > 0 && depth < cell[place - 1].depth; --place) {
        cell[place] = cell[place - 1];
    }
    cell[place] = {depth, static_cast<std::uint32_t>(planes_.size())};
    return true;
}

bool CrowdCover::hides(const CutOcclusion& cut, std::vector<std::uint32_t>& hiders) const {
    // More make a search likely to be as quick.
    constexpr int kMostOpenParts = 4;
    int openParts = 0;
    const auto& [first, second] = cut.ends();
    const ValueAlong x{first[0], second[0]};
    const ValueAlong y{first[1], second[1]};
    const auto [left, right] = std::minmax({x.from, x.to});
    const CellsOnAxis::Run columns = columns_.between(left, right);
    for (std::int64_t column = columns.first; column <= columns.last; ++column) {
        const auto [begin, end] = x.within(columns_[column], 0.0, 1.0);
        const auto [low, high] = std::minmax({y.at(begin), y.at(end)});
        const CellsOnAxis::Run rows = rows_.between(low, high);
        for (std::int64_t row = rows.first; row <= rows.last; ++row) {
            const auto [from, to] = y.within(rows_[row], begin, end);
            if (from > to) {
                continue;
            }
            const Plane* const hider = hiderOfPart(cellAt(column, row), cut, from, to);
            if (hider == nullptr && ++openParts == kMostOpenParts) {
                return false;
            }
            if (hider != nullptr && (hiders.empty() || hiders.back() != hider->slot)) {
                hiders.push_back(hider->slot);
            }
        }
    }
    return openParts == 0;
}

/// The nearest that surely hides a part of a cut in a cell; null for none.
const CrowdCover::Plane*
CrowdCover::hiderOfPart(const Cell& cell, const CutOcclusion& cut, double from, double to) const {
    const auto& [first, second] = cut.ends();
    for (const Cover& cover : cell) {
        if (!(cover.depth < std::numeric_limits<double>::infinity())) {
            return nullptr;
        }
        const Plane& plane = planes_[cover.plane];
        const ValueAlong value{plane.at(first), plane.at(second)};
        if (value.at(from) < plane.limit && value.at(to) < plane.limit) {
            return &plane;
        }
    }
    return nullptr;
}

CrowdCovers::CrowdCovers(const BakedTriangles& baked,
                         const std::vector<OccluderTree::Triangle>& triangles,
                         WorkCounter& work)
    : baked_(baked) {
    std::vector<unsigned int> roots;
    find(0, roots, work);
    for (const unsigned int root : roots) {
        std::vector<std::uint32_t> slots;
        appendSlots(root, slots);
        if (!FitValues(triangles, slots)) {
            continue;
        }
        crowdOf_.resize(baked.trianglePlanes.size(), kNone);
        for (const std::uint32_t slot : slots) {
            crowdOf_[triangles[slot].number] = static_cast<std::uint32_t>(covers_.size());
        }
        covers_.emplace_back(triangles, slots, ContactTolerance(baked), work);
    }
}

/// Finds crowds bottom up: one takes the place of those below it.
CrowdCovers::Load
CrowdCovers::find(unsigned int node, std::vector<unsigned int>& roots, WorkCounter& work) const {
    constexpr double kFewest = 64.0;
    constexpr double kLayers = 16.0;
    work.count(1);
    const HierarchyNode& here = baked_.bvh.nodes[node];
    const double area = ScreenAreaOf(here.box);
    const std::size_t before = roots.size();
    Load load;
    if (IsLeaf(here)) {
        load = {static_cast<double>(here.second), here.second * area};
    } else {
        for (const unsigned int child : {FirstChild(here), SecondChild(here)}) {
            const Load part = find(child, roots, work);
            load.triangles += part.triangles;
            load.area += part.area;
        }
    }
    if (load.triangles >= kFewest && load.area >= kLayers * area) {
        roots.resize(before);
        roots.push_back(node);
    }
    return load;
}

void CrowdCovers::appendSlots(unsigned int node, std::vector<std::uint32_t>& slots) const {
    const HierarchyNode& here = baked_.bvh.nodes[node];
    if (!IsLeaf(here)) {
        appendSlots(FirstChild(here), slots);
        appendSlots(SecondChild(here), slots);
        return;
    }
    for (unsigned int slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
        slots.push_back(slot);
    }
}

} // namespace ctr
