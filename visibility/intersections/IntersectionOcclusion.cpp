// Signs of linear functions at the ends of an intersection edge, and the range that four of them
// leave: the plane of a triangle and its three edges.
//
// Numbers. Four grid points span |N . d| <= 2 * 2^(2b + d) with b bits across the screen and d in
// depth, since the largest tetrahedron in a box has a third of its volume. With 2b + d = 60, the
// constructor's grid, plane values are below 2^61 and their differences below 2^62; the terms that
// add up to one are below 2^61 each (GridArithmetic.h). Parameters are quotients of such values;
// their cross products take 128 bits.
#include "visibility/intersections/IntersectionOcclusion.h"

#include "visibility/bvh/BvhNode.h"
#include "visibility/exact/FractionOrder.h"
#include "visibility/occlusion/TriangleOcclusion.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace ctr {
namespace {

/// Truncation toward zero, saturated: only grids beyond the documented bounds reach the limits.
std::int64_t SaturatedToInteger(double value) {
    constexpr double kLimit = 4611686018427387904.0;
    return static_cast<std::int64_t>(std::clamp(value, -kLimit, kLimit));
}

/// The rounded ends, and what is computed of them, are off by less than this times the size of the
/// function: grid coordinates have at most 31 bits.
constexpr double kEndError = 0x1p-18;

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
        // Beyond its zero the function has the sign of the far end, or of minus the near one.
        return side == 0 ? 0 : side * SignOf(WrapSubtract(atEnd_, atStart_));
    }

    /// The value rounded toward the one at the start of the edge.
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

std::array<double, 3> PlaceOfEnd(const tPointOnEdge& end) {
    const double t = static_cast<double>(end.t[0]) / static_cast<double>(end.t[1]);
    const auto at = [t](std::int32_t from, std::int32_t to) {
        return from + t * (static_cast<double>(to) - from);
    };
    return {at(end.edgeStart.x, end.edgeEnd.x), at(end.edgeStart.y, end.edgeEnd.y),
            at(end.edgeStart.z, end.edgeEnd.z)};
}

/// What is within a step of the box of two points on screen; there is no step beyond the largest
/// coordinate.
TriangleSieve SieveOf(const BakedVertex& p, const BakedVertex& q) {
    constexpr std::int32_t kLeast = TriangleSieve::kLeast;
    constexpr std::int32_t kMost = TriangleSieve::kMost;
    const auto below = [](std::int32_t a, std::int32_t b) {
        return std::max(std::min(a, b), kLeast + 1) - 1;
    };
    const auto above = [](std::int32_t a, std::int32_t b) {
        return std::min(std::max(a, b), kMost - 1) + 1;
    };
    return {{below(p.x, q.x), below(p.y, q.y), kLeast}, {above(p.x, q.x), above(p.y, q.y), kMost}};
}

} // namespace

/// A plane or an edge line of a triangle as a linear function of grid points. Its values at the
/// rounded ends are off by less than `error`.
struct CutOcclusion::Function {
    BakedVertex origin;
    GridVector normal;
    bool isClosed; ///< What runs along it counts as inside.
    double error;

    Function(const BakedVertex& p, const GridVector& n, bool closed)
        : origin(p), normal(n), isClosed(closed),
          error((std::abs(static_cast<double>(n[0])) + std::abs(static_cast<double>(n[1])) +
                 std::abs(static_cast<double>(n[2]))) *
                kEndError) {}

    /// The line through an edge of a triangle, negative inside of a counter-clockwise one.
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

CutOcclusion::CutOcclusion(const IntersectionEdge& edge, const ContactTolerance& tolerance)
    : edge_(edge), tolerance_(tolerance),
      sieve_(SieveOf(edge.first.point, edge.second.point)), ends_{PlaceOfEnd(edge.first),
                                                                  PlaceOfEnd(edge.second)} {}

/// Both ends are surely outside of an edge of a triangle.
bool CutOcclusion::isBeside(const BakedVertex& a, const BakedVertex& b) const {
    const double x = a.x;
    const double y = a.y;
    const double alongX = b.x - x;
    const double alongY = b.y - y;
    const double error = (std::abs(alongX) + std::abs(alongY)) * kEndError;
    return (ends_[0][0] - x) * alongY - (ends_[0][1] - y) * alongX > error &&
           (ends_[1][0] - x) * alongY - (ends_[1][1] - y) * alongX > error;
}

CutOcclusion CutOcclusion::within(const RationalInterval& open) const {
    CutOcclusion narrowed(*this);
    const auto placeAt = [this](const Fraction& at) {
        const double t = static_cast<double>(at[0]) / static_cast<double>(at[1]);
        std::array<double, 3> place{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            place[axis] = ends_[0][axis] + t * (ends_[1][axis] - ends_[0][axis]);
        }
        return place;
    };
    narrowed.open_ = {placeAt(open.start), placeAt(open.end)};
    return narrowed;
}

/// Whether a function is so large throughout the part that matters that it stays positive there
/// when values at the ends of the edge are rounded, by less than 1, and zeros are found from these.
bool CutOcclusion::isOpenOutside(const Function& function) const {
    const double least = 2.0 + 4.0 * function.error;
    return function.at((*open_)[0]) > least && function.at((*open_)[1]) > least;
}

bool CutOcclusion::isOpenOutside(const OccluderTree::Triangle& triangle,
                                 const GridVector& normal) const {
    const auto& p = triangle.corners;
    return isOpenOutside(Function(p[0], normal, false)) ||
           isOpenOutside(Function::edge(p[0], p[1], false)) ||
           isOpenOutside(Function::edge(p[1], p[2], false)) ||
           isOpenOutside(Function::edge(p[2], p[0], false));
}

/// Cuts the range where the function is positive; false when nothing is left of it. Most values are
/// so far from zero that their signs are sure.
bool CutOcclusion::narrow(const Function& function, RationalInterval& range) const {
    const double value1 = function.at(ends_[0]);
    const double value2 = function.at(ends_[1]);
    if (std::min(value1, value2) > function.error) {
        return false;
    }
    return std::max(value1, value2) < -function.error || narrowExactly(function, range);
}

bool CutOcclusion::narrowExactly(const Function& function, RationalInterval& range) const {
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
    if (entering && CompareFractions(crossing, range.start) > 0) {
        range.start = crossing;
    } else if (!entering && CompareFractions(range.end, crossing) > 0) {
        range.end = crossing;
    }
    return true;
}

/// Whether some of the range lies deeper behind a plane than the tolerance.
bool CutOcclusion::reachesDeeper(const Function& plane, const RationalInterval& range) const {
    const std::int64_t deepest = WrapNegate(tolerance_.bandOf(plane.normal));
    const EndValues value{plane.at(edge_.first).rounded(), plane.at(edge_.second).rounded()};
    return value.isBelow(deepest, range.start) || value.isBelow(deepest, range.end);
}

std::optional<RationalInterval> CutOcclusion::hiddenBy(const OccluderTree::Triangle& triangle,
                                                       const GridVector& normal) const {
    if (sieve_.isBeside(triangle.corners)) {
        return std::nullopt;
    }
    if (open_ && isOpenOutside(triangle, normal)) {
        return std::nullopt;
    }
    const auto& p = triangle.corners;
    if (isBeside(p[0], p[1]) || isBeside(p[1], p[2]) || isBeside(p[2], p[0])) {
        return std::nullopt;
    }
    const Function plane(p[0], normal, false);
    // As for segments: what lies behind the edge that two faces share is hidden by both.
    const bool closed = !tolerance_.isOff();
    RationalInterval range{{0, 1}, {1, 1}};
    if (!narrow(plane, range) || !narrow(Function::edge(p[0], p[1], closed), range) ||
        !narrow(Function::edge(p[1], p[2], closed), range) ||
        !narrow(Function::edge(p[2], p[0], closed), range)) {
        return std::nullopt;
    }
    if (CompareFractions(range.end, range.start) <= 0 ||
        (!tolerance_.isOff() && !reachesDeeper(plane, range))) {
        return std::nullopt;
    }
    return range;
}

void CutOcclusion::appendHidden(const BakedTriangles& baked,
                                unsigned int node,
                                std::vector<RationalInterval>& hidden) const {
    const HierarchyNode& here = baked.bvh.nodes[node];
    if (!sieve_.meets(here.box)) {
        return;
    }
    if (!IsLeaf(here)) {
        appendHidden(baked, FirstChild(here), hidden);
        appendHidden(baked, SecondChild(here), hidden);
        return;
    }
    for (unsigned int slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
        const auto triangle = OccluderTree::triangleOf(baked, baked.bvh.primitives[slot]);
        if (const auto part = hiddenBy(triangle, baked.trianglePlanes[triangle.number])) {
            hidden.push_back(*part);
        }
    }
}

} // namespace ctr
