// The interval of a grid segment that one triangle occludes. Exact, O(1).
//
// The segment is clipped against the triangle's edges on screen (parametric line clipping;
// M. Cyrus and J. Beck, Generalized two- and three-dimensional clipping, Computers & Graphics 3,
// 1978) and then to the far side of the triangle's plane. Edge functions and plane distances are
// integers, parameters are fractions of them, and nothing is rounded.
//
// With a contact tolerance, a triangle occludes its part of a segment only if some of that part
// lies deeper behind the plane than the tolerance. Such a part is occluded from the plane on, as
// without a tolerance: a segment that starts on a face and runs behind it leaves no visible
// fragment, and the parts occluded with a tolerance are a subset of those occluded without.
#pragma once

#include <ctr/IntervalTools.h>

#include "visibility/exact/ContactTolerance.h"
#include "visibility/exact/FractionOrder.h"
#include "visibility/exact/GridArithmetic.h"

#include <cstdint>
#include <optional>

namespace ctr {

/// The values of a linear function at the two ends of a segment.
struct EndValues {
    std::int64_t atA;
    std::int64_t atB;

    /// The parameter at which the function is zero; the values must differ.
    Fraction zero() const { return MakeFraction(atA, WrapSubtract(atA, atB)); }

    /// Whether the value at a parameter in [0, 1] is below a limit. The value lies between those at
    /// the ends, so three terms below 2^125 are compared.
    bool isBelow(std::int64_t limit, const Fraction& t) const {
        using Wide = __int128;
        return Wide{atA} * WrapSubtract(t[1], t[0]) + Wide{atB} * t[0] < Wide{limit} * t[1];
    }

    /// For edge functions, positive inside: at most one point of the segment is inside, and the
    /// segment does not lie on the edge line.
    bool excludesSegment() const { return atA <= 0 && atB <= 0 && (atA | atB) != 0; }
};

/// The part of a segment that may still be occluded. On a tie the newer fraction is kept.
struct CandidateInterval {
    Fraction start{0, 1};
    Fraction end{1, 1};

    bool isProper() const { return CompareFractions(start, end) < 0; }

    /// Keeps the part inside of or on an edge line, for a segment that has points inside.
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

    /// Whether the function is below a limit at some point of the part.
    bool reachesBelow(std::int64_t limit, const EndValues& value) const {
        return (value.atA < limit && value.atB < limit) || value.isBelow(limit, start) ||
               value.isBelow(limit, end);
    }

    /// Keeps the part strictly behind a plane, for a segment with an end behind it.
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

/// The edge functions of a triangle on screen at the ends of a segment, positive inside (the term
/// of J. Pineda, A parallel algorithm for polygon rasterization, SIGGRAPH 1988).
class EdgeFunctions {
public:
    /// The triangle's corners are counter-clockwise on screen.
    EdgeFunctions(const BakedVertex& p0,
                  const BakedVertex& p1,
                  const BakedVertex& p2,
                  const BakedVertex& a,
                  const BakedVertex& b) {
        const GridVector along = Difference(b, a);
        const auto valuesOf = [&](const BakedVertex& q, const BakedVertex& r) {
            const GridVector edge = Difference(r, q);
            const std::int64_t side = CrossXY(edge, Difference(a, q));
            return EndValues{side, WrapAdd(side, CrossXY(edge, along))};
        };
        values_[0] = valuesOf(p0, p1);
        values_[1] = valuesOf(p1, p2);
        values_[2] = valuesOf(p2, p0);
    }

    bool excludeSegment() const {
        return values_[0].excludesSegment() || values_[1].excludesSegment() ||
               values_[2].excludesSegment();
    }

    /// The part of a segment within the triangle on screen, if it has points inside of every edge
    /// line.
    CandidateInterval within() const {
        CandidateInterval candidate;
        for (const EndValues& value : values_) {
            candidate.clipToEdge(value);
        }
        return candidate;
    }

private:
    EndValues values_[3];
};

/// The interval of a -> b that the triangle with these corners, counter-clockwise on screen, and
/// this plane normal occludes; none when it is at most a point.
inline std::optional<RationalInterval> OccludedInterval(const BakedVertex& p0,
                                                        const BakedVertex& p1,
                                                        const BakedVertex& p2,
                                                        const GridVector& normal,
                                                        const ContactTolerance& tolerance,
                                                        const BakedVertex& a,
                                                        const BakedVertex& b) {
    const EdgeFunctions edges(p0, p1, p2, a, b);
    if (edges.excludeSegment()) {
        return std::nullopt;
    }
    const EndValues distance{Dot(normal, Difference(a, p0)), Dot(normal, Difference(b, p0))};
    if (distance.atA >= 0 && distance.atB >= 0) {
        return std::nullopt;
    }
    CandidateInterval candidate = edges.within();
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
