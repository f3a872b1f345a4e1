// Looks for the longest arcs along a path, from its start to its end.
//
// How an arc is compared with a run of the polyline, exactly and without samples: every vertex V
// has a foot E on the arc, d away. Between neighbouring feet the arc is convex and bends away from
// its chord; as long as its tangents go along the chord, its distance from the chord is largest
// where it is parallel to the chord, which is in the middle of the two angles (an ellipse is the
// image of a circle under a map that keeps middles and parallels). With h that distance, arc and
// chord stay within h of each other in both directions, the chord and the polyline's line within
// the larger d of its ends, and the arc and the polyline within h + d.
#include "drawing/paper/ArcFitting.h"

#include "drawing/common/Angles.h"
#include "drawing/paper/Bends.h"
#include "drawing/paper/Ellipse.h"
#include "drawing/paper/Plane.h"

#include <numbers>
#include <optional>
#include <span>

namespace kxcontour {
namespace {

using namespace plane;

constexpr double kFullTurn = 2.0 * std::numbers::pi;

/// No line of an arc takes up more of it: as a corner of a run, so seen on the circle.
constexpr double kLargestStep = kCorner;

/// No arc turns by less.
constexpr double kLeastTurn = 10.0 * kDegree;

/// Lines of an arc. An ellipse goes through any five points: it takes a sixth to speak for it.
constexpr std::size_t kLeastLinesOfCircle = 4;
constexpr std::size_t kLeastLinesOfEllipse = 5;

/// Millimetres; what is flatter is straight.
constexpr double kLargestRadius = 1e4;

/// How far, in tolerances, an arc leaves its chord at least.
constexpr double kLeastSagitta = 2.0;

/// In tolerances, what may be rounding in the place of a vertex.
constexpr double kNoise = 0.2;

/// Millimetres; half of what is promised about ends.
constexpr double kEndError = 5e-5;

/// An ellipse takes the place of a circle only when it reaches so much farther along the path:
/// every circle that runs on into something else could be an ellipse for a bit longer.
constexpr double kEllipseGain = 1.5;

/// The most points that take part in a fit; all take part in the check.
constexpr std::size_t kMostFitted = 64;

/// Points in the order in which one arc runs through them.
struct Run {
    std::span<const Point> points;
    bool positive = true; ///< Turns from x towards y.
};

/// How far the angle moves on, in the run's sense, up to half a turn. A vertex that lies a little
/// behind the one before, by rounding, shares its foot: any foot will do as long as none goes back.
double Advance(double from, double to, bool positive) {
    const double turn = positive ? to - from : from - to;
    const double step = turn - kFullTurn * std::floor(turn / kFullTurn);
    return step <= kFullTurn / 2.0 ? step : 0.0;
}

/// The larger distance between the arc from one angle to the other and its chord; infinite where
/// the arc does not go along its chord.
double DistanceFromChord(const Ellipse& ellipse, double from, double to) {
    if (from == to) {
        return 0.0;
    }
    const Point start = ellipse.at(from);
    const Point chord = ellipse.at(to) - start;
    const double sense = to > from ? 1.0 : -1.0;
    if (!(Dot(ellipse.tangentAt(from), chord) * sense > 0.0) ||
        !(Dot(ellipse.tangentAt(to), chord) * sense > 0.0)) {
        return std::numeric_limits<double>::infinity();
    }
    return std::abs(Cross(Direction(chord), ellipse.at((from + to) / 2.0) - start));
}

double DegreesOf(double radians) {
    return radians / kDegree;
}

/// The arc of the ellipse in place of the run, if it stays within tolerance of it everywhere.
/// first and last are left for the caller to fill.
std::optional<Arc> ArcAlong(const Run& run, const Ellipse& ellipse, double tolerance) {
    const bool closed = IsSame(run.points.front(), run.points.back());
    const double start = ellipse.angleNear(run.points.front());
    double angle = start;
    double sweep = 0.0;
    double off = Distance(ellipse.at(start), run.points.front());
    if (off > kEndError) {
        return std::nullopt;
    }
    for (std::size_t i = 1; i < run.points.size(); ++i) {
        const bool isLast = i + 1 == run.points.size();
        const double step = closed && isLast
                                ? kFullTurn - sweep
                                : Advance(angle, ellipse.angleNear(run.points[i]), run.positive);
        const double next = run.positive ? angle + step : angle - step;
        const double nextOff = Distance(ellipse.at(next), run.points[i]);
        if (!(step >= 0.0) || step > kLargestStep || nextOff > (isLast ? kEndError : tolerance) ||
            DistanceFromChord(ellipse, angle, next) + std::max(off, nextOff) > tolerance) {
            return std::nullopt;
        }
        angle = next;
        off = nextOff;
        sweep += step;
    }
    if (sweep > kFullTurn || (!closed && sweep == kFullTurn)) {
        return std::nullopt;
    }
    Arc arc;
    arc.center = ellipse.center;
    arc.radiusX = ellipse.radiusX;
    arc.radiusY = ellipse.radiusY;
    arc.rotation = DegreesOf(AngleOf(ellipse.axis.x, ellipse.axis.y));
    arc.start = DegreesOf(start);
    arc.sweep = closed ? 360.0 : DegreesOf(sweep);
    if (!run.positive) {
        arc.sweep = -arc.sweep;
    }
    return arc;
}

/// Up to kMostFitted points at even steps, with both ends.
std::vector<Point> SomeOf(std::span<const Point> points) {
    const std::size_t count = std::min(points.size(), kMostFitted);
    std::vector<Point> some(count);
    for (std::size_t i = 0; i < count; ++i) {
        some[i] = points[i * (points.size() - 1) / (count - 1)];
    }
    return some;
}

bool AreNear(const std::vector<Point>& points, const Ellipse& ellipse, double tolerance) {
    return std::all_of(points.begin(), points.end(), [&](Point point) {
        return Distance(ellipse.at(ellipse.angleNear(point)), point) <= tolerance;
    });
}

/// The best arc for the run, if any is good enough. A look at some points comes before the check of
/// all, since most fits that fail do so everywhere.
std::optional<Arc> ArcFor(const Run& run, EllipseKind kind, double tolerance) {
    const std::vector<Point> some = SomeOf(run.points);
    const std::optional<Ellipse> ellipse = FitEllipse(some, kind);
    if (!ellipse || !(ellipse->radiusX <= kLargestRadius) || !(ellipse->radiusY > 0.0) ||
        !AreNear(some, *ellipse, tolerance)) {
        return std::nullopt;
    }
    return ArcAlong(run, *ellipse, tolerance);
}

double SagittaOf(std::span<const Point> points) {
    double square = 0.0;
    for (const Point& point : points) {
        square = std::max(square, SquaredDistanceToLine(point, points.front(), points.back()));
    }
    return std::sqrt(square);
}

/// Finds the arcs of one path that starts and ends somewhere.
class Walker {
public:
    Walker(const std::vector<Point>& points, const Bends& bends, double tolerance)
        : points_(points), bends_(bends), tolerance_(tolerance) {}

    std::vector<Arc> arcs() {
        std::vector<Arc> result;
        std::size_t first = 0;
        while (findTurn(first)) {
            if (const std::optional<Arc> arc = arcFrom(first)) {
                result.push_back(*arc);
                first = arc->last;
                turned_ = 0;
            } else {
                ++first;
            }
        }
        return result;
    }

private:
    /// Moves turned_ on to a point up to which a run from there turns far enough. The point never
    /// moves back while the start moves on, so all moves together are one walk.
    bool findTurn(std::size_t first) {
        turned_ = std::max(turned_, first + kLeastLinesOfCircle);
        while (turned_ < points_.size() && std::abs(turnOf(first, turned_)) < kLeastTurn) {
            ++turned_;
        }
        return turned_ < points_.size();
    }

    double turnOf(std::size_t first, std::size_t last) const {
        return bends_.heading(last - 1) - bends_.heading(first);
    }

    std::optional<Arc> arcFrom(std::size_t first) const {
        const bool positive = turnOf(first, turned_) > 0.0;
        const std::size_t limit = bends_.limit(first, positive);
        if (turned_ > limit) {
            return std::nullopt;
        }
        std::optional<Arc> arc = longest(first, limit, positive, EllipseKind::Circle);
        if (!arc || arc->last < limit) {
            const std::optional<Arc> other = longest(first, limit, positive, EllipseKind::Any);
            if (other && (!arc || lengthOf(*other) > kEllipseGain * lengthOf(*arc))) {
                arc = other;
            }
        }
        if (!arc || std::abs(turnOf(first, arc->last)) < kLeastTurn ||
            SagittaOf(spanOf(first, arc->last)) < kLeastSagitta * tolerance_) {
            return std::nullopt;
        }
        return arc;
    }

    /// Longer and longer runs, in steps that double, then the border between those that are arcs
    /// and those that are not by bisection.
    std::optional<Arc>
    longest(std::size_t first, std::size_t limit, bool positive, EllipseKind kind) const {
        const std::size_t least =
            kind == EllipseKind::Circle ? kLeastLinesOfCircle : kLeastLinesOfEllipse;
        std::size_t good = std::max(turned_, first + least);
        std::optional<Arc> best = tryArc(first, good, limit, positive, kind);
        if (!best) {
            return best;
        }
        std::size_t bad = limit + 1;
        for (std::size_t step = good - first; good + 1 < bad;) {
            const bool growing = bad > limit;
            const std::size_t next =
                growing ? std::min(good + step, limit) : good + (bad - good) / 2;
            if (const std::optional<Arc> arc = tryArc(first, next, limit, positive, kind)) {
                best = arc;
                good = next;
                step *= 2;
            } else {
                bad = next;
            }
        }
        return best;
    }

    std::optional<Arc> tryArc(std::size_t first,
                              std::size_t last,
                              std::size_t limit,
                              bool positive,
                              EllipseKind kind) const {
        if (last > limit || IsSame(points_[first], points_[last])) {
            return std::nullopt;
        }
        std::optional<Arc> arc = ArcFor({spanOf(first, last), positive}, kind, tolerance_);
        if (arc) {
            arc->first = first;
            arc->last = last;
        }
        return arc;
    }

    std::span<const Point> spanOf(std::size_t first, std::size_t last) const {
        return {points_.data() + first, last - first + 1};
    }

    double lengthOf(const Arc& arc) const {
        double length = 0.0;
        for (std::size_t i = arc.first; i < arc.last; ++i) {
            length += Distance(points_[i], points_[i + 1]);
        }
        return length;
    }

    const std::vector<Point>& points_;
    const Bends& bends_;
    double tolerance_;
    std::size_t turned_ = 0;
};

double SignedArea(const std::vector<Point>& points) {
    double area = 0.0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        area += Cross(points[i - 1] - points[0], points[i] - points[0]) / 2.0;
    }
    return area;
}

/// The whole of a closed path as one full turn.
std::optional<Arc>
FullTurn(const std::vector<Point>& points, const Bends& bends, double tolerance) {
    const bool positive = SignedArea(points) > 0.0;
    if (!IsSame(points.front(), points.back()) || bends.hasRepeatedPoint() ||
        !bends.bendsToOneSide(positive)) {
        return std::nullopt;
    }
    for (const EllipseKind kind : {EllipseKind::Circle, EllipseKind::Any}) {
        std::optional<Arc> arc = ArcFor({points, positive}, kind, tolerance);
        if (arc && arc->radiusY >= kLeastSagitta * tolerance) {
            arc->first = 0;
            arc->last = points.size() - 1;
            return arc;
        }
    }
    return std::nullopt;
}

} // namespace

void RecogniseArcs(Path& path, double tolerance) {
    path.arcs.clear();
    if (path.points.size() <= kLeastLinesOfCircle) {
        return;
    }
    const Bends bends(path.points, kNoise * tolerance);
    if (const std::optional<Arc> arc = FullTurn(path.points, bends, tolerance)) {
        path.arcs.push_back(*arc);
        return;
    }
    path.arcs = Walker(path.points, bends, tolerance).arcs();
}

} // namespace kxcontour
