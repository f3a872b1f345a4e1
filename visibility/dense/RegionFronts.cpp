// Rasterises the triangles of a region at the centres of cells into a z-buffer of several layers.
// In doubles: the result only determines the order of tests. O(n + c) for n triangles and c cells.
#include "visibility/dense/RegionFronts.h"

#include "visibility/baking/BvhNode.h"
#include "visibility/exact/GridArithmetic.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace ctr {
namespace {

/// The centre of a cell in steps.
double CentreOf(const GridAxis::Interval& substeps) {
    return 0.5 / GridAxis::kSubsteps * static_cast<double>(substeps.min + substeps.max);
}

/// A triangle on screen in doubles.
class ApproximateTriangle {
public:
    explicit ApproximateTriangle(const SlotTriangle& triangle) : corners_(triangle.corners) {
        const GridVector normal = NormalOf(corners_);
        perX_ = -static_cast<double>(normal[0]) / static_cast<double>(normal[2]);
        perY_ = -static_cast<double>(normal[1]) / static_cast<double>(normal[2]);
    }

    bool covers(double x, double y) const {
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

bool ContainsPoint(const kx::kxBBox& box, const BakedVertex& p) {
    const float position[3] = {static_cast<float>(p.x), static_cast<float>(p.y),
                               static_cast<float>(p.z)};
    bool contains = true;
    for (int axis = 0; axis < 3; ++axis) {
        contains = contains && box.min[axis] <= position[axis] && position[axis] <= box.max[axis];
    }
    return contains;
}

} // namespace

RegionFront::RegionFront(const SlotTriangles& triangles,
                         const std::vector<std::uint32_t>& slots,
                         ItemCounter& work)
    : cells_(triangles, slots), nearest_(cells_.count()) {
    for (const std::uint32_t slot : slots) {
        work.count(Tuning::kWorkPerFrontTriangle);
        add(triangles[slot], slot, work);
    }
}

void RegionFront::add(const SlotTriangle& triangle, std::uint32_t slot, ItemCounter& work) {
    const ApproximateTriangle approximate(triangle);
    const GridAxis::Run columns = cells_.columns.overlapping(StepsOf(triangle, &BakedVertex::x));
    const GridAxis::Run rows = cells_.rows.overlapping(StepsOf(triangle, &BakedVertex::y));
    for (std::int64_t row = rows.first; row <= rows.last; ++row) {
        work.count(columns.length());
        for (std::int64_t column = columns.first; column <= columns.last; ++column) {
            const double x = CentreOf(cells_.columns[column]);
            const double y = CentreOf(cells_.rows[row]);
            Cell& cell = nearest_[cells_.indexOf(column, row)];
            const auto depth = static_cast<float>(approximate.depthAt(x, y));
            if (!(depth < cell.back().depth) || !approximate.covers(x, y)) {
                continue;
            }
            const auto behind = std::upper_bound(
                cell.begin(), cell.end(), depth,
                [](float value, const Entry& position) { return value < position.depth; });
            std::move_backward(behind, cell.end() - 1, cell.end());
            *behind = {depth, slot};
        }
    }
}

void RegionFront::findNearest(double x, double y, std::vector<std::uint32_t>& slots) const {
    const std::size_t index = cells_.indexOf(cells_.columns.around(x), cells_.rows.around(y));
    slots.clear();
    for (const Entry& position : nearest_[index]) {
        if (position.depth < Entry().depth) {
            slots.push_back(position.slot);
        }
    }
}

RegionFronts::RegionFronts(const BakedTriangles& baked,
                           const SlotTriangles& triangles,
                           ItemCounter& work)
    : baked_(baked) {
    for (const unsigned int root : FindDenseRegions(baked, work)) {
        denseRegions_.push_back({root, RegionFront(triangles, SlotsBelow(baked, root), work)});
    }
}

void RegionFronts::selectSegment(const BakedVertex& a, const BakedVertex& b) {
    current_ = denseRegions_.empty() ? nullptr : regionOf(0, a, b);
    from_[0] = a.x;
    from_[1] = a.y;
    along_[0] = static_cast<double>(b.x) - a.x;
    along_[1] = static_cast<double>(b.y) - a.y;
    nearest_.clear();
}

const std::vector<std::uint32_t>& RegionFronts::nearestAt(double t) {
    if (current_ != nullptr) {
        current_->front.findNearest(from_[0] + t * along_[0], from_[1] + t * along_[1], nearest_);
    }
    return nearest_;
}

/// The region below a node whose box contains both points.
const RegionFronts::Region*
RegionFronts::regionOf(unsigned int node, const BakedVertex& a, const BakedVertex& b) const {
    const BvhNode& here = baked_.bvh.nodes[node];
    if (!ContainsPoint(here.box, a) || !ContainsPoint(here.box, b)) {
        return nullptr;
    }
    const auto region =
        std::lower_bound(denseRegions_.begin(), denseRegions_.end(), node,
                         [](const Region& one, unsigned int root) { return one.root < root; });
    if (region != denseRegions_.end() && region->root == node) {
        return &*region;
    }
    if (IsLeaf(here)) {
        return nullptr;
    }
    const Region* const first = regionOf(FirstChild(here), a, b);
    return first != nullptr ? first : regionOf(SecondChild(here), a, b);
}

} // namespace ctr
