// Builds the tree by median splits, O(n log n), and traverses it with a stack: O(log n + m) per
// query for m points near the segment where these are few.
//
// A box is rejected by a slab test of the segment against the box enlarged by the distance, with
// the margin kParameterMargin (visibility/ErrorBounds.h).
#include "features/PointTree.h"

#include "features/Tuning.h"
#include "visibility/ErrorBounds.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace ctr {
namespace {

/// Slab test: whether a segment meets a box that is enlarged by a distance.
bool MayReach(const Bounds& box,
              const Wm4::Vector3<double>& start,
              const Wm4::Vector3<double>& end,
              double distance) {
    double enter = 0.0;
    double leave = 1.0;
    for (int axis = 0; axis < 3; ++axis) {
        const double low = box.min[axis] - distance;
        const double high = box.max[axis] + distance;
        const double step = end[axis] - start[axis];
        if (step == 0.0) {
            if (start[axis] < low || start[axis] > high) {
                return false;
            }
            continue;
        }
        const double a = (low - start[axis]) / step;
        const double b = (high - start[axis]) / step;
        enter = std::max(enter, std::min(a, b));
        leave = std::min(leave, std::max(a, b));
    }
    return enter <= leave + error_bounds::kParameterMargin;
}

int LongestAxis(const Wm4::Vector3<double>& size) {
    const int first = size[1] > size[0] ? 1 : 0;
    return size[2] > size[first] ? 2 : first;
}

} // namespace

PointTree::PointTree(std::vector<Wm4::Vector3<double>> points)
    : points_(std::move(points)), order_(points_.size()) {
    std::iota(order_.begin(), order_.end(), 0U);
    if (!points_.empty()) {
        build(0, static_cast<std::uint32_t>(points_.size()));
    }
}

/// The halves are equal in size, so the depth is logarithmic for any points.
std::uint32_t PointTree::build(std::uint32_t first, std::uint32_t end) {
    const auto number = static_cast<std::uint32_t>(nodes_.size());
    nodes_.push_back({Bounds(), first, end, 0});
    Bounds box;
    for (std::uint32_t i = first; i < end; ++i) {
        box.add(points_[order_[i]]);
    }
    nodes_[number].box = box;
    if (end - first <= SurfaceTuning::kPointsPerLeaf) {
        return number;
    }
    const int axis = LongestAxis(box.size());
    const std::uint32_t middle = first + (end - first) / 2;
    std::nth_element(order_.begin() + first, order_.begin() + middle, order_.begin() + end,
                     [&](std::uint32_t a, std::uint32_t b) {
                         const double left = points_[a][axis];
                         const double right = points_[b][axis];
                         return left != right ? left < right : a < b;
                     });
    build(first, middle);
    const std::uint32_t right = build(middle, end);
    nodes_[number].right = right;
    return number;
}

void PointTree::findNear(const Wm4::Vector3<double>& start,
                         const Wm4::Vector3<double>& end,
                         double distance,
                         std::size_t most,
                         std::vector<std::uint32_t>& found) const {
    std::array<std::uint32_t, 64> stack;
    std::size_t size = 0;
    if (!nodes_.empty()) {
        stack[size++] = 0;
    }
    while (size > 0 && found.size() < most) {
        const std::uint32_t number = stack[--size];
        const Node& node = nodes_[number];
        if (!MayReach(node.box, start, end, distance)) {
            continue;
        }
        if (node.right == 0) {
            found.insert(found.end(), order_.begin() + node.first, order_.begin() + node.end);
        } else {
            stack[size++] = node.right;
            stack[size++] = number + 1;
        }
    }
}

} // namespace ctr
