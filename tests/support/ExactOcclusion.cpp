// Side values and depths are linear along the edge, so each condition bounds the parameter from one
// side. Depth is compared by interpolating the corners, without the triangle's plane normal.
#include "support/ExactOcclusion.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace test_support {

namespace {

// The point (x, y, z) / w with a positive weight w, which is 1 for points of the grid.
struct WidePoint {
    Wide x;
    Wide y;
    Wide z;
    Wide w;
};

WidePoint Widen(const ctr::BakedVertex& v) {
    return {v.x, v.y, v.z, 1};
}

// Twice the area of (from, to, p) on the screen, times p's weight: positive when p is to the left.
Wide SideOf(const WidePoint& from, const WidePoint& to, const WidePoint& p) {
    return (to.x - from.x) * (p.y - from.y * p.w) - (to.y - from.y) * (p.x - from.x * p.w);
}

// The depth of p less that of the triangle's plane there, times twice the triangle's area and p's
// weight. Over the area the side values are barycentric coordinates: each side weighs the corner
// that lies opposite.
Wide DepthBehind(const std::array<WidePoint, 3>& t, const WidePoint& p) {
    const Wide area = SideOf(t[0], t[1], t[2]);
    const Wide plane = SideOf(t[1], t[2], p) * t[0].z + SideOf(t[2], t[0], p) * t[1].z +
                       SideOf(t[0], t[1], p) * t[2].z;
    return p.z * area - plane;
}

// By how much DepthBehind() changes at the most when a point moves by so many steps on every axis.
Wide BandOf(const std::array<WidePoint, 3>& t, long tolerance) {
    const auto size = [](Wide value) { return value < 0 ? -value : value; };
    const Wide here = DepthBehind(t, {0, 0, 0, 1});
    return tolerance *
           (size(DepthBehind(t, {1, 0, 0, 1}) - here) + size(DepthBehind(t, {0, 1, 0, 1}) - here) +
            size(DepthBehind(t, {0, 0, 1, 1}) - here));
}

std::array<WidePoint, 3> Widen(const GridTriangle& t) {
    return {Widen(t[0]), Widen(t[1]), Widen(t[2])};
}

// A condition that holds where a function, linear from its value at t = 0 to that at t = 1, is
// positive; at its zero too unless it is strict.
struct Condition {
    Wide atStart;
    Wide atEnd;
    bool strict;

    bool isConstant() const { return atStart == atEnd; }
    bool rises() const { return atStart < atEnd; }
    bool holdsNowhere() const { return strict ? atStart <= 0 : atStart < 0; } // when constant
    bool exceeds(Wide limit, const Fraction& t) const {
        return atStart * (t.denominator - t.numerator) + atEnd * t.numerator >
               limit * t.denominator;
    }
    Fraction zero() const {
        return rises() ? Fraction{-atStart, atEnd - atStart} : Fraction{atStart, atStart - atEnd};
    }
};

std::array<Condition, 4>
Conditions(const std::array<WidePoint, 3>& t, const WidePoint& a, const WidePoint& b) {
    return {Condition{SideOf(t[0], t[1], a), SideOf(t[0], t[1], b), false},
            Condition{SideOf(t[1], t[2], a), SideOf(t[1], t[2], b), false},
            Condition{SideOf(t[2], t[0], a), SideOf(t[2], t[0], b), false},
            Condition{DepthBehind(t, a), DepthBehind(t, b), true}};
}

struct Bounds {
    Fraction start = {0, 1};
    Fraction end = {1, 1};
    bool none = false;

    void narrow(const Condition& condition) {
        if (condition.isConstant()) {
            none = none || condition.holdsNowhere();
        } else if (condition.rises()) {
            start = Compare(condition.zero(), start) >= 0 ? condition.zero() : start;
        } else {
            end = Compare(condition.zero(), end) <= 0 ? condition.zero() : end;
        }
    }
    bool fillMoreThanAPoint() const { return !none && Compare(start, end) < 0; }
    bool areOnePoint() const { return !none && Compare(start, end) == 0; }
};

Wm4::Vector2<std::int64_t> Narrow(const Fraction& value) {
    return {static_cast<long>(value.numerator), static_cast<long>(value.denominator)};
}

WidePoint PointAt(const WidePoint& a, const WidePoint& b, const Fraction& t) {
    const Wide rest = t.denominator - t.numerator;
    return {a.x * rest + b.x * t.numerator, a.y * rest + b.y * t.numerator,
            a.z * rest + b.z * t.numerator, t.denominator};
}

bool IsInside(const std::array<WidePoint, 3>& t, const WidePoint& p) {
    return SideOf(t[0], t[1], p) >= 0 && SideOf(t[1], t[2], p) >= 0 && SideOf(t[2], t[0], p) >= 0;
}

} // namespace

Encounter Meet(const GridTriangle& triangle,
               const ctr::BakedVertex& a,
               const ctr::BakedVertex& b,
               long tolerance) {
    const std::array<WidePoint, 3> corners = Widen(triangle);
    const std::array<Condition, 4> conditions = Conditions(corners, Widen(a), Widen(b));
    const Condition& behind = conditions[3];
    Encounter encounter;
    Bounds bounds;
    for (std::size_t side = 0; side < 3; ++side) {
        bounds.narrow(conditions[side]);
        encounter.alongSide =
            encounter.alongSide || (conditions[side].isConstant() && conditions[side].atStart == 0);
    }
    encounter.touches = bounds.areOnePoint();
    const bool overlaps = bounds.fillMoreThanAPoint();
    encounter.alongSide = encounter.alongSide && overlaps;
    encounter.inPlane = overlaps && behind.atStart == 0 && behind.atEnd == 0;
    encounter.crosses = overlaps && !behind.isConstant() &&
                        Compare(bounds.start, behind.zero()) < 0 &&
                        Compare(behind.zero(), bounds.end) < 0;
    bounds.narrow(behind);
    const Wide band = BandOf(corners, tolerance);
    if (bounds.fillMoreThanAPoint() &&
        (behind.exceeds(band, bounds.start) || behind.exceeds(band, bounds.end))) {
        encounter.hidden = ctr::RationalInterval{Narrow(bounds.start), Narrow(bounds.end)};
    }
    return encounter;
}

std::vector<ctr::RationalInterval> HiddenRanges(const ExactBaked& baked,
                                                const ctr::BakedVertex& a,
                                                const ctr::BakedVertex& b,
                                                long tolerance) {
    std::vector<ctr::RationalInterval> ranges;
    for (std::size_t i = 0; i < baked.triangles.size(); ++i) {
        const Encounter encounter = Meet(baked.corners(i), a, b, tolerance);
        if (encounter.hidden) {
            ranges.push_back(*encounter.hidden);
        }
    }
    SortByValue(ranges);
    return ranges;
}

bool HidesPoint(const GridTriangle& triangle,
                const ctr::BakedVertex& a,
                const ctr::BakedVertex& b,
                const Fraction& parameter,
                long tolerance) {
    const WidePoint point = PointAt(Widen(a), Widen(b), parameter);
    const auto corners = Widen(triangle);
    return IsInside(corners, point) &&
           DepthBehind(corners, point) > BandOf(corners, tolerance) * point.w;
}

bool IsPointHidden(const ExactBaked& baked,
                   const ctr::BakedVertex& a,
                   const ctr::BakedVertex& b,
                   const Fraction& parameter,
                   long tolerance) {
    for (std::size_t i = 0; i < baked.triangles.size(); ++i) {
        if (HidesPoint(baked.corners(i), a, b, parameter, tolerance)) {
            return true;
        }
    }
    return false;
}

long StepsThatCount(const ctr::DiscreteProjectionSpace& space, unsigned int tolerance) {
    const long extents[2] = {1L << space.xyBits, 1L << space.zBits};
    return std::min({long{tolerance}, extents[0] / 4, extents[1] / 4});
}

} // namespace test_support
