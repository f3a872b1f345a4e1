// The part of a grid segment that one triangle hides, exactly.
//
// The segment is clipped against the triangle's outline on screen (parametric line clipping;
// M. Cyrus and J. Beck, Generalized two- and three-dimensional clipping, Computers & Graphics 3,
// 1978) and cut where it passes the triangle's plane. Side values and plane distances are integers,
// parameters are fractions of them, and nothing is ever rounded.
//
// With a contact tolerance, a triangle hides its part of a segment only if some of that part lies
// deeper behind the plane than the tolerance. A part that does is hidden from the plane on, as
// without a tolerance: so a segment that starts on a face and runs behind it leaves no crumb, and
// what is hidden with a tolerance is a subset of what is hidden without.
#pragma once

#include <ctr/IntervalTools.h>

#include "visibility/exact/ContactTolerance.h"
#include "visibility/exact/FractionOrder.h"
#include "visibility/exact/GridArithmetic.h"

#include <cstdint>
#include <optional>

namespace ctr {

/// Values of one linear function at the two ends of a segment.
struct EndValues {
    std::int64_t atA;
    std::int64_t atB;

    /// Where the function is zero; the ends must differ.
    Fraction zero() const { return MakeFraction(atA, WrapSubtract(atA, atB)); }

    /// Whether the value at a parameter in [0, 1] is below a limit. It lies between those at the
    /// ends, so three terms below 2^125 are compared.
    bool isBelow(std::int64_t limit, const Fraction& t) const {
        using Wide = __int128;
        return Wide{atA} * WrapSubtract(t[1], t[0]) + Wide{atB} * t[0] < Wide{limit} * t[1];
    }

    /// Of sides, positive being inside: at most one point of the segment is inside, and not all of
    /// it is on the line.
    bool leavesNothing() const { return atA <= 0 && atB <= 0 && (atA | atB) != 0; }
};

/// The part of a segment that may still be hidden. On a tie the newer fraction is kept.
struct HiddenCandidate {
    Fraction start{0, 1};
    Fraction end{1, 1};

    bool isProper() const { return CompareFractions(start, end) < 0; }

    /// Keeps what lies inside or on an edge line, of a segment that reaches inside.
    void clipToEdge(const EndValues& side) {
        if (side.atA == side.atB || (side.atA > 0 && side.atB > 0)) {
            return;
        }
        const Fraction t = side.zero();
        if (t[0] < 0 || t[0] > t[1]) {
            return;
        }
        if (side.atB > side.atA) {
            raiseStart(t);
        } else {
            lowerEnd(t);
        }
    }

    /// Whether some of it has a value below a limit.
    bool reachesBelow(std::int64_t limit, const EndValues& value) const {
        return (value.atA < limit && value.atB < limit) || value.isBelow(limit, start) ||
               value.isBelow(limit, end);
    }

    /// Keeps what lies strictly behind a plane, of a segment with an end behind it.
    void clipToPlane(const EndValues& distance) {
        if (distance.atA < 0 && distance.atB < 0) {
            return;
        }
        if (distance.atA < 0) {
            lowerEnd(distance.zero());
        } else {
            raiseStart(distance.zero());
        }
    }

private:
    void raiseStart(const Fraction& t) {
        if (CompareFractions(start, t) <= 0) {
            start = t;
        }
    }
    void lowerEnd(const Fraction& t) {
        if (CompareFractions(end, t) >= 0) {
            end = t;
        }
    }
};

/// The sides of a segment's ends from the edge lines of a triangle on screen, positive inside.
class OutlineSides {
public:
    /// The triangle's corners are counter-clockwise on screen.
    OutlineSides(const BakedVertex& p0,
                 const BakedVertex& p1,
                 const BakedVertex& p2,
                 const BakedVertex& a,
                 const BakedVertex& b) {
        const GridVector along = Difference(b, a);
        const auto sideValues = [&](const BakedVertex& q, const BakedVertex& r) {
            const GridVector edge = Difference(r, q);
            const std::int64_t side = CrossXY(edge, Difference(a, q));
            return EndValues{side, WrapAdd(side, CrossXY(edge, along))};
        };
        sides_[0] = sideValues(p0, p1);
        sides_[1] = sideValues(p1, p2);
        sides_[2] = sideValues(p2, p0);
    }

    bool leaveNothing() const {
        return sides_[0].leavesNothing() || sides_[1].leavesNothing() || sides_[2].leavesNothing();
    }

    /// What lies within the outline of a segment that reaches inside of every edge line.
    HiddenCandidate within() const {
        HiddenCandidate candidate;
        for (const EndValues& side : sides_) {
            candidate.clipToEdge(side);
        }
        return candidate;
    }

private:
    EndValues sides_[3];
};

/// What the triangle with these corners, counter-clockwise on screen, and this plane hides of
/// a -> b; nothing when it is at most a point.
inline std::optional<RationalInterval> HiddenPart(const BakedVertex& p0,
                                                  const BakedVertex& p1,
                                                  const BakedVertex& p2,
                                                  const GridVector& normal,
                                                  const ContactTolerance& tolerance,
                                                  const BakedVertex& a,
                                                  const BakedVertex& b) {
    const OutlineSides sides(p0, p1, p2, a, b);
    if (sides.leaveNothing()) {
        return std::nullopt;
    }
    const EndValues distance{Dot(normal, Difference(a, p0)), Dot(normal, Difference(b, p0))};
    if (distance.atA >= 0 && distance.atB >= 0) {
        return std::nullopt;
    }
    HiddenCandidate candidate = sides.within();
    if (!candidate.isProper()) {
        return std::nullopt;
    }
    candidate.clipToPlane(distance);
    if (!candidate.isProper() ||
        (!tolerance.isOff() &&
         !candidate.reachesBelow(WrapNegate(tolerance.bandOf(normal)), distance))) {
        return std::nullopt;
    }
    return RationalInterval{candidate.start, candidate.end};
}

} // namespace ctr
