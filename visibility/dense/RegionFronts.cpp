// Triangles over the middles of cells.
#include "visibility/dense/RegionFronts.h"

#include "visibility/bvh/BvhNode.h"
#include "visibility/exact/GridArithmetic.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace ctr {
namespace {

constexpr std::size_t kWorkPerTriangle = 16;

/// The middle of a cell in steps.
double MiddleOf(const CellsOnAxis::Interval& parts) {
    return 0.5 / CellsOnAxis::kParts * static_cast<double>(parts.min + parts.max);
}

/// A triangle on screen, in doubles, as nothing depends on it.
class RoughTriangle {
public:
    explicit RoughTriangle(const SlotTriangle& triangle) : corners_(triangle.corners) {
        const GridVector normal = NormalOf(corners_);
        perX_ = -static_cast<double>(normal[0]) / static_cast<double>(normal[2]);
        perY_ = -static_cast<double>(normal[1]) / static_cast<double>(normal[2]);
    }

    bool isOver(double x, double y) const {
        return isInside(0, x, y) && isInside(1, x, y) && isInside(2, x, y);
    }
    double depthAt(double x, double y) const {
        return corners_[0].z + perX_ * (x - corners_[0].x) + perY_ * (y - corners_[0].y);
    }

private:
    bool isInside(int side, double x, double y) const {
        const BakedVertex& a = corners_[side];
        const BakedVertex& b = corners_[(side + 1) % 3];
        return (static_cast<double>(b.y) - a.y) * (x - a.x) <=
               (static_cast<double>(b.x) - a.x) * (y - a.y);
    }

    const BakedVertex* corners_;
    double perX_;
    double perY_;
};

bool HoldsPoint(const kx::kxBBox& box, const BakedVertex& p) {
    const float place[3] = {static_cast<float>(p.x), static_cast<float>(p.y),
                            static_cast<float>(p.z)};
    bool holds = true;
    for (int axis = 0; axis < 3; ++axis) {
        holds = holds && box.min[axis] <= place[axis] && place[axis] <= box.max[axis];
    }
    return holds;
}

} // namespace

CrowdSurface::CrowdSurface(const SlotTriangles& triangles,
                           const std::vector<std::uint32_t>& slots,
                           ItemCounter& work)
    : cells_(triangles, slots), nearest_(cells_.count()) {
    for (const std::uint32_t slot : slots) {
        work.count(kWorkPerTriangle);
        add(triangles[slot], slot, work);
    }
}

void CrowdSurface::add(const SlotTriangle& triangle, std::uint32_t slot, ItemCounter& work) {
    const RoughTriangle rough(triangle);
    const CellsOnAxis::Run columns = cells_.columns.meeting(StepsOf(triangle, &BakedVertex::x));
    const CellsOnAxis::Run rows = cells_.rows.meeting(StepsOf(triangle, &BakedVertex::y));
    for (std::int64_t row = rows.first; row <= rows.last; ++row) {
        work.count(columns.length());
        for (std::int64_t column = columns.first; column <= columns.last; ++column) {
            const double x = MiddleOf(cells_.columns[column]);
            const double y = MiddleOf(cells_.rows[row]);
            Cell& cell = nearest_[cells_.indexOf(column, row)];
            const auto depth = static_cast<float>(rough.depthAt(x, y));
            if (!(depth < cell.back().depth) || !rough.isOver(x, y)) {
                continue;
            }
            const auto behind = std::upper_bound(
                cell.begin(), cell.end(), depth,
                [](float value, const Place& place) { return value < place.depth; });
            std::move_backward(behind, cell.end() - 1, cell.end());
            *behind = {depth, slot};
        }
    }
}

void CrowdSurface::findNearest(double x, double y, std::vector<std::uint32_t>& slots) const {
    const std::size_t index = cells_.indexOf(cells_.columns.around(x), cells_.rows.around(y));
    slots.clear();
    for (const Place& place : nearest_[index]) {
        if (place.depth < Place().depth) {
            slots.push_back(place.slot);
        }
    }
}

CrowdSurfaces::CrowdSurfaces(const BakedTriangles& baked,
                             const SlotTriangles& triangles,
                             ItemCounter& work)
    : baked_(baked) {
    for (const unsigned int root : FindCrowds(baked, work)) {
        crowds_.push_back({root, CrowdSurface(triangles, SlotsBelow(baked, root), work)});
    }
}

void CrowdSurfaces::turnTo(const BakedVertex& a, const BakedVertex& b) {
    current_ = crowds_.empty() ? nullptr : crowdOf(0, a, b);
    from_[0] = a.x;
    from_[1] = a.y;
    along_[0] = static_cast<double>(b.x) - a.x;
    along_[1] = static_cast<double>(b.y) - a.y;
    nearest_.clear();
}

const std::vector<std::uint32_t>& CrowdSurfaces::nearestAt(double t) {
    if (current_ != nullptr) {
        current_->surface.findNearest(from_[0] + t * along_[0], from_[1] + t * along_[1], nearest_);
    }
    return nearest_;
}

/// A crowd below a node whose box holds both points.
const CrowdSurfaces::Crowd*
CrowdSurfaces::crowdOf(unsigned int node, const BakedVertex& a, const BakedVertex& b) const {
    const HierarchyNode& here = baked_.bvh.nodes[node];
    if (!HoldsPoint(here.box, a) || !HoldsPoint(here.box, b)) {
        return nullptr;
    }
    const auto crowd =
        std::lower_bound(crowds_.begin(), crowds_.end(), node,
                         [](const Crowd& one, unsigned int root) { return one.root < root; });
    if (crowd != crowds_.end() && crowd->root == node) {
        return &*crowd;
    }
    if (IsLeaf(here)) {
        return nullptr;
    }
    const Crowd* const first = crowdOf(FirstChild(here), a, b);
    return first != nullptr ? first : crowdOf(SecondChild(here), a, b);
}

} // namespace ctr
