// Triangles over the middles of cells.
#include "visibility/CrowdSurface.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace ctr {
namespace {

constexpr std::size_t kWorkPerTriangle = 16;
constexpr std::uint32_t kNoCrowd = std::numeric_limits<std::uint32_t>::max();

/// The middle of a cell in steps.
double MiddleOf(const CellsOnAxis::Interval& parts) {
    return 0.5 / CellsOnAxis::kParts * static_cast<double>(parts.min + parts.max);
}

/// A triangle on screen, in doubles, as nothing depends on it.
class RoughTriangle {
public:
    explicit RoughTriangle(const OccluderTree::Triangle& triangle) : corners_(triangle.corners) {
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

} // namespace

CrowdSurface::CrowdSurface(const std::vector<OccluderTree::Triangle>& triangles,
                           const std::vector<std::uint32_t>& slots,
                           WorkCounter& work)
    : cells_(triangles, slots), nearest_(cells_.count()) {
    for (const std::uint32_t slot : slots) {
        work.count(kWorkPerTriangle);
        add(triangles[slot], slot);
    }
}

void CrowdSurface::add(const OccluderTree::Triangle& triangle, std::uint32_t slot) {
    const RoughTriangle rough(triangle);
    const CellsOnAxis::Run columns = cells_.columns.meeting(StepsOf(triangle, &BakedVertex::x));
    const CellsOnAxis::Run rows = cells_.rows.meeting(StepsOf(triangle, &BakedVertex::y));
    for (std::int64_t row = rows.first; row <= rows.last; ++row) {
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

void CrowdSurface::appendNearest(const CutOcclusion& cut, std::vector<std::uint32_t>& slots) const {
    struct Probe {
        double at; ///< From the first end (0) to the second (1).
        std::size_t most;
    };
    constexpr Probe kProbes[] = {{0.5, 16}, {0.1, 8}, {0.9, 8}};
    const auto& [first, second] = cut.ends();
    for (const auto& [at, most] : kProbes) {
        const std::int64_t column = cells_.columns.around(first[0] + at * (second[0] - first[0]));
        const std::int64_t row = cells_.rows.around(first[1] + at * (second[1] - first[1]));
        const Cell& cell = nearest_[cells_.indexOf(column, row)];
        for (std::size_t i = 0; i < most && cell[i].depth < Place().depth; ++i) {
            slots.push_back(cell[i].slot);
        }
    }
}

CrowdSurfaces::CrowdSurfaces(const BakedTriangles& baked,
                             const std::vector<OccluderTree::Triangle>& triangles,
                             WorkCounter& work) {
    for (const unsigned int root : FindCrowds(baked, work)) {
        const std::vector<std::uint32_t> slots = SlotsBelow(baked, root);
        crowdOf_.resize(baked.trianglePlanes.size(), kNoCrowd);
        for (const std::uint32_t slot : slots) {
            crowdOf_[triangles[slot].number] = static_cast<std::uint32_t>(surfaces_.size());
        }
        surfaces_.emplace_back(triangles, slots, work);
    }
}

void CrowdSurfaces::appendNearest(const CutOcclusion& cut,
                                  std::uint32_t first,
                                  std::uint32_t second,
                                  std::vector<std::uint32_t>& slots) const {
    const std::uint32_t crowd = crowdOf_.empty() ? kNoCrowd : crowdOf_[first];
    if (crowd != kNoCrowd && crowd == crowdOf_[second]) {
        surfaces_[crowd].appendNearest(cut, slots);
    }
}

} // namespace ctr
