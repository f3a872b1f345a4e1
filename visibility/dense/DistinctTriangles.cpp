// Two sorts: of triangles by their corners, and of corners by their coordinates. Exact, since only
// integers are compared; O(n log n) for n triangles.
#include "visibility/dense/DistinctTriangles.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace ctr {
namespace {

auto CoordinatesOf(const BakedVertex& p) {
    return std::tie(p.x, p.y, p.z);
}

auto CornersOf(const SlotTriangle& triangle) {
    const auto& [p, q, r] = triangle.corners;
    return std::tuple_cat(CoordinatesOf(p), CoordinatesOf(q), CoordinatesOf(r));
}

} // namespace

DistinctTriangles::DistinctTriangles(const std::vector<Triangle>& triangles, ItemCounter& work)
    : triangles_(triangles) {
    findEqual(work);
    findPositions(work);
}

void DistinctTriangles::findEqual(ItemCounter& work) {
    slots_.resize(triangles_.size());
    std::iota(slots_.begin(), slots_.end(), 0U);
    std::sort(slots_.begin(), slots_.end(), [&](std::uint32_t a, std::uint32_t b) {
        work.count(1);
        const auto x = CornersOf(triangles_[a]);
        const auto y = CornersOf(triangles_[b]);
        return x != y ? x < y
                      : std::tie(triangles_[a].number, a) < std::tie(triangles_[b].number, b);
    });
    for (std::uint32_t i = 0; i < slots_.size(); ++i) {
        if (i == 0 || CornersOf(triangles_[slots_[i - 1]]) != CornersOf(triangles_[slots_[i]])) {
            firsts_.push_back(i);
        }
    }
    positions_.resize(firsts_.size());
    firsts_.push_back(static_cast<std::uint32_t>(slots_.size()));
}

void DistinctTriangles::findPositions(ItemCounter& work) {
    std::vector<std::uint32_t> corners(3 * positions_.size());
    std::iota(corners.begin(), corners.end(), 0U);
    const auto at = [this](std::uint32_t corner) {
        return CoordinatesOf((*this)[corner / 3].corners[corner % 3]);
    };
    std::sort(corners.begin(), corners.end(), [&](std::uint32_t a, std::uint32_t b) {
        work.count(1);
        return std::tuple_cat(at(a), std::tie(a)) < std::tuple_cat(at(b), std::tie(b));
    });
    for (std::size_t i = 0; i < corners.size(); ++i) {
        if (i == 0 || at(corners[i - 1]) != at(corners[i])) {
            points_.push_back((*this)[corners[i] / 3].corners[corners[i] % 3]);
        }
        positions_[corners[i] / 3][corners[i] % 3] = positionCount() - 1;
    }
}

std::optional<std::uint32_t> DistinctTriangles::positionAt(const BakedVertex& point) const {
    const auto isBefore = [](const BakedVertex& p, const BakedVertex& q) {
        return CoordinatesOf(p) < CoordinatesOf(q);
    };
    const auto found = std::lower_bound(points_.begin(), points_.end(), point, isBefore);
    if (found == points_.end() || isBefore(point, *found)) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(found - points_.begin());
}

std::vector<std::uint32_t> DistinctTriangles::degrees() const {
    std::vector<std::uint32_t> degrees(positionCount(), 0);
    for (const Positions& positions : positions_) {
        for (const std::uint32_t position : positions) {
            ++degrees[position];
        }
    }
    return degrees;
}

} // namespace ctr
