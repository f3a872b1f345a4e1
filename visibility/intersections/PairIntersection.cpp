// The overlap of the spans of two triangles along the line that their planes have in common (the
// interval test of T. Moeller, 1997; see the header). O(1).
//
// Most spans are far apart, which doubles decide by kSpanMargin (ErrorBounds.h, section 6). The
// others are compared by the exact crossings rounded down to the grid, so the result is a function
// of the triangles alone.
#include "visibility/intersections/PairIntersection.h"

#include "visibility/ErrorBounds.h"
#include "visibility/exact/ContactTolerance.h"
#include "visibility/exact/SegmentPoint.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace ctr {
namespace {

/// Whether all corners are within a few steps of a plane. Rounding moves a corner by one step at
/// most, and tilts the other triangle's plane as well.
bool AreNearPlane(const PlaneValues& values, const GridVector& n) {
    const std::int64_t reach = WrapMultiply(error_bounds::kGrazingSteps, ChangePerStep(n));
    const auto& at = values.at;
    return std::min({at[0], at[1], at[2]}) >= WrapNegate(reach) &&
           std::max({at[0], at[1], at[2]}) <= reach;
}

/// An edge of a triangle that crosses a plane, with the values of the plane at its ends.
struct Crossing {
    int edge;
    std::int64_t from;
    std::int64_t to;
};

struct Crossings {
    Crossing first;
    Crossing second;
};

/// The two edges that a plane crosses, in edge order, for each combination of signs at the corners.
/// A corner on the plane belongs to the edge that ends there. Two corners on the plane count as in
/// front of it where the third is behind (EdgeOnPlane).
struct CrossedEdges {
    std::array<int, 2> of[27] = {};

    constexpr CrossedEdges() {
        for (int signs = 0; signs < 27; ++signs) {
            int at[3] = {signs / 9 - 1, signs / 3 % 3 - 1, signs % 3 - 1};
            const bool isBehindFromEdge =
                (at[0] == 0) + (at[1] == 0) + (at[2] == 0) == 2 && at[0] + at[1] + at[2] < 0;
            for (int& side : at) {
                side = side == 0 && isBehindFromEdge ? 1 : side;
            }
            std::size_t count = 0;
            for (int k = 0; k < 3 && count < 2; ++k) {
                const int to = at[(k + 1) % 3];
                if (at[k] != 0 && (to == 0 || at[k] != to)) {
                    of[signs][count++] = k;
                }
            }
        }
    }
};
constexpr CrossedEdges kCrossedEdges;

/// The two points where the edges of a straddling triangle cross the plane.
Crossings FindCrossings(const PlaneValues& values) {
    const auto& at = values.at;
    const int signs = 9 * SignOf(at[0]) + 3 * SignOf(at[1]) + SignOf(at[2]) + 13;
    const auto& [first, second] = kCrossedEdges.of[signs];
    return {{first, at[first], at[(first + 1) % 3]}, {second, at[second], at[(second + 1) % 3]}};
}

/// A crossing rounded down to the grid on screen.
struct Rounded {
    std::int32_t x;
    std::int32_t y;
    std::uint8_t end; ///< As in FoundIntersection.
};

/// The two crossings of a triangle. Once ordered along an axis, the first found is the low one on a
/// tie.
struct Span {
    Rounded low;
    Rounded high;
};

Rounded RoundedCrossing(const BakedVertex* corners, const Crossing& crossing, int firstEnd) {
    const Fraction t = MakeFraction(crossing.from, WrapSubtract(crossing.from, crossing.to));
    const double parameter = ValueOf(t);
    const BakedVertex& p = corners[crossing.edge];
    const BakedVertex& q = corners[(crossing.edge + 1) % 3];
    return {CoordinateAt(p.x, q.x, t, parameter), CoordinateAt(p.y, q.y, t, parameter),
            static_cast<std::uint8_t>(firstEnd + crossing.edge)};
}

Span SpanOf(const BakedVertex* corners, const Crossings& crossings, int firstEnd) {
    return {RoundedCrossing(corners, crossings.first, firstEnd),
            RoundedCrossing(corners, crossings.second, firstEnd)};
}

/// The values of both ends of a span.
using Double2 = double __attribute__((vector_size(16)));

/// A span on screen in doubles, off by less than a step on either axis.
struct ApproximateSpan {
    Double2 x;
    Double2 y;

    ApproximateSpan(const BakedVertex* corners, const Crossings& crossings) {
        const auto& [first, second] = crossings;
        const BakedVertex& p = corners[first.edge];
        const BakedVertex& q = corners[(first.edge + 1) % 3];
        const BakedVertex& r = corners[second.edge];
        const BakedVertex& s = corners[(second.edge + 1) % 3];
        const Double2 from{static_cast<double>(first.from), static_cast<double>(second.from)};
        const Double2 to{static_cast<double>(first.to), static_cast<double>(second.to)};
        const Double2 t = from / (from - to);
        const auto between = [&t](Double2 start, Double2 end) { return start + t * (end - start); };
        const auto both = [](std::int32_t a, std::int32_t b) {
            return Double2{static_cast<double>(a), static_cast<double>(b)};
        };
        x = between(both(p.x, r.x), both(q.x, s.x));
        y = between(both(p.y, r.y), both(q.y, s.y));
    }
};

/// Whether two spans are apart on an axis by more than their rounding can change.
bool AreApart(Double2 a, Double2 b) {
    constexpr double kMargin = error_bounds::kSpanMargin;
    return std::max(a[0], a[1]) + kMargin < std::min(b[0], b[1]) ||
           std::max(b[0], b[1]) + kMargin < std::min(a[0], a[1]);
}

/// The axis of larger screen extent of the four crossings, along which they are ordered; none when
/// all are in one grid column.
enum class OrderingAxis { none, x, y };

OrderingAxis ChooseAxis(const Span& a, const Span& b) {
    const auto [minX, maxX] = std::minmax({a.low.x, a.high.x, b.low.x, b.high.x});
    const auto [minY, maxY] = std::minmax({a.low.y, a.high.y, b.low.y, b.high.y});
    const std::int64_t extentX = std::int64_t{maxX} - std::int64_t{minX};
    const std::int64_t extentY = std::int64_t{maxY} - std::int64_t{minY};
    if (extentX == 0 && extentY == 0) {
        return OrderingAxis::none;
    }
    return extentX > extentY ? OrderingAxis::x : OrderingAxis::y;
}

/// The overlap of two spans along an axis; none when they are disjoint or only touch.
std::optional<SpanOverlap> OverlapOf(Span a, Span b, OrderingAxis axis) {
    const auto key = [axis](const Rounded& p) { return axis == OrderingAxis::x ? p.x : p.y; };
    for (Span* span : {&a, &b}) {
        if (key(span->high) < key(span->low)) {
            std::swap(span->low, span->high);
        }
    }
    const bool lowestIsB = key(b.low) < key(a.low);
    bool lowIsB = key(b.low) >= key(a.low);
    const Rounded* low = lowIsB ? &b.low : &a.low;
    bool highIsB = key(b.high) < key(a.high);
    const Rounded* high = highIsB ? &b.high : &a.high;
    if (key(*low) >= key(*high)) {
        std::swap(low, high);
        std::swap(lowIsB, highIsB);
    }
    if (lowestIsB == lowIsB) {
        return std::nullopt;
    }
    return SpanOverlap{{low->end, high->end}, false};
}

} // namespace

std::optional<SpanOverlap> FindSpanOverlap(const StraddlingTriangle& a,
                                           const StraddlingTriangle& b) {
    const Crossings crossingsA = FindCrossings(a.values);
    const Crossings crossingsB = FindCrossings(b.values);
    const ApproximateSpan approximateA(a.corners, crossingsA);
    const ApproximateSpan approximateB(b.corners, crossingsB);
    // On a common line, spans that are apart on one axis are at least as far apart on the axis of
    // larger extent.
    if (AreApart(approximateA.x, approximateB.x) || AreApart(approximateA.y, approximateB.y)) {
        return std::nullopt;
    }
    const Span spanA = SpanOf(a.corners, crossingsA, 0);
    const Span spanB = SpanOf(b.corners, crossingsB, 3);
    const OrderingAxis axis = ChooseAxis(spanA, spanB);
    if (axis == OrderingAxis::none) {
        return std::nullopt;
    }
    std::optional<SpanOverlap> overlap = OverlapOf(spanA, spanB, axis);
    if (overlap) {
        overlap->grazing = AreNearPlane(a.values, b.normal) || AreNearPlane(b.values, a.normal);
    }
    return overlap;
}

tPointOnEdge EdgeCrossing(const BakedVertex* corners,
                          int edge,
                          const BakedVertex& origin,
                          const GridVector& normal) {
    const BakedVertex& start = corners[edge];
    const BakedVertex& end = corners[(edge + 1) % 3];
    const std::int64_t from = Dot(normal, Difference(start, origin));
    const std::int64_t to = Dot(normal, Difference(end, origin));
    const Fraction t = MakeFraction(from, WrapSubtract(from, to));
    return {start, end, PointAt(start, end, t), t};
}

} // namespace ctr
