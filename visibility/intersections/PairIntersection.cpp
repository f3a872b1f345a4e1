// The interval test of T. Moeller, A fast triangle-triangle intersection test, Journal of Graphics
// Tools 2(2), 1997, in integers: each triangle has to straddle the other's plane, and the two spans
// along the common line have to overlap. Most spans are far apart, which doubles can tell.
#include "visibility/intersections/PairIntersection.h"

#include "visibility/exact/ContactTolerance.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace ctr {
namespace {

/// Some steps along every axis could bring each corner onto the plane. Rounding moves a corner by
/// one step at most, and tilts the other triangle's plane as well.
bool AreBesidePlane(const PlaneValues& values, const GridVector& n) {
    constexpr std::int64_t kSteps = 16;
    const std::int64_t reach = WrapMultiply(kSteps, ChangePerStep(n));
    const auto& at = values.at;
    return std::min({at[0], at[1], at[2]}) >= WrapNegate(reach) &&
           std::max({at[0], at[1], at[2]}) <= reach;
}

/// floor(delta * part), the part being in [0, 1]; `guess` is off by less than a step.
std::int64_t ExactSteps(std::int64_t delta, const Fraction& part, std::int64_t guess) {
    using Wide = __int128;
    const Wide product = Wide{delta} * part[0];
    Wide steps = guess;
    while (steps * part[1] > product) {
        --steps;
    }
    while ((steps + 1) * part[1] <= product) {
        ++steps;
    }
    return static_cast<std::int64_t>(steps);
}

/// floor(p0 + (p1 - p0) * t), measured from the smaller end. The double is off by less than 2^-18,
/// so the whole steps are sure unless it is close to a whole number.
std::int32_t CoordinateAt(std::int32_t p0, std::int32_t p1, const Fraction& t, double share) {
    constexpr double kUnsure = 0x1p-16;
    const std::int64_t delta = std::abs(std::int64_t{p1} - std::int64_t{p0});
    const bool rises = p1 >= p0;
    std::int64_t steps = 0;
    if (t[0] < 0 || t[0] > t[1]) {
        using Wide = __int128; // only on grids too fine to be of use
        const Wide part = rises ? Wide{t[0]} : Wide{t[1]} - Wide{t[0]};
        steps = static_cast<std::int64_t>(Wide{delta} * part / t[1]);
    } else {
        const double guess = static_cast<double>(delta) * (rises ? share : 1.0 - share);
        steps = static_cast<std::int64_t>(guess);
        const double rest = guess - static_cast<double>(steps);
        if (rest < kUnsure || rest > 1.0 - kUnsure) {
            steps = ExactSteps(delta, {rises ? t[0] : t[1] - t[0], t[1]}, steps);
        }
    }
    return static_cast<std::int32_t>(WrapAdd(rises ? p0 : p1, steps));
}

/// An edge of a triangle that crosses a plane, with the plane's values at its ends.
struct Crossing {
    int edge;
    std::int64_t from;
    std::int64_t to;
};

struct Crossings {
    Crossing first;
    Crossing second;
};

/// Which two edges a plane crosses, in edge order, by the signs of its values at the corners. A
/// corner on the plane belongs to the edge that ends there; two are in front of it, where the third
/// is behind (EdgeOnPlane).
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

/// The two crossings of a straddling triangle's edges.
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

/// The two crossings in order along an axis; the first found is the low one on a tie.
struct Span {
    Rounded low;
    Rounded high;
};

double ShareOf(const Fraction& t) {
    return static_cast<double>(t[0]) / static_cast<double>(t[1]);
}

Rounded RoundedCrossing(const BakedVertex* corners, const Crossing& crossing, int firstEnd) {
    const Fraction t = MakeFraction(crossing.from, WrapSubtract(crossing.from, crossing.to));
    const BakedVertex& p = corners[crossing.edge];
    const BakedVertex& q = corners[(crossing.edge + 1) % 3];
    return {CoordinateAt(p.x, q.x, t, ShareOf(t)), CoordinateAt(p.y, q.y, t, ShareOf(t)),
            static_cast<std::uint8_t>(firstEnd + crossing.edge)};
}

Span SpanOf(const BakedVertex* corners, const Crossings& crossings, int firstEnd) {
    return {RoundedCrossing(corners, crossings.first, firstEnd),
            RoundedCrossing(corners, crossings.second, firstEnd)};
}

/// Numbers of both ends of a span.
using Both = double __attribute__((vector_size(16)));

/// A span on screen, off by less than a step on either axis.
struct RoughSpan {
    Both x;
    Both y;

    RoughSpan(const BakedVertex* corners, const Crossings& crossings) {
        const auto& [first, second] = crossings;
        const BakedVertex& p = corners[first.edge];
        const BakedVertex& q = corners[(first.edge + 1) % 3];
        const BakedVertex& r = corners[second.edge];
        const BakedVertex& s = corners[(second.edge + 1) % 3];
        const Both from{static_cast<double>(first.from), static_cast<double>(second.from)};
        const Both to{static_cast<double>(first.to), static_cast<double>(second.to)};
        const Both t = from / (from - to);
        const auto between = [&t](Both start, Both end) { return start + t * (end - start); };
        const auto both = [](std::int32_t a, std::int32_t b) {
            return Both{static_cast<double>(a), static_cast<double>(b)};
        };
        x = between(both(p.x, r.x), both(q.x, s.x));
        y = between(both(p.y, r.y), both(q.y, s.y));
    }
};

/// Whether two spans of one line are apart on an axis by more than roundings can change.
bool AreApart(Both a, Both b) {
    constexpr double kSteps = 4.0;
    return std::max(a[0], a[1]) + kSteps < std::min(b[0], b[1]) ||
           std::max(b[0], b[1]) + kSteps < std::min(a[0], a[1]);
}

/// The larger screen extent of the four crossings decides the axis along which they are ordered;
/// none when all are in one grid column.
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

/// The overlap of two spans along an axis; none when they are apart or only touch.
std::optional<Piercing> OverlapOf(Span a, Span b, OrderingAxis axis) {
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
    return Piercing{{low->end, high->end}, false};
}

} // namespace

BakedVertex PointAt(const BakedVertex& p0, const BakedVertex& p1, const Fraction& t) {
    const double share = ShareOf(t);
    return {CoordinateAt(p0.x, p1.x, t, share), CoordinateAt(p0.y, p1.y, t, share),
            CoordinateAt(p0.z, p1.z, t, share)};
}

std::optional<Piercing> FindPiercing(const CutTriangle& a, const CutTriangle& b) {
    const Crossings crossingsA = FindCrossings(a.values);
    const Crossings crossingsB = FindCrossings(b.values);
    const RoughSpan roughA(a.corners, crossingsA);
    const RoughSpan roughB(b.corners, crossingsB);
    // On one line, spans apart on an axis are as far apart on the axis of larger extent.
    if (AreApart(roughA.x, roughB.x) || AreApart(roughA.y, roughB.y)) {
        return std::nullopt;
    }
    const Span spanA = SpanOf(a.corners, crossingsA, 0);
    const Span spanB = SpanOf(b.corners, crossingsB, 3);
    const OrderingAxis axis = ChooseAxis(spanA, spanB);
    if (axis == OrderingAxis::none) {
        return std::nullopt;
    }
    std::optional<Piercing> overlap = OverlapOf(spanA, spanB, axis);
    if (overlap) {
        overlap->grazing = AreBesidePlane(a.values, b.normal) || AreBesidePlane(b.values, a.normal);
    }
    return overlap;
}

tPointOnEdge CrossingOf(const BakedVertex* corners,
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
