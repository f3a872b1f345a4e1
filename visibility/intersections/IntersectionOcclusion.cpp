// Clips an intersection edge to four half-spaces by the signs of linear functions at its ends: the
// plane of a triangle and its three edges. O(1) per triangle. Signs are exact; most are certain in
// doubles by the margins of ErrorBounds.h, section 3.
//
// Size of the numbers: four grid points span |N . d| <= 2 * 2^(2b + d) with b bits across the
// screen and d in depth, since the largest tetrahedron in a box has a third of its volume. With 2b
// + d = 60, the constructor's grid, plane values are below 2^61 and their differences below 2^62;
// the terms that add up to one are below 2^61 each (GridArithmetic.h). Parameters are quotients of
// such values; their cross products take 128 bits.
#include "visibility/intersections/IntersectionOcclusion.h"

#include "visibility/ErrorBounds.h"
#include "visibility/baking/BvhNode.h"
#include "visibility/exact/FractionOrder.h"
#include "visibility/occlusion/TriangleOcclusion.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace ctr {
namespace {

/// Truncation toward zero, saturated: only grids beyond the documented bounds reach the limits.
std::int64_t SaturatedToInteger(double value) {
    constexpr double kLimit = error_bounds::kSaturatedDifference;
    return static_cast<std::int64_t>(std::clamp(value, -kLimit, kLimit));
}

/// A linear function along the triangle edge on which an end of an intersection edge lies.
class ValueAtEnd {
public:
    ValueAtEnd(const Fraction& t, std::int64_t atStart, std::int64_t atEnd)
        : t_(t), atStart_(atStart), atEnd_(atEnd) {}

    /// The exact sign at the end.
    int sign() const {
        const int start = SignOf(atStart_);
        const int end = SignOf(atEnd_);
        if (start == end) {
            return start;
        }
        const Fraction zero = MakeFraction(atStart_, WrapSubtract(atStart_, atEnd_));
        const int side = CompareFractions(t_, zero);
        // Beyond its zero the function has the sign of its change.
        return side == 0 ? 0 : side * SignOf(WrapSubtract(atEnd_, atStart_));
    }

    /// The value, rounded toward the one at the start of the edge.
    std::int64_t rounded() const {
        if (t_[0] == t_[1]) {
            return atEnd_;
        }
        const double t = static_cast<double>(t_[0]) / static_cast<double>(t_[1]);
        const auto change = static_cast<double>(WrapSubtract(atEnd_, atStart_));
        return WrapAdd(atStart_, SaturatedToInteger(t * change));
    }

private:
    const Fraction& t_;
    std::int64_t atStart_;
    std::int64_t atEnd_;
};

std::array<double, 3> PointOfEnd(const tPointOnEdge& end) {
    const double t = static_cast<double>(end.t[0]) / static_cast<double>(end.t[1]);
    const auto at = [t](std::int32_t from, std::int32_t to) {
        return from + t * (static_cast<double>(to) - from);
    };
    return {at(end.edgeStart.x, end.edgeEnd.x), at(end.edgeStart.y, end.edgeEnd.y),
            at(end.edgeStart.z, end.edgeEnd.z)};
}

/// The box of two points on screen, enlarged by kBesideSteps where that does not exceed the
/// coordinates.
GridBox BoxAround(const BakedVertex& p, const BakedVertex& q) {
    constexpr auto kBeside = static_cast<std::int32_t>(error_bounds::kBesideSteps);
    constexpr std::int32_t kLowest = GridBox::kLowest;
    constexpr std::int32_t kHighest = GridBox::kHighest;
    const auto below = [](std::int32_t a, std::int32_t b) {
        return std::max(std::min(a, b), kLowest + kBeside) - kBeside;
    };
    const auto above = [](std::int32_t a, std::int32_t b) {
        return std::min(std::max(a, b), kHighest - kBeside) + kBeside;
    };
    return {{below(p.x, q.x), below(p.y, q.y), kLowest},
            {above(p.x, q.x), above(p.y, q.y), kHighest}};
}

} // namespace

/// The plane or an edge line of a triangle as a linear function of grid points. Its values at the
/// rounded ends are off by less than `error`.
struct IntersectionOcclusion::Function {
    BakedVertex origin;
    GridVector normal;
    bool isClosed; ///< Edges that lie on it count as inside.
    double error;

    Function(const BakedVertex& p, const GridVector& n, bool closed)
        : origin(p), normal(n), isClosed(closed),
          error((std::abs(static_cast<double>(n[0])) + std::abs(static_cast<double>(n[1])) +
                 std::abs(static_cast<double>(n[2]))) *
                error_bounds::kFunctionError) {}

    /// The line through an edge of a triangle, negative inside of a counter-clockwise triangle.
    static Function edge(const BakedVertex& a, const BakedVertex& b, bool closed) {
        const GridVector e = Difference(b, a);
        return {a, GridVector(e[1], -e[0], 0), closed};
    }

    std::int64_t at(const BakedVertex& p) const { return Dot(normal, Difference(p, origin)); }
    double at(const std::array<double, 3>& p) const {
        return static_cast<double>(normal[0]) * (p[0] - origin.x) +
               static_cast<double>(normal[1]) * (p[1] - origin.y) +
               static_cast<double>(normal[2]) * (p[2] - origin.z);
    }
    ValueAtEnd at(const tPointOnEdge& end) const {
        return {end.t, at(end.edgeStart), at(end.edgeEnd)};
    }
};

IntersectionOcclusion::IntersectionOcclusion(const IntersectionEdge& edge,
                                             const ContactTolerance& tolerance)
    : edge_(edge), tolerance_(tolerance),
      box_(BoxAround(edge.first.point, edge.second.point)), ends_{PointOfEnd(edge.first),
                                                                  PointOfEnd(edge.second)} {}

/// Whether both ends are certainly outside of an edge of a triangle.
bool IntersectionOcclusion::isOutside(const BakedVertex& a, const BakedVertex& b) const {
    const double x = a.x;
    const double y = a.y;
    const double alongX = b.x - x;
    const double alongY = b.y - y;
    const double error = (std::abs(alongX) + std::abs(alongY)) * error_bounds::kFunctionError;
    return (ends_[0][0] - x) * alongY - (ends_[0][1] - y) * alongX > error &&
           (ends_[1][0] - x) * alongY - (ends_[1][1] - y) * alongX > error;
}

IntersectionOcclusion IntersectionOcclusion::restrictedTo(const RationalInterval& remaining) const {
    IntersectionOcclusion restricted(*this);
    const auto pointAt = [this](const Fraction& at) {
        const double t = static_cast<double>(at[0]) / static_cast<double>(at[1]);
        std::array<double, 3> point{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            point[axis] = ends_[0][axis] + t * (ends_[1][axis] - ends_[0][axis]);
        }
        return point;
    };
    restricted.remaining_ = {pointAt(remaining.start), pointAt(remaining.end)};
    return restricted;
}

/// Whether a function is certainly positive throughout the remaining part, given that its zero is
/// computed from values at the ends of the edge that are rounded by less than 1.
bool IntersectionOcclusion::isRemainderOutside(const Function& function) const {
    const double least =
        error_bounds::kRoundedValueMargin + error_bounds::kRemainderErrors * function.error;
    return function.at((*remaining_)[0]) > least && function.at((*remaining_)[1]) > least;
}

bool IntersectionOcclusion::isRemainderOutside(const SlotTriangle& triangle,
                                               const GridVector& normal) const {
    const auto& p = triangle.corners;
    return isRemainderOutside(Function(p[0], normal, false)) ||
           isRemainderOutside(Function::edge(p[0], p[1], false)) ||
           isRemainderOutside(Function::edge(p[1], p[2], false)) ||
           isRemainderOutside(Function::edge(p[2], p[0], false));
}

/// Removes the part of the interval where the function is positive; false for an empty result. The
/// signs of most values are certain in doubles.
bool IntersectionOcclusion::clip(const Function& function, RationalInterval& interval) const {
    const double value1 = function.at(ends_[0]);
    const double value2 = function.at(ends_[1]);
    if (std::min(value1, value2) > function.error) {
        return false;
    }
    return std::max(value1, value2) < -function.error || clipExactly(function, interval);
}

bool IntersectionOcclusion::clipExactly(const Function& function,
                                        RationalInterval& interval) const {
    const ValueAtEnd first = function.at(edge_.first);
    const ValueAtEnd second = function.at(edge_.second);
    const int firstSign = first.sign();
    const int secondSign = second.sign();
    if (firstSign * secondSign >= 0) {
        const bool runsAlong = firstSign == 0 && secondSign == 0;
        return runsAlong ? function.isClosed : firstSign + secondSign < 0;
    }
    const bool entering = firstSign > 0;
    const std::int64_t value1 = entering ? std::max(first.rounded(), std::int64_t{1})
                                         : std::min(first.rounded(), -std::int64_t{1});
    const std::int64_t value2 = entering ? std::min(second.rounded(), -std::int64_t{1})
                                         : std::max(second.rounded(), std::int64_t{1});
    const Fraction crossing = MakeFraction(value1, WrapSubtract(value1, value2));
    if (entering && CompareFractions(crossing, interval.start) > 0) {
        interval.start = crossing;
    } else if (!entering && CompareFractions(interval.end, crossing) > 0) {
        interval.end = crossing;
    }
    return true;
}

/// Whether some of the interval lies deeper behind a plane than the tolerance.
bool IntersectionOcclusion::reachesBeyondTolerance(const Function& plane,
                                                   const RationalInterval& interval) const {
    const std::int64_t deepest = WrapNegate(tolerance_.bandOf(plane.normal));
    const EndValues value{plane.at(edge_.first).rounded(), plane.at(edge_.second).rounded()};
    return value.isBelow(deepest, interval.start) || value.isBelow(deepest, interval.end);
}

std::optional<RationalInterval> IntersectionOcclusion::occludedBy(const SlotTriangle& triangle,
                                                                  const GridVector& normal) const {
    if (box_.excludes(triangle.corners)) {
        return std::nullopt;
    }
    if (remaining_ && isRemainderOutside(triangle, normal)) {
        return std::nullopt;
    }
    const auto& p = triangle.corners;
    if (isOutside(p[0], p[1]) || isOutside(p[1], p[2]) || isOutside(p[2], p[0])) {
        return std::nullopt;
    }
    const Function plane(p[0], normal, false);
    // As for segments: points behind an edge that two faces share are occluded by both.
    const bool closed = !tolerance_.isOff();
    RationalInterval interval{{0, 1}, {1, 1}};
    if (!clip(plane, interval) || !clip(Function::edge(p[0], p[1], closed), interval) ||
        !clip(Function::edge(p[1], p[2], closed), interval) ||
        !clip(Function::edge(p[2], p[0], closed), interval)) {
        return std::nullopt;
    }
    if (CompareFractions(interval.end, interval.start) <= 0 ||
        (!tolerance_.isOff() && !reachesBeyondTolerance(plane, interval))) {
        return std::nullopt;
    }
    return interval;
}

void IntersectionOcclusion::appendOccluded(const BakedTriangles& baked,
                                           unsigned int node,
                                           std::vector<RationalInterval>& occluded) const {
    const BvhNode& here = baked.bvh.nodes[node];
    if (!box_.overlapsOnScreen(here.box)) {
        return;
    }
    if (!IsLeaf(here)) {
        appendOccluded(baked, FirstChild(here), occluded);
        appendOccluded(baked, SecondChild(here), occluded);
        return;
    }
    for (unsigned int slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
        const auto triangle = TriangleOf(baked, baked.bvh.primitives[slot]);
        if (const auto part = occludedBy(triangle, baked.trianglePlanes[triangle.number])) {
            occluded.push_back(*part);
        }
    }
}

} // namespace ctr
